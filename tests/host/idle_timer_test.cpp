#include "host/idle_timer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

/// What the timer under a list of clients was told, and a hand to turn it.
struct TimerBench {
  std::mutex mutex;
  std::function<void()> callback;
  const Timer* owner = nullptr;  // of the callback
  int starts = 0;
  int alive = 0;

  void tick() {
    std::unique_lock lock(mutex);
    const std::function<void()> current = callback;
    lock.unlock();
    if (current) current();
  }
};

class HandTimer : public Timer {
 public:
  explicit HandTimer(TimerBench& timerBench) : bench(timerBench) {
    const std::lock_guard guard(bench.mutex);
    ++bench.alive;
  }
  ~HandTimer() override {
    stop();
    const std::lock_guard guard(bench.mutex);
    --bench.alive;
  }
  void start(std::int32_t intervalMs, std::function<void()> callback) override {
    const std::lock_guard guard(bench.mutex);
    EXPECT_FALSE(bench.callback) << "started without being killed first";
    EXPECT_EQ(intervalMs, 10);
    bench.callback = std::move(callback);
    bench.owner = this;
    ++bench.starts;
  }
  void stop() override {
    const std::lock_guard guard(bench.mutex);
    // One given up may die after the next one was started.
    if (bench.owner == this) bench.callback = nullptr;
  }

 private:
  TimerBench& bench;
};

/// Adds its letter to `log` when it idles, and the small one when its editor does.
class Client : public IdleClient {
 public:
  Client(std::string& clientLog, char clientLetter) : log(clientLog), letter(clientLetter) {}

  void onIdle() override {
    log += letter;
    if (const auto current = action) current();  // it may replace itself
  }
  void onEditorIdle() override { log += static_cast<char>(letter - 'A' + 'a'); }

  std::string& log;
  char letter;
  std::function<void()> action;
};

class IdleTimerTest : public testing::Test {
 protected:
  std::string ticked() {
    log.clear();
    bench.tick();
    return log;
  }

  TimerBench bench;
  IdleTimer idle{[this] { return std::make_unique<HandTimer>(bench); }};
  std::string log;
  Client a{log, 'A'}, b{log, 'B'}, c{log, 'C'};
};

TEST_F(IdleTimerTest, OneTimerServesAllAndRestartsWithEveryChange) {
  for (Client* const client : {&a, &b, &b}) idle.add(*client);
  EXPECT_EQ(bench.alive, 1);
  EXPECT_EQ(bench.starts, 2);
  EXPECT_EQ(ticked(), "AaBb");
  idle.remove(a);
  EXPECT_EQ(bench.starts, 3);
  EXPECT_EQ(ticked(), "Bb");
  for (Client* const client : {&a, &b}) idle.remove(*client);
  EXPECT_EQ(bench.starts, 3);
  EXPECT_EQ(bench.alive, 0) << "a thread outlives the last instance";
}

TEST_F(IdleTimerTest, TheListMayChangeWithinATick) {
  idle.add(a);
  idle.add(b);
  a.action = [&] { idle.add(c); };
  EXPECT_EQ(ticked(), "AaBb") << "a client added meanwhile waits for the next tick";
  EXPECT_EQ(ticked(), "AaBbCc");
  a.action = [&] { idle.remove(b); };
  EXPECT_EQ(ticked(), "AaCc");
  a.action = [&] { idle.remove(a); };
  EXPECT_EQ(ticked(), "ACc") << "its editor may be gone";
  c.action = [&] { idle.remove(c); };
  EXPECT_EQ(ticked(), "C");
  EXPECT_EQ(ticked(), "");
  EXPECT_EQ(bench.alive, 1) << "the timer was deleted within its own tick";
  c.action = [&] { idle.remove(c), idle.add(c); };
  idle.add(c);
  EXPECT_EQ(ticked(), "C") << "counts as a new one";
}

TEST_F(IdleTimerTest, TicksNestAndAnExceptionEndsOneTurnOnly) {
  idle.add(a);
  idle.add(b);
  a.action = [&] {
    a.action = [] { throw std::runtime_error("full disk"); };
    bench.tick();  // a client may run a message loop
    idle.remove(b);
  };
  EXPECT_EQ(ticked(), "AABba");
  idle.remove(a);
  EXPECT_EQ(bench.alive, 0) << "the failed call counts as still under way";
}

TEST_F(IdleTimerTest, ATickOfATimerGivenUpCallsNobody) {
  idle.add(a);
  const std::function<void()> late = bench.callback;
  idle.remove(a);
  idle.add(b);
  late();
  EXPECT_EQ(log, "");
}

TEST_F(IdleTimerTest, RemoveWaitsForACallOnAnotherThread) {
  std::atomic<bool> inside{false};
  std::atomic<bool> done{false};
  a.action = [&] {
    inside = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    done = true;
  };
  idle.add(a);
  std::thread ticker([&] { bench.tick(); });
  while (!inside) std::this_thread::yield();
  idle.remove(a);
  EXPECT_TRUE(done);
  ticker.join();
  EXPECT_EQ(log, "A") << "called after its removal";
}

/// A client whose idle works on its own memory and lets a guest come and go.
class BusyClient : public IdleClient {
 public:
  BusyClient(IdleTimer& timer, bool takesGuests) : idle(timer), isHost(takesGuests) {
    idle.add(*this);
  }
  ~BusyClient() override { idle.remove(*this); }

  void onIdle() override {
    ++(*idles);
    if (isHost) guest = guest ? nullptr : std::make_unique<BusyClient>(idle, false);
  }
  void onEditorIdle() override { ++(*idles); }

 private:
  IdleTimer& idle;
  const bool isHost;
  std::unique_ptr<int> idles = std::make_unique<int>(0);
  std::unique_ptr<BusyClient> guest;
};

TEST_F(IdleTimerTest, ClientsComeAndGoWhileTicksRun) {
  std::atomic<bool> ending{false};
  std::thread ticker([&] {
    while (!ending) bench.tick();
  });
  std::vector<std::thread> owners;
  owners.reserve(3);
  for (int owner = 0; owner < 3; ++owner) {
    owners.emplace_back([this] {
      for (int i = 0; i < 300; ++i) {
        const BusyClient client(idle, true);
        if (i % 2 == 0) std::this_thread::yield();
      }
    });
  }
  for (std::thread& owner : owners) owner.join();
  ending = true;
  ticker.join();
}

}  // namespace
