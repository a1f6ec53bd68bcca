#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>

#include "platform/index.h"

/// One flag per parameter, such as its lock. Ids out of range read false and are ignored.
/// Threads: any; flags are independent of each other.
template <int kCount>
class ParameterFlags {
 public:
  static constexpr int kWordBits = 32;
  static constexpr int kWords = (kCount + kWordBits - 1) / kWordBits;

  [[nodiscard]] bool get(std::int32_t id) const noexcept {
    return isFlag(id) && flags[at(id)].load(std::memory_order_relaxed);
  }
  void set(std::int32_t id, bool on) noexcept {
    if (isFlag(id)) flags[at(id)].store(on, std::memory_order_relaxed);
  }
  void clear() noexcept {
    for (auto& flag : flags) flag.store(false, std::memory_order_relaxed);
  }

  /// All flags, 32 to a word, parameter 0 in the lowest bit of the first.
  [[nodiscard]] std::array<std::int32_t, kWords> words() const noexcept {
    std::array<std::uint32_t, kWords> packed{};
    for (int id = 0; id < kCount; ++id) {
      if (get(id)) packed[at(id / kWordBits)] |= 1U << (id % kWordBits);
    }
    std::array<std::int32_t, kWords> result{};
    for (std::size_t i = 0; i < packed.size(); ++i) {
      result[i] = static_cast<std::int32_t>(packed[i]);
    }
    return result;
  }
  /// Takes the flags that `words` holds; flags beyond it stay as they are.
  void setWords(std::span<const std::int32_t> words) noexcept {
    const int given = words.size() < kWords ? static_cast<int>(words.size()) * kWordBits : kCount;
    for (int id = 0; id < given && id < kCount; ++id) {
      const auto word = static_cast<std::uint32_t>(words[at(id / kWordBits)]);
      set(id, (word >> (id % kWordBits) & 1U) != 0);
    }
  }

 private:
  [[nodiscard]] static constexpr bool isFlag(std::int32_t id) noexcept {
    return id >= 0 && id < kCount;
  }

  std::array<std::atomic<bool>, kCount> flags{};
};
