#pragma once

#include <array>
#include <vector>

#include "apps/effect_runner.h"
#include "apps/loudness.h"
#include "tests/factory/claims.h"
#include "tests/factory/level_map.h"
#include "tests/factory/material.h"
#include "tests/factory/preset_run.h"

/// All that claims ask of a signal.
struct Outcome {
  explicit Outcome(const PresetRun& run);

  LevelMap levels;
  Loudness::Result loudness;
  double crest;                          ///< dB
  std::array<double, kNumBands> lowest;  ///< gain of each band, dB
  std::array<double, kNumBands> highest;
};

/// What a claim speaks of.
[[nodiscard]] double measured(const Claim& claim, const Outcome& before, const Outcome& after);
