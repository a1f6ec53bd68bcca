#pragma once

#include <algorithm>
#include <cstdint>

#include "dynamics/bands.h"

class BandLayout;

/// The chain of a block, packed: dynamic EQ bands in series, and among them the crossover stage
/// with its bands in parallel.
struct StagePlan {
  static constexpr int kCrossoverStage = -1;  ///< stages 0..7 are bands

  /// Eight 4-bit slots, lowest first, each a stage + 2, or 0 for none.
  std::uint32_t stages = 0;
  /// Eight 3-bit bands in list order, lowest first; bits 24..27 hold the length of the list.
  std::uint32_t xover = 0;

  /// The chain that a layout describes; takes the layout's lock.
  [[nodiscard]] static StagePlan of(BandLayout& layout);

  [[nodiscard]] constexpr int xoverLength() const noexcept {
    return std::min(static_cast<int>((xover >> 24U) & 15U), kNumBands);
  }
  /// The band at an index of the XOver list.
  [[nodiscard]] constexpr int xoverBand(int place) const noexcept {
    return static_cast<int>((xover >> (3 * place)) & 7U);
  }
  [[nodiscard]] constexpr bool isInCrossover(int band) const noexcept {
    for (int place = 0; place < xoverLength(); ++place) {
      if (xoverBand(place) == band) return true;
    }
    return false;
  }
  /// Decodes a slot: a stage, or -2 for an empty one; 13 ends the plan.
  [[nodiscard]] constexpr int stageInSlot(int slot) const noexcept {
    return static_cast<int>((stages >> (4 * slot)) & 15U) - 2;
  }
  /// Calls `run` with each stage in order.
  template <typename Run>
  void forEachStage(const Run& run) const {
    for (int slot = 0; slot < kNumBands; ++slot) {
      const int stage = stageInSlot(slot);
      if (stage == kEnd) return;
      if (stage != kEmpty) run(stage);
    }
  }

  bool operator==(const StagePlan&) const = default;

 private:
  static constexpr int kEmpty = -2;
  static constexpr int kEnd = 13;
};

/// A stage as a bit: bands 0..7, then the crossover.
[[nodiscard]] constexpr std::uint32_t stageBit(int stage) noexcept {
  return 1U << (stage < 0 ? kNumBands : stage);
}

/// The stages, as bits, that can stay when `before` becomes `plan`: a longest common subsequence of
/// both. It always includes the crossover, with all its bands, if both have one. Any thread.
[[nodiscard]] std::uint32_t stagesInOrder(const StagePlan& before, const StagePlan& plan) noexcept;
