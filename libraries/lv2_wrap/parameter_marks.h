#pragma once

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "editing/parameter_ids.h"

namespace lv2 {

/// One mark per parameter, set on one thread and taken on another. The thread that takes a mark
/// sees everything written before `set`. Any thread; never locks.
class ParameterMarks {
 public:
  void set(int id) noexcept {
    words[wordOf(id)].fetch_or(std::uint32_t{1} << (id % kBits), std::memory_order_release);
  }
  [[nodiscard]] bool any() const noexcept {
    for (const auto& word : words) {
      if (word.load(std::memory_order_relaxed) != 0) return true;
    }
    return false;
  }
  [[nodiscard]] bool has(int id) const noexcept {
    return (words[wordOf(id)].load(std::memory_order_relaxed) >> (id % kBits) & 1U) != 0;
  }
  /// Clears a mark; returns whether it was set.
  [[nodiscard]] bool take(int id) noexcept {
    const std::uint32_t bit = std::uint32_t{1} << (id % kBits);
    return (words[wordOf(id)].fetch_and(~bit, std::memory_order_acq_rel) & bit) != 0;
  }
  /// Clears all marks and calls `use` with each id that was marked, lowest first.
  template <typename Use>
  void takeAll(const Use& use) {
    for (std::size_t w = 0; w < words.size(); ++w) {
      std::uint32_t bits = words[w].exchange(0, std::memory_order_acq_rel);
      for (; bits != 0; bits &= bits - 1) {
        use(static_cast<int>(w) * kBits + std::countr_zero(bits));
      }
    }
  }

 private:
  static constexpr int kBits = 32;
  static constexpr std::size_t wordOf(int id) noexcept {
    return static_cast<std::size_t>(id / kBits);
  }
  std::array<std::atomic<std::uint32_t>, (kNumParams + kBits - 1) / kBits> words{};
};

}  // namespace lv2
