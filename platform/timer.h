#pragma once

#include <cstdint>
#include <functional>
#include <memory>

/// Calls back at a fixed rate on a thread of its own, the message thread. Ticks missed because a
/// call took too long are dropped.
/// Threads: `start` and `stop` on any thread, also from within a call. Must not be destroyed on its
/// own thread; the destructor waits for a call under way.
class Timer {
 public:
  Timer() = default;
  virtual ~Timer() = default;
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  /// Starts the calls, the first one `intervalMs` (at least 1) from now. Starting again replaces
  /// interval and callback but keeps the thread, and cannot fail; the first start throws, with
  /// nothing running, if no thread can be made. Calling a callback of at most two pointers in size
  /// allocates nothing.
  virtual void start(std::int32_t intervalMs, std::function<void()> callback) = 0;

  /// No further calls fall due. Does not wait for a call under way or just beginning, so the caller
  /// may hold locks that such a call needs.
  virtual void stop() = 0;
};

[[nodiscard]] std::unique_ptr<Timer> makeTimer();
