#pragma once

#include <cstddef>

/// Starts to load `count` objects into the second-level cache, if they are in none that is near:
/// with many instances in a thread, what each of them keeps has gone when its turn comes again.
template <typename Object>
void prefetch(const Object* from, int count) noexcept {
  constexpr std::size_t kLine = 64;  // bytes
  if (count <= 0) return;
  const char* const start = reinterpret_cast<const char*>(from);  // NOLINT: any kind of memory
  const std::size_t size = static_cast<std::size_t>(count) * sizeof(Object);
  for (std::size_t i = 0; i < size; i += kLine) __builtin_prefetch(start + i, 0, 2);
  __builtin_prefetch(start + size - 1, 0, 2);  // in a line begun, if not aligned
  // The compiler takes functions that only prefetch for ones that do nothing.
  asm volatile("");  // NOLINT(hicpp-no-assembler): no instruction
}
