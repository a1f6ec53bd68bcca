// What runs beside the audio: the timer that effects share, and what they have the user told.

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

#include "host/alerts.h"
#include "host/file_errors.h"
#include "host/idle_timer.h"

namespace {

/// One of the timers under a list of clients, and a hand to turn the last one.
class HandTimer : public Timer {
 public:
  HandTimer() { ++alive; }
  ~HandTimer() override { stop(), --alive; }
  void start(std::int32_t intervalMs, std::function<void()> timerCallback) override {
    const std::lock_guard guard(mutex);
    EXPECT_FALSE(callback) << "started without being stopped first";
    EXPECT_EQ(intervalMs, 10);
    callback = std::move(timerCallback);
    owner = this;
    ++starts;
  }
  void stop() override {
    const std::lock_guard guard(mutex);
    if (owner == this) callback = nullptr;  // may die after the next one was started
  }
  static void tick() {
    std::unique_lock lock(mutex);
    const std::function<void()> current = callback;
    lock.unlock();
    if (current) current();
  }

  static inline std::mutex mutex;
  static inline std::function<void()> callback;
  static inline const Timer* owner = nullptr;  // of the callback
  static inline std::atomic<int> starts = 0, alive = 0;
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
      if (*c == 't' && !std::exchange(nested, true)) HandTimer::tick();
      if (*c == '!') throw std::runtime_error("full disk");
      if (*c == '+') idle.add(clients[c[1] - 'A']);
      if (*c == '-') idle.remove(clients[c[1] - 'A']);
    }
  }
  std::string ticked() {
    nested = false;
    HandTimer::tick();
    return std::exchange(log, {});
  }

  IdleTimer idle{[] { return std::make_unique<HandTimer>(); }};
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
    HandTimer::starts = 0;
    run("+A+B");
    clients[0].action = [&] { run(c.ofA); };
    clients[1].action = [&] { run(c.ofB); };
    EXPECT_EQ(ticked(), c.first);
    EXPECT_EQ(ticked(), c.second);
    EXPECT_EQ(HandTimer::starts, c.starts);
    EXPECT_EQ(HandTimer::alive, 1);
    run("+C-A-B-C");
    EXPECT_EQ(HandTimer::alive, 0) << "a thread outlives the last instance";
  }
  run("+A");
  const std::function<void()> late = HandTimer::callback;
  run("-A+B");
  late();
  EXPECT_EQ(log, "") << "a tick of a timer given up";
  run("-B");
}

TEST_F(IdleTimerTest, ClientsComeAndGoWhileTicksRunAndRemoveWaitsForTheirCalls) {
  std::atomic<bool> ending{false};
  std::thread ticker([&] {
    while (!ending) HandTimer::tick();
  });
  std::vector<std::thread> owners(3);
  for (std::thread& owner : owners) {
    owner = std::thread([this] {
      for (int i = 0; i < 300; ++i) {
        const auto ownLog = std::make_unique<std::string>();
        std::atomic<bool> inside{false};
        Client guest(*ownLog, 'G');
        Client client(*ownLog, 'H');
        client.action = [&] {
          inside = true;
          ownLog->size() % 2 == 0 ? idle.remove(guest) : idle.add(guest);
          std::this_thread::yield();
          inside = false;
        };
        idle.add(client);
        if (i % 2 == 0) std::this_thread::yield();
        idle.remove(client);
        EXPECT_FALSE(inside) << "called after its removal";
        idle.remove(guest);
      }
    });
  }
  for (std::thread& owner : owners) owner.join();
  ending = true;
  ticker.join();
}

/// Notes what is shown and runs `inside` while the box is open.
class Boxes : public Dialogs {
 public:
  void showWarning(const std::string& caption, const std::string& message, Closed closed) override {
    shown += caption + ": " + message + "|";
    if (inside) inside();
    if (stays) {
      open = std::move(closed);
    } else {
      closed(true);
    }
  }
  void confirm(const std::string&, const std::string&, Confirmed answer) override { answer(false); }
  void openFileDialog(const FileDialog&, FileChosen answer) override { answer({}); }
  std::string take() { return std::exchange(shown, {}); }

  std::string shown;
  std::function<void()> inside;
  bool stays = false;  // a box waits in `open`
  Closed open;
};

TEST(Alerts, AreShownOnceInOneBoxAtATimeAndLostByNone) {
  Alerts alerts;
  Alerts others;  // one box for the process
  Boxes boxes;
  for (const char* const message : {"1", "2"}) alerts.add("A", message);
  others.add("B", "1");
  boxes.inside = [&] {
    if (boxes.shown.size() < 10) alerts.add("Late", "3");
    alerts.show(boxes);
    others.show(boxes);
  };
  for (const char* const expected : {"A: 1|A: 2|", "Late: 3|", ""}) {
    alerts.show(boxes);
    EXPECT_EQ(boxes.take(), expected);
    boxes.inside = [&] { others.show(boxes); };
  }
  boxes.inside = [] { throw std::runtime_error("no window system"); };
  EXPECT_THROW(others.show(boxes), std::runtime_error);
  boxes.inside = nullptr;
  for (int again = 0; again < 2; ++again) others.show(boxes);
  EXPECT_EQ(boxes.take(), "B: 1|B: 1|") << "shown again, since the box failed";
  for (const char* const message : {"2", "3"}) others.add("B", message);
  boxes.stays = true;
  for (int again = 0; again < 2; ++again) others.show(boxes);
  std::exchange(boxes.open, nullptr)(true);
  std::exchange(boxes.open, nullptr)(false);
  EXPECT_EQ(boxes.take(), "B: 2|B: 3|") << "one after the other";
  boxes.stays = false;
  others.show(boxes);
  EXPECT_EQ(boxes.take(), "B: 3|") << "shown again, since its window closed";
  std::thread raiser([&] {
    for (int n = 0; n < 500; ++n) alerts.add("", "");
  });
  while (boxes.shown.size() < 500 * 3) alerts.show(boxes);
  raiser.join();
}

TEST(Alerts, TellOfFiles) {
  Boxes boxes;
  for (const char* const mode : {"rb", "wb"}) reportFileError("/p/f", mode);
  reportFileContent("/p/f", "is empty", "Nothing has been changed");
  Alerts::instance().show(boxes);
  const std::string caption = "Halvekro : File Access Error: ";
  const std::string why = " file /p/f\nThis is often due to permissions settings\n";
  EXPECT_EQ(boxes.shown, caption + "Failed to read from" + why + "Your data has not been loaded|" +
                             caption + "Failed to write to" + why +
                             "Your data has not been saved|" + caption +
                             "/p/f is empty\nNothing has been changed|");
}

}  // namespace
