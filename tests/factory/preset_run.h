#pragma once

#include <array>
#include <vector>

#include "apps/effect_runner.h"
#include "apps/loudness.h"
#include "tests/factory/claims.h"
#include "tests/factory/level_map.h"
#include "tests/factory/material.h"

/// What came of material that ran through an effect.
struct PresetRun {
  Material::Channels out;                  ///< lines up with the input
  std::array<double, kNumBands> lowest{};  ///< gain of each band, dB
  std::array<double, kNumBands> highest{};
};

inline constexpr int kRunBlock = 480;  // frames: 10 ms

/// Runs material through an effect that is set already.
[[nodiscard]] PresetRun runThrough(Plug& plug, const Material& material);

/// Brings what ran at twice `kMaterialRate` back to it.
void keepEverySecond(PresetRun& run);

/// All that claims ask of a signal.
struct Outcome {
  explicit Outcome(const PresetRun& run);

  LevelMap levels;
  Loudness::Result loudness;
  double crest = 0.0;  ///< dB of the largest sample over the root of the mean square
  PresetRun run;       ///< its gains alone
};

/// What a claim speaks of.
[[nodiscard]] double measured(const Claim& claim, const Outcome& before, const Outcome& after);
