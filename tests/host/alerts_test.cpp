#include "host/alerts.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

/// Notes what is shown and runs `inside` while the box is open.
class RecordingDialogs : public Dialogs {
 public:
  void showWarning(const std::string& caption, const std::string& message) override {
    shown.push_back(caption + ": " + message);
    if (inside) inside();
  }

  std::vector<std::string> shown;
  std::function<void()> inside;
};

using Texts = std::vector<std::string>;

TEST(Alerts, WaitAndAreShownOnceInOrder) {
  Alerts alerts;
  RecordingDialogs dialogs;
  alerts.show(dialogs);
  EXPECT_EQ(dialogs.shown, Texts{});
  alerts.add("Preset", "cannot be read");
  alerts.add("Bank", "is empty");
  alerts.show(dialogs);
  alerts.show(dialogs);
  EXPECT_EQ(dialogs.shown, (Texts{"Preset: cannot be read", "Bank: is empty"}));
}

TEST(Alerts, RaisedWhileABoxIsOpenStayForTheNextTime) {
  Alerts alerts;
  RecordingDialogs dialogs;
  dialogs.inside = [&] {
    if (dialogs.shown.size() <= 2) alerts.add("Late", std::to_string(dialogs.shown.size()));
  };
  alerts.add("First", "a");
  alerts.add("First", "b");
  alerts.show(dialogs);
  EXPECT_EQ(dialogs.shown, (Texts{"First: a", "First: b"}));
  alerts.show(dialogs);
  EXPECT_EQ(dialogs.shown, (Texts{"First: a", "First: b", "Late: 1", "Late: 2"}));
}

TEST(Alerts, AShowInsideABoxShowsNothing) {
  Alerts alerts;
  Alerts others;  // the flag is one for the process
  RecordingDialogs dialogs;
  RecordingDialogs nested;
  dialogs.inside = [&] {
    alerts.show(nested);
    others.show(nested);
  };
  alerts.add("Outer", "1");
  alerts.add("Outer", "2");
  others.add("Other", "1");
  alerts.show(dialogs);
  EXPECT_EQ(dialogs.shown, (Texts{"Outer: 1", "Outer: 2"}));
  EXPECT_EQ(nested.shown, Texts{});
  others.show(nested);
  EXPECT_EQ(nested.shown, Texts{"Other: 1"});
}

TEST(Alerts, ABoxThatFailsLosesNothing) {
  Alerts alerts;
  RecordingDialogs dialogs;
  alerts.add("Kept", "1");
  dialogs.inside = [] { throw std::runtime_error("no window system"); };
  EXPECT_THROW(alerts.show(dialogs), std::runtime_error);
  dialogs.inside = nullptr;
  alerts.show(dialogs);
  EXPECT_EQ(dialogs.shown, (Texts{"Kept: 1", "Kept: 1"}));
}

TEST(Alerts, OfManyThreadsAreAllShown) {
  constexpr std::size_t kEach = 200;
  Alerts alerts;
  RecordingDialogs dialogs;
  std::vector<std::thread> raisers;
  raisers.reserve(3);
  for (int i = 0; i < 3; ++i) {
    raisers.emplace_back([&alerts] {
      for (std::size_t n = 0; n < kEach; ++n) alerts.add("Thread", std::to_string(n));
    });
  }
  while (dialogs.shown.size() < kEach) alerts.show(dialogs);
  for (std::thread& raiser : raisers) raiser.join();
  alerts.show(dialogs);
  EXPECT_EQ(dialogs.shown.size(), 3 * kEach);
}

}  // namespace
