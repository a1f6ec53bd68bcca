#pragma once

#include "tests/support/sanitizers.h"

/// Counts the heap and lock calls of its own thread from construction on: what must stay at 0
/// around everything the audio thread runs. Heap calls are the malloc family, thus also `new` and
/// `delete`; lock calls are those that may wait: mutexes, read-write locks, condition variables,
/// semaphores. A try-lock is not counted, nor is releasing. Guards nest; reading does not end the
/// counting. The test program must link `test_support`, whose calls stand in for the C library's.
class RealtimeGuard {
 public:
  RealtimeGuard() noexcept;
  RealtimeGuard(const RealtimeGuard&) = delete;
  RealtimeGuard& operator=(const RealtimeGuard&) = delete;

  [[nodiscard]] int heapCalls() const noexcept;
  [[nodiscard]] int lockCalls() const noexcept;

 private:
  int firstHeapCall;
  int firstLockCall;
};

/// Asks `fails` before each allocation from now on, which then gives null; null ends it. Not under
/// the sanitizers, whose heap is their own.
void letAllocationsFail(bool (*fails)() noexcept) noexcept;
