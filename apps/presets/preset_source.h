#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/effect/settings.h"
#include "core/plug.h"

/// A preset, or one entry of a bank, as its author writes it: plain values by identifier, and the
/// positions of the bands in the chain by name.
///
///     {"description": "One line",
///      "chain": {"pre": [1], "crossover": [2, 3], "post": [4]},
///      "set": {"kB1Threshold": -20, "kB2Frequency": 100, "kB3Frequency": 4000}}
///
/// Parameters that are not set have their defaults; so has the chain without "chain".
struct PresetSource {
  /// Bands 0..7 in the order of the signal path; `crossover` by ascending frequency.
  struct Chain {
    std::vector<int> pre;
    std::vector<int> crossover;
    std::vector<int> post;
  };

  std::string file;
  std::string name;         ///< the file's name without extension, or the entry's own
  std::string description;  ///< one line
  std::optional<Chain> chain;
  std::vector<Setting> values;  ///< plain, in the order of the file
};

// Readers throw `Failure` if something is missing, unknown, of the wrong type or out of range.
[[nodiscard]] PresetSource readPresetSource(const std::string& file);
/// The eight entries of a bank, A to H, each with an additional "name".
[[nodiscard]] std::vector<PresetSource> readBankSource(const std::string& file);
/// The settings of a band under the identifiers of band 1, without a chain.
[[nodiscard]] PresetSource readBandSource(const std::string& file);

/// Applies the settings and the chain of `source` to a new `plug`. Throws `Failure` if the effect
/// does not accept them exactly.
void applyPreset(Plug& plug, const PresetSource& source);
