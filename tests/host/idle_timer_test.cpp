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
  std::int32_t intervalMs = 0;
  int starts = 0;
  int made = 0;
  int alive = 0;

  [[nodiscard]] bool running() {
    const std::lock_guard guard(mutex);
    return callback != nullptr;
  }
  void tick() {
    std::function<void()> current;
    {
      const std::lock_guard guard(mutex);
      current = callback;
    }
    if (current) current();
  }
  [[nodiscard]] IdleTimer::TimerFactory factory();
};

class HandTimer : public Timer {
 public:
  explicit HandTimer(TimerBench& timerBench) : bench(timerBench) {
    const std::lock_guard guard(bench.mutex);
    ++bench.made;
    ++bench.alive;
  }
  ~HandTimer() override {
    stop();
    const std::lock_guard guard(bench.mutex);
    --bench.alive;
  }
  void start(std::int32_t interval, std::function<void()> callback) override {
    const std::lock_guard guard(bench.mutex);
    EXPECT_FALSE(bench.callback) << "started without being killed first";
    bench.callback = std::move(callback);
    bench.owner = this;
    bench.intervalMs = interval;
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

IdleTimer::TimerFactory TimerBench::factory() {
  return [this] { return std::make_unique<HandTimer>(*this); };
}

/// Adds its letter to `log` when it idles, and the small one when its editor does.
class Client : public IdleClient {
 public:
  Client(std::string& clientLog, char clientLetter) : log(clientLog), letter(clientLetter) {}

  void onIdle() override {
    log += letter;
    if (action) action();
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
  IdleTimer idle{bench.factory()};
  std::string log;
  Client a{log, 'A'}, b{log, 'B'}, c{log, 'C'};
};

TEST_F(IdleTimerTest, OneTimerServesAllAndRestartsWithEveryChange) {
  EXPECT_EQ(bench.made, 0);
  idle.add(a);
  idle.add(b);
  idle.add(b);
  EXPECT_EQ(bench.made, 1);
  EXPECT_EQ(bench.starts, 2);
  EXPECT_EQ(bench.intervalMs, 10);
  EXPECT_EQ(ticked(), "AaBb");
  idle.remove(a);
  EXPECT_EQ(bench.starts, 3);
  EXPECT_EQ(ticked(), "Bb");
  idle.remove(a);
  idle.remove(b);
  EXPECT_EQ(bench.starts, 3);
  EXPECT_EQ(bench.alive, 0) << "a thread outlives the last instance";
  idle.add(c);
  EXPECT_EQ(ticked(), "Cc");
  idle.remove(c);
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
  EXPECT_FALSE(bench.running());
  EXPECT_EQ(bench.alive, 1) << "the timer was deleted within its own tick";
  c.action = [&] { idle.remove(c), idle.add(c); };
  idle.add(c);
  EXPECT_EQ(ticked(), "C") << "counts as a new one";
  idle.remove(c);
  EXPECT_EQ(bench.alive, 0);
}

TEST_F(IdleTimerTest, TicksNestWhenAClientRunsAMessageLoop) {
  idle.add(a);
  idle.add(b);
  a.action = [&] {
    a.action = nullptr;
    bench.tick();
    idle.remove(b);
  };
  EXPECT_EQ(ticked(), "AAaBba");
  idle.remove(a);
}

TEST_F(IdleTimerTest, AnExceptionEndsOneTurnOnly) {
  idle.add(a);
  idle.add(b);
  a.action = [] { throw std::runtime_error("full disk"); };
  EXPECT_EQ(ticked(), "ABb");
  idle.remove(a);
  EXPECT_EQ(ticked(), "Bb");
  idle.remove(b);
  EXPECT_EQ(bench.alive, 0) << "the failed call counts as still under way";
}

TEST_F(IdleTimerTest, ATickOfATimerGivenUpCallsNobody) {
  idle.add(a);
  const std::function<void()> late = bench.callback;
  idle.remove(a);
  idle.add(b);
  log.clear();
  late();
  EXPECT_EQ(log, "");
  EXPECT_EQ(ticked(), "Bb");
  idle.remove(b);
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
  EXPECT_EQ(log.find('a'), std::string::npos) << "called after its removal";
}

/// A client whose idle works on its own memory and sometimes on the list.
class BusyClient : public IdleClient {
 public:
  explicit BusyClient(IdleTimer& timer) : idle(timer) { idle.add(*this); }
  ~BusyClient() override { idle.remove(*this); }

  void onIdle() override {
    ++(*idles);
    if (*idles % 3 == 1) guest = std::make_unique<Guest>(idle);
    if (*idles % 3 == 0) guest.reset();
  }
  void onEditorIdle() override { ++(*idles); }

 private:
  class Guest : public IdleClient {
   public:
    explicit Guest(IdleTimer& timer) : idle(timer) { idle.add(*this); }
    ~Guest() override { idle.remove(*this); }
    void onIdle() override { ++(*idles); }

   private:
    IdleTimer& idle;
    std::unique_ptr<int> idles = std::make_unique<int>(0);
  };

  IdleTimer& idle;
  std::unique_ptr<int> idles = std::make_unique<int>(0);
  std::unique_ptr<Guest> guest;
};

TEST(IdleTimerThreads, ClientsComeAndGoWhileTicksRun) {
  TimerBench bench;
  IdleTimer idle(bench.factory());
  std::atomic<bool> ending{false};
  std::thread ticker([&] {
    while (!ending) bench.tick();
  });
  std::vector<std::thread> owners;
  owners.reserve(3);
  for (int owner = 0; owner < 3; ++owner) {
    owners.emplace_back([&idle] {
      for (int i = 0; i < 300; ++i) {
        const auto client = std::make_unique<BusyClient>(idle);
        if (i % 2 == 0) std::this_thread::yield();
      }
    });
  }
  for (std::thread& owner : owners) owner.join();
  ending = true;
  ticker.join();
}

TEST(IdleTimerThreads, TheTimerOfTheProcessRunsAndEndsWithItsClients) {
  std::atomic<int> idles{0};
  class Counter : public IdleClient {
   public:
    explicit Counter(std::atomic<int>& counter) : count(counter) {}
    void onIdle() override { ++count; }

   private:
    std::atomic<int>& count;
  } counter(idles);
  for (int round = 1; round <= 3; ++round) {
    IdleTimer::instance().add(counter);
    while (idles < round * 2) std::this_thread::yield();
    IdleTimer::instance().remove(counter);
    const int stoppedAt = idles;
    std::this_thread::sleep_for(std::chrono::milliseconds(25));
    EXPECT_EQ(idles, stoppedAt);
  }
}

}  // namespace
