#include "platform/timer.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

#include "platform/plug_base_thread.h"

namespace {

class ThreadTimer final : public Timer {
 public:
  ThreadTimer() = default;
  ~ThreadTimer() override;
  void start(std::int32_t intervalMs, std::function<void()> callback) override;
  void stop() override;

 private:
  using Clock = std::chrono::steady_clock;
  using Callback = std::function<void()>;

  class Worker final : public PlugBaseThread {
   public:
    explicit Worker(ThreadTimer& timer) : PlugBaseThread(0), owner(timer) {}
    ~Worker() override { stop(); }

   private:
    void run() override { owner.waitAndCall(); }
    ThreadTimer& owner;
  };

  void waitAndCall();
  [[nodiscard]] Callback waitForDue();

  std::mutex mutex;
  std::condition_variable changed;
  Callback callback;  // empty while stopped
  Clock::duration period{};
  Clock::time_point due;
  bool ending = false;
  Worker worker{*this};  // last: its thread uses the members above
};

ThreadTimer::~ThreadTimer() {
  {
    const std::lock_guard guard(mutex);
    ending = true;
  }
  changed.notify_all();
}

void ThreadTimer::start(std::int32_t intervalMs, std::function<void()> newCallback) {
  {
    const std::lock_guard guard(mutex);
    callback.swap(newCallback);
    period = std::chrono::milliseconds(std::max(intervalMs, 1));
    due = Clock::now() + period;
  }
  changed.notify_all();
  worker.start();
}

void ThreadTimer::stop() {
  const std::lock_guard guard(mutex);
  callback = nullptr;
}

void ThreadTimer::waitAndCall() {
  // The copy keeps the callback alive should it be replaced while it runs.
  if (const Callback current = waitForDue()) current();
}

ThreadTimer::Callback ThreadTimer::waitForDue() {
  std::unique_lock lock(mutex);
  for (;;) {
    if (ending) return nullptr;
    const auto now = Clock::now();
    if (!callback) {
      changed.wait(lock);
    } else if (now < due) {
      const auto until = due;  // `due` may change while the lock is released
      changed.wait_until(lock, until);
    } else {
      // Counted from when the call was due, not from now, so that the rate does not drift.
      due = std::max(due + period, now);
      return callback;
    }
  }
}

}  // namespace

std::unique_ptr<Timer> makeTimer() { return std::make_unique<ThreadTimer>(); }
