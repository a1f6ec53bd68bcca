#pragma once

/// Starts to load `count` doubles into the second-level cache, if they are in none that is near:
/// with many instances in a thread, what each of them keeps has gone when its turn comes again.
inline void prefetch(const double* from, int count) noexcept {
  constexpr int kLine = 8;  // doubles in a cache line
  for (int i = 0; i < count; i += kLine) __builtin_prefetch(from + i, 0, 2);
  if (count > 0) __builtin_prefetch(from + count - 1, 0, 2);  // in a line begun, if not aligned
  // The compiler takes functions that only prefetch for ones that do nothing.
  asm volatile("");  // NOLINT(hicpp-no-assembler): no instruction
}
