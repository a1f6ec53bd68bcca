#include "host/alerts.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>

#include "host/file_errors.h"

namespace {

/// Notes what is shown and runs `inside` while the box is open.
class Boxes : public Dialogs {
 public:
  void showWarning(const std::string& caption, const std::string& message) override {
    shown += caption + ": " + message + "|";
    if (inside) inside();
  }
  bool confirm(const std::string&, const std::string&) override { return false; }
  bool openFileDialog(const FileDialog&, std::string&) override { return false; }
  std::string take() { return std::exchange(shown, {}); }

  std::string shown;
  std::function<void()> inside;
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
