#pragma once

#include <atomic>
#include <cstddef>
#include <memory>

/// A ring of `Size` values that one thread writes while others read. Entries are relaxed atomics;
/// the owner publishes the position that belongs to the ring with release, after the entries are
/// written. A reader that falls a whole ring behind just reads newer entries.
template <typename Value, std::size_t Size>
class SharedRing {
  static_assert((Size & (Size - 1)) == 0, "indexed by a mask");

 public:
  static constexpr std::size_t kSize = Size;

  SharedRing() : entries(std::make_unique<std::atomic<Value>[]>(Size)) {}

  void store(std::size_t position, Value value) noexcept {
    entries[position & (Size - 1)].store(value, std::memory_order_relaxed);
  }
  [[nodiscard]] Value load(std::size_t position) const noexcept {
    return entries[position & (Size - 1)].load(std::memory_order_relaxed);
  }
  void clear() noexcept {
    for (std::size_t i = 0; i < Size; ++i) store(i, Value{});
  }

 private:
  std::unique_ptr<std::atomic<Value>[]> entries;
};
