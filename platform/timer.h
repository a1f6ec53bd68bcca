#pragma once

#include <cstdint>
#include <functional>
#include <memory>

/// Calls back at a fixed rate on one thread of its own, the message thread.
/// A call that takes longer than the interval drops the ticks it missed.
/// Threads: `start` and `stop` from any thread, also from within a call. Destroyed on any thread
/// but its own; the destructor waits for a call under way.
class Timer {
 public:
  Timer() = default;
  virtual ~Timer() = default;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  /// The first call comes `intervalMs` (at least 1) from now. Starting again replaces what ran
  /// before; the thread stays the same one. Throws, with nothing running, when there is no thread
  /// to be had; starting again cannot fail. A callback of no more than two pointers needs no memory
  /// when it falls due.
  virtual void start(std::int32_t intervalMs, std::function<void()> callback) = 0;

  /// No call falls due any more. It does not wait for one under way or just beginning, so that a
  /// caller may hold locks which that call needs.
  virtual void stop() = 0;
};

[[nodiscard]] std::unique_ptr<Timer> makeTimer();
