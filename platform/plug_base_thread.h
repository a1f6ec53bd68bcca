#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

/// A thread that calls `run` again and again, sleeping `interval` between calls, until told to
/// stop.
///
/// A derived class calls `stop` at the head of its own destructor: the base destructor stops the
/// thread too, but by then the derived part that `run` works on is gone. Threads: `start` and
/// `stop` from any thread, also from within `run`.
class PlugBaseThread {
 public:
  /// `intervalMs` at or below 0 calls `run` without a pause. No thread runs before `start`.
  explicit PlugBaseThread(std::int32_t intervalMs) noexcept : interval(intervalMs) {}
  virtual ~PlugBaseThread();
  PlugBaseThread(const PlugBaseThread&) = delete;
  PlugBaseThread& operator=(const PlugBaseThread&) = delete;

  /// Starts the thread, also again after a stop. Does nothing while it runs and from within `run`.
  /// Throws `std::system_error` when the system has no thread to give.
  void start();

  /// Ends the sleep and waits, without limit, for a `run` under way to return. From within `run` it
  /// only asks for the end: `run` is not called again, and the next `stop` from outside does the
  /// waiting.
  void stop();

 protected:
  /// One round of work, on the thread. An exception that leaves it ends the process.
  virtual void run() = 0;

  std::atomic<bool> stopRequested{false};
  std::atomic<std::int32_t> interval;  ///< milliseconds, read before each sleep

 private:
  void loop();
  void sleep();
  void requestStop();
  [[nodiscard]] bool onOwnThread() const noexcept;

  // Not a thread's own variable: the first look at one of those in a library takes memory.
  std::atomic<std::thread::id> runner;
  std::mutex handleMutex;  // held while the thread is made or joined
  std::thread handle;
  std::mutex sleepMutex;
  std::condition_variable wake;
};
