#pragma once

#include <atomic>
#include <optional>
#include <utility>
#include <vector>

class EditedParameters;

/// Parameter values that make a chain of bands.
struct ChainRepair {
  std::vector<std::pair<int, float>> frequencies;  ///< parameter and normalised value
  float order = 0.0F;                              ///< normalised, of `kBandOrder`
};

/// What makes a chain of the parameters as they stand: the order that is nearest to the one told,
/// and other frequencies for crossover bands at equal ones. None where the order told is one.
[[nodiscard]] std::optional<ChainRepair> chainRepair(const EditedParameters& parameters);

/// Makes a chain of the parameters where all have been replaced and their order tells none: a band
/// that is on is to be heard, and locks do not hold that off. Threads: control threads.
class ChainKeeper {
 public:
  explicit ChainKeeper(EditedParameters& edited) noexcept : parameters(edited) {}

  /// Without memory for it a later `makeUp` does it.
  void repair() noexcept;
  void makeUp() noexcept {
    if (isMissing()) repair();
  }
  [[nodiscard]] bool isMissing() const noexcept { return missing.load(std::memory_order_relaxed); }

 private:
  EditedParameters& parameters;
  std::atomic<bool> missing{false};
};
