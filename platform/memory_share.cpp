#include "platform/memory_share.h"

#include <atomic>

#include "platform/process.h"

namespace {

std::atomic<int> alive{0};
std::atomic<int> highestCount{0};  // since memory was last returned

}  // namespace

MemoryShare::MemoryShare(bool counts) noexcept : isCounted(counts) {
  if (!isCounted) return;
  const int now = alive.fetch_add(1, std::memory_order_relaxed) + 1;
  int before = highestCount.load(std::memory_order_relaxed);
  while (before < now &&
         !highestCount.compare_exchange_weak(before, now, std::memory_order_relaxed)) {
  }
}

MemoryShare::~MemoryShare() {
  if (!isCounted) return;
  const int left = alive.fetch_sub(1, std::memory_order_relaxed) - 1;
  int before = highestCount.load(std::memory_order_relaxed);
  // Not for every object: returning memory searches the whole heap.
  if (2 * left <= before &&
      highestCount.compare_exchange_strong(before, left, std::memory_order_relaxed)) {
    returnFreedMemory();
  }
}
