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
  bool confirm(const std::string& /*caption*/, const std::string& /*message*/) override {
    return false;
  }
  bool openFileDialog(const FileDialog& /*dialog*/, std::string& /*resultPath*/) override {
    return false;
  }

  std::vector<std::string> shown;
  std::function<void()> inside;
};

using Texts = std::vector<std::string>;

TEST(Alerts, AreShownOnceAndThoseRaisedMeanwhileTheNextTime) {
  Alerts alerts;
  RecordingDialogs dialogs;
  dialogs.inside = [&] {
    if (dialogs.shown.size() <= 2) alerts.add("Late", std::to_string(dialogs.shown.size()));
  };
  alerts.add("First", "a");
  alerts.add("First", "b");
  alerts.show(dialogs);
  EXPECT_EQ(dialogs.shown, (Texts{"First: a", "First: b"}));
  for (int again = 0; again < 2; ++again) alerts.show(dialogs);
  EXPECT_EQ(dialogs.shown, (Texts{"First: a", "First: b", "Late: 1", "Late: 2"}));
}

TEST(Alerts, AShowInsideABoxShowsNothingAndABoxThatFailsLosesNothing) {
  Alerts alerts;
  Alerts others;  // the flag is one for the process
  RecordingDialogs dialogs;
  dialogs.inside = [&] {
    alerts.show(dialogs);
    others.show(dialogs);
    throw std::runtime_error("no window system");
  };
  alerts.add("Outer", "1");
  others.add("Other", "1");
  EXPECT_THROW(alerts.show(dialogs), std::runtime_error);
  EXPECT_EQ(dialogs.shown, Texts{"Outer: 1"});
  dialogs.inside = nullptr;
  alerts.show(dialogs);
  others.show(dialogs);
  EXPECT_EQ(dialogs.shown, (Texts{"Outer: 1", "Outer: 1", "Other: 1"}));
}

TEST(Alerts, OfAnotherThreadAreAllShown) {
  Alerts alerts;
  RecordingDialogs dialogs;
  std::thread raiser([&] {
    for (int n = 0; n < 500; ++n) alerts.add("Thread", std::to_string(n));
  });
  while (dialogs.shown.size() < 500) alerts.show(dialogs);
  raiser.join();
}

}  // namespace
