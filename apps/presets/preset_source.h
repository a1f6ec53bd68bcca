#pragma once

#include <optional>
#include <string>
#include <vector>

#include "apps/effect/settings.h"
#include "core/plug.h"

/// A preset, or one entry of a bank, as its author writes it: plain values by identifier, and the
/// places of the bands in the chain in words.
///
///     {"description": "One line",
///      "chain": {"pre": [1], "crossover": [2, 3], "post": [4]},
///      "set": {"kB1Threshold": -20, "kB2Frequency": 100, "kB3Frequency": 4000}}
///
/// What is not set stays at its default; without "chain" so does the chain.
struct PresetSource {
  /// Bands 0..7 in the order of the signal; `crossover` by rising frequency.
  struct Chain {
    std::vector<int> pre;
    std::vector<int> crossover;
    std::vector<int> post;
  };

  std::string file;
  std::string name;         ///< of the file without its ending, or the entry's own
  std::string description;  ///< one line
  std::optional<Chain> chain;
  std::vector<Setting> values;  ///< plain, in the file's order
};

// Readers throw `Failure` for what is missing, unknown, of the wrong type or out of range.
[[nodiscard]] PresetSource readPresetSource(const std::string& file);
/// The eight entries of a bank, A to H, each with a "name" besides.
[[nodiscard]] std::vector<PresetSource> readBankSource(const std::string& file);
/// A band's settings by the identifiers of band 1, without a chain.
[[nodiscard]] PresetSource readBandSource(const std::string& file);

/// Gives a new `plug` the settings and the chain of `source`. Throws `Failure` where the effect
/// does not take them as they are written.
void applyPreset(Plug& plug, const PresetSource& source);
