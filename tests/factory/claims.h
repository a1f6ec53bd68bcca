#pragma once

#include <string>
#include <vector>

#include "tests/factory/level_map.h"

/// One thing that a preset is expected to do, as a range of what is measured.
struct Claim {
  std::string measure;  ///< as data/claims.txt explains
  Region region{};      ///< of levels
  int band = 0;         ///< 1 to 8, of gains
  double low = 0.0;
  double high = 0.0;
};

struct PresetClaims {
  std::string preset;  ///< folder and file, or "Factory Bank/" and a letter
  std::string sound;   ///< as `materialNamed` knows it
  std::vector<Claim> claims;
};

/// All presets of the factory content and the banks B to H.
[[nodiscard]] std::vector<PresetClaims> presetClaims();
