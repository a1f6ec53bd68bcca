#include "platform/plug_base_thread.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <thread>
#include <utility>
#include <vector>

#include "platform/clock.h"

namespace {

constexpr std::int32_t kForeverMs = 600000;

class CountingThread : public PlugBaseThread {
 public:
  explicit CountingThread(std::int32_t intervalMs, std::function<void()> work = {})
      : PlugBaseThread(intervalMs), extra(std::move(work)) {}
  ~CountingThread() override { stop(); }

  void waitForRounds(int wanted) const {
    while (rounds.load() < wanted) std::this_thread::yield();
  }

  std::atomic<int> rounds{0};
  std::function<void()> extra;

 private:
  void run() override {
    ++rounds;
    if (extra) extra();
  }
};

TEST(PlugBaseThread, RepeatsUntilStoppedAndNotAfterwards) {
  CountingThread thread(5);
  for (const int upTo : {4, 8}) {  // the second time after a stop
    const auto before = monotonicMilliseconds();
    thread.start();
    thread.start();
    thread.waitForRounds(upTo);
    EXPECT_GE(monotonicMilliseconds() - before, 3 * 5);
    thread.stop();
    const int stoppedAt = thread.rounds;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(thread.rounds, stoppedAt);
  }
}

TEST(PlugBaseThread, StopWakesTheSleeperAndWaitsForTheRoundUnderWay) {
  std::atomic<bool> done{false};
  CountingThread thread(kForeverMs, [&] {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    done = true;
  });
  for (const bool asleep : {false, true}) {
    done = false;
    thread.start();
    thread.waitForRounds(asleep ? 2 : 1);
    while (asleep && !done) std::this_thread::yield();
    thread.stop();  // without the wake this would last ten minutes
    EXPECT_TRUE(done);
  }
}

TEST(PlugBaseThread, CanStopItselfAndBeStartedAgain) {
  CountingThread* self = nullptr;
  CountingThread thread(0, [&self] {
    self->stop();
    self->start();  // from within it has no effect: the stop stands
  });
  self = &thread;
  for (const int round : {1, 2, 3}) {
    thread.start();
    thread.waitForRounds(round);
    thread.stop();
    EXPECT_EQ(thread.rounds, round);
  }
}

TEST(PlugBaseThread, TakesStartsAndStopsOfManyThreads) {
  CountingThread thread(kForeverMs);
  std::vector<std::thread> users;
  users.reserve(4);
  for (int user = 0; user < 4; ++user) {
    users.emplace_back([&thread, user] {
      for (int i = 0; i < 50; ++i) user % 2 == 0 ? thread.start() : thread.stop();
    });
  }
  for (std::thread& user : users) user.join();
  thread.stop();
  const int stoppedAt = thread.rounds;
  thread.start();
  thread.waitForRounds(stoppedAt + 1);
}

}  // namespace
