#pragma once

#include <gtest/gtest.h>

#include <utility>

#include "tests/support/realtime_guard.h"

/// Stands around what the audio thread runs: a heap or lock call while it lives fails the test.
class RealTimeCheck {
 public:
  /// Lifts the checks of its thread while it lives, for what may leave real time.
  class Exception {
   public:
    Exception() noexcept { ++exceptions; }
    ~Exception() { --exceptions; }
    Exception(const Exception&) = delete;
    Exception& operator=(const Exception&) = delete;
  };

  RealTimeCheck() noexcept = default;
  ~RealTimeCheck() {
    const int heapCalls = guard.heapCalls();
    const int lockCalls = guard.lockCalls();
    if (exceptions > 0 || heapCalls + lockCalls == 0) return;
    ADD_FAILURE() << heapCalls << " heap calls and " << lockCalls << " lock calls in real time";
  }
  RealTimeCheck(const RealTimeCheck&) = delete;
  RealTimeCheck& operator=(const RealTimeCheck&) = delete;

 private:
  static inline thread_local int exceptions = 0;
  RealtimeGuard guard;
};

/// Calls `run`, checked.
template <typename Run>
decltype(auto) inRealTime(Run run) {
  const RealTimeCheck check;
  return run();
}

/// `unit.process(arguments...)`, checked.
template <typename Unit, typename... Arguments>
decltype(auto) processInRealTime(Unit& unit, Arguments&&... arguments) {
  const RealTimeCheck check;
  return unit.process(std::forward<Arguments>(arguments)...);
}
