#pragma once

#include <vector>

#include "tests/factory/level_map.h"

/// What a claim measures.
enum class Measure {
  kLevel,          ///< change of a region's level, dB
  kCrest,          ///< change of the crest factor, dB
  kLoudness,       ///< change of the integrated loudness, LU
  kLoudnessAfter,  ///< LUFS
  kTruePeakAfter,  ///< dBTP
  kReduction,      ///< the lowest gain that a band had, dB
  kBoost,          ///< the highest
};

/// One thing that a preset is expected to do, as a range of what is measured.
struct Claim {
  Measure measure = Measure::kLevel;
  double low = 0.0;
  double high = 0.0;
  Region region{};  ///< of levels
  int band = 0;     ///< 1 to 8, of gains
};

enum class Sound { kDemo, kKeyedDemo, kTalk, kGuitar, kBass, kDrums, kClipped, kLowTones };

struct PresetClaims {
  const char* preset;  ///< folder and file, or "Factory Bank/" and a letter
  Sound sound;
  /// What claims nothing of the loudness leaves it within 1 LU, of the true peak lifts it by no
  /// more than 0.5 dB.
  std::vector<Claim> claims;
};

/// All presets of the factory content and the banks B to H.
[[nodiscard]] const std::vector<PresetClaims>& presetClaims();
