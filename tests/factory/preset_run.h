#pragma once

#include <array>
#include <vector>

#include "apps/effect_runner.h"
#include "tests/factory/material.h"

/// What came of material that ran through an effect.
struct PresetRun {
  Material::Channels out;                            ///< lines up with the input
  std::array<std::vector<double>, kNumBands> gains;  ///< dB, each band's furthest from 0 per block
};

inline constexpr int kRunBlock = 480;  // frames: 10 ms

/// Runs material through an effect that is set already.
[[nodiscard]] PresetRun runThrough(Plug& plug, const Material& material);

/// Brings what ran at twice `kMaterialRate` back to it.
void keepEverySecond(PresetRun& run);

/// dB of the largest sample over the root of the mean square.
[[nodiscard]] double crestDb(const Material::Channels& signal);
