#pragma once

#include <optional>
#include <utility>
#include <vector>

class Plug;

/// Parameter values that make a chain of bands.
struct ChainRepair {
  std::vector<std::pair<int, float>> frequencies;  ///< parameter and normalised value
  float order = 0.0F;                              ///< normalised, of `kBandOrder`
};

/// What makes a chain of the parameters as they stand: the order that is nearest to the one told,
/// and other frequencies for crossover bands at equal ones. None where the order told is one.
[[nodiscard]] std::optional<ChainRepair> chainRepair(const Plug& plug);
