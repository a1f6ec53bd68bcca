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

/// What the timers under a list of clients were told, and a hand to turn the last one.
struct Bench {
  void tick() {
    std::unique_lock lock(mutex);
    const std::function<void()> current = callback;
    lock.unlock();
    if (current) current();
  }

  std::mutex mutex;
  std::function<void()> callback;
  const Timer* owner = nullptr;  // of the callback
  int starts = 0;
  int alive = 0;
};

class HandTimer : public Timer {
 public:
  explicit HandTimer(Bench& timerBench) : bench(timerBench) { count(1); }
  ~HandTimer() override { stop(), count(-1); }
  void start(std::int32_t intervalMs, std::function<void()> callback) override {
    const std::lock_guard guard(bench.mutex);
    EXPECT_FALSE(bench.callback) << "started without being stopped first";
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
  void count(int change) {
    const std::lock_guard guard(bench.mutex);
    bench.alive += change;
  }

  Bench& bench;
};

/// Logs its letter when it idles, and the small one when its editor does.
struct Client : IdleClient {
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
  /// "+C" and "-B" add and remove a client, "t" ticks once within the tick, "!" fails.
  void run(const char* script) {
    for (const char* c = script; *c != '\0'; ++c) {
      if (*c == 't' && !nested) nested = true, bench.tick();
      if (*c == '!') throw std::runtime_error("full disk");
      if (*c == '+') idle.add(clients[c[1] - 'A']);
      if (*c == '-') idle.remove(clients[c[1] - 'A']);
    }
  }
  std::string ticked() {
    nested = false;
    bench.tick();
    return std::exchange(log, {});
  }

  Bench bench;
  IdleTimer idle{[this] { return std::make_unique<HandTimer>(bench); }};
  std::string log;
  Client clients[3] = {{log, 'A'}, {log, 'B'}, {log, 'C'}};
  bool nested = false;
};

TEST_F(IdleTimerTest, OneTimerServesAListThatMayChangeWithinItsTicks) {
  const struct {
    const char *ofA, *ofB, *first, *second;  // what A and B do in their turn, and two ticks
    int starts;                              // of the timer, two of them for A and B
  } cases[] = {
      {"", "", "AaBb", "AaBb", 2},       {"+B", "+A", "AaBb", "AaBb", 2},
      {"+C", "", "AaBb", "AaBbCc", 3},   {"-C", "", "AaBb", "AaBb", 2},
      {"-B", "", "Aa", "Aa", 3},         {"", "-A", "AaBb", "Bb", 3},
      {"-A", "", "ABb", "Bb", 3},     // its editor may be gone
      {"-A+A", "", "ABb", "BbA", 6},  // counts as a new one
      {"", "-A-B", "AaB", "", 3},     // the timer cannot go within its own tick
      {"-A-B+C", "", "A", "Cc", 4},      {"!", "", "ABb", "ABb", 2},
      {"t-B", "", "AAaa", "AAaa", 3},    {"", "t-B", "AaBAaB", "Aa", 3},
      {"t!", "", "AABbBb", "AABbBb", 2},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.ofA + std::string(" / ") + c.ofB);
    bench.starts = 0;
    run("+A+B");
    clients[0].action = [&] { run(c.ofA); };
    clients[1].action = [&] { run(c.ofB); };
    EXPECT_EQ(ticked(), c.first);
    EXPECT_EQ(ticked(), c.second);
    EXPECT_EQ(bench.starts, c.starts);
    EXPECT_EQ(bench.alive, 1);
    run("+C-A-B-C");
    EXPECT_EQ(bench.alive, 0) << "a thread outlives the last instance";
  }
}

TEST_F(IdleTimerTest, ATickOfATimerGivenUpCallsNobody) {
  run("+A");
  const std::function<void()> late = bench.callback;
  run("-A+B");
  late();
  EXPECT_EQ(log, "");
}

TEST_F(IdleTimerTest, RemoveWaitsForACallOnAnotherThread) {
  std::atomic<bool> inside{false};
  std::atomic<bool> done{false};
  clients[0].action = [&] {
    inside = true;
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
    done = true;
  };
  run("+A");
  std::thread ticker([&] { bench.tick(); });
  while (!inside) std::this_thread::yield();
  run("-A");
  EXPECT_TRUE(done);
  const std::string atRemoval = log;
  ticker.join();
  EXPECT_EQ(log, atRemoval) << "called after its removal";
}

TEST_F(IdleTimerTest, ClientsComeAndGoWhileTicksRun) {
  std::atomic<bool> ending{false};
  std::thread ticker([&] {
    while (!ending) bench.tick();
  });
  std::vector<std::thread> owners(3);
  for (std::thread& owner : owners) {
    owner = std::thread([this] {
      for (int i = 0; i < 300; ++i) {
        const auto ownLog = std::make_unique<std::string>();
        Client guest(*ownLog, 'G');
        Client client(*ownLog, 'H');
        client.action = [&] { ownLog->size() % 2 == 0 ? idle.remove(guest) : idle.add(guest); };
        idle.add(client);
        if (i % 2 == 0) std::this_thread::yield();
        idle.remove(client);
        idle.remove(guest);
      }
    });
  }
  for (std::thread& owner : owners) owner.join();
  ending = true;
  ticker.join();
}

}  // namespace
