#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

/// A thread that calls `run` repeatedly, sleeping `interval` milliseconds between calls, until it
/// is stopped.
///
/// A derived class must call `stop` at the start of its own destructor: the base destructor stops
/// the thread, too, but only after the derived members that `run` uses are gone. Threads: `start`
/// and `stop` on any thread, also from within `run`.
class PlugBaseThread {
 public:
  /// `intervalMs` at or below 0 calls `run` without a pause. No thread runs before `start`.
  explicit PlugBaseThread(std::int32_t intervalMs) noexcept : interval(intervalMs) {}
  virtual ~PlugBaseThread();
  PlugBaseThread(const PlugBaseThread&) = delete;
  PlugBaseThread& operator=(const PlugBaseThread&) = delete;

  /// Starts the thread, also after a stop. Does nothing while it runs or from within `run`. Throws
  /// `std::system_error` if the system cannot make a thread.
  void start();

  /// Ends the sleep and waits, without limit, for a `run` under way to return. From within `run` it
  /// does not wait: `run` is just not called again, and the next `stop` from outside waits.
  void stop();

 protected:
  /// One round of work, on the thread. An exception that leaves it terminates the process.
  virtual void run() = 0;

  std::atomic<bool> stopRequested{false};
  std::atomic<std::int32_t> interval;  ///< milliseconds, read before each sleep

 private:
  void loop();
  void sleep();
  void requestStop();
  [[nodiscard]] bool onOwnThread() const noexcept;

  // Not thread-local: in a library, the first access to a thread-local variable allocates memory.
  std::atomic<std::thread::id> runner;
  std::mutex handleMutex;  // held while the thread is made or joined
  std::thread handle;
  std::mutex sleepMutex;
  std::condition_variable wake;
};
