#pragma once

#include <atomic>
#include <optional>
#include <utility>
#include <vector>

class EditedParameters;

/// Parameter values that turn an invalid chain of bands into a valid one.
struct ChainRepair {
  std::vector<std::pair<int, float>> frequencies;  ///< parameter and normalised value
  float order = 0.0F;                              ///< normalised, of `kBandOrder`
};

/// Finds the values that make a valid chain of the present parameters: the order nearest to that of
/// `kBandOrder`, and new frequencies for crossover bands that share one. None if the order is
/// valid.
[[nodiscard]] std::optional<ChainRepair> chainRepair(const EditedParameters& parameters);

/// Repairs the chain after all parameters have been replaced, so that every band that is on is
/// heard. Locks are ignored. Threads: control threads.
class ChainKeeper {
 public:
  explicit ChainKeeper(EditedParameters& edited) noexcept : parameters(edited) {}

  /// If memory runs out, a later `makeUp` does the repair.
  void repair() noexcept;
  void makeUp() noexcept {
    if (isMissing()) repair();
  }
  [[nodiscard]] bool isMissing() const noexcept { return missing.load(std::memory_order_relaxed); }

 private:
  EditedParameters& parameters;
  std::atomic<bool> missing{false};
};
