#pragma once

#include <atomic>
#include <cstddef>
#include <memory>

/// A ring of values that one thread writes while others read. Entries are relaxed atomics, at first
/// 0; the owner publishes the position that belongs to the ring with release, after the entries are
/// written. A reader that falls a whole ring behind just reads newer entries.
template <typename Value>
class SharedRing {
 public:
  /// `size`: a power of two. Throws std::bad_alloc.
  explicit SharedRing(std::size_t size)
      : mask(size - 1), entries(std::make_unique<std::atomic<Value>[]>(size)) {}

  [[nodiscard]] std::size_t size() const noexcept { return mask + 1; }
  void store(std::size_t position, Value value) noexcept {
    entries[position & mask].store(value, std::memory_order_relaxed);
  }
  [[nodiscard]] Value load(std::size_t position) const noexcept {
    return entries[position & mask].load(std::memory_order_relaxed);
  }
  void clear() noexcept {
    for (std::size_t i = 0; i <= mask; ++i) store(i, Value{});
  }

 private:
  std::size_t mask;
  std::unique_ptr<std::atomic<Value>[]> entries;
};
