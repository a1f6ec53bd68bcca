// The desktop's dialog for files, played by scripts.

#include "platform/file_chooser.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>

#include "tests/support/test_directory.h"

namespace {

using State = FileChooser::State;

/// A desktop whose programs are scripts.
class FileChoosers : public testing::Test {
 protected:
  FileChoosers() {
    ::setenv("PATH", (programs.path("") + ":/usr/bin:/bin").c_str(), 1);
    ::setenv("DISPLAY", ":none", 1);
    ::setenv("HOME", programs.path("").c_str(), 1);
  }
  ~FileChoosers() override {
    ::setenv("PATH", before.c_str(), 1);
    ::unsetenv("DISPLAY");
    ::unsetenv("XDG_CURRENT_DESKTOP");
  }

  void install(const std::string& name, const std::string& script) const {
    writeBytes(programs.path(name), "#!/bin/sh\n" + script + "\n");
    ::chmod(programs.path(name).c_str(), 0700);
  }
  static State wait(FileChooser& chooser, std::string& path) {
    State state = State::kOpen;
    for (int i = 0; i < 2000 && state == State::kOpen; ++i) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
      state = chooser.poll(path);
    }
    return state;
  }
  /// No child is left, running or not.
  static bool isChildless() { return ::waitpid(-1, nullptr, WNOHANG) < 0 && errno == ECHILD; }

  const TestDirectory programs;
  const std::string before = std::getenv("PATH");
};

TEST_F(FileChoosers, HandOverTextsAsTheyAreAndReadTheAnswer) {
  const std::string odd = "/tmp/a b'\"$(x)\\\xC3\xA4%s\nsecond line";
  const std::string notes = programs.path("arguments");
  const FileDialog opens{true, "It's \"$HOME\" `id`", programs.path(""), {}, "cvb", {"bnk"}};
  const FileDialog saves{false, "--help", {}, odd, "cvb"};
  const struct {
    const char* program;
    const char* desktop;
    const FileDialog& dialog;
    std::string arguments;
  } rows[] = {
      {"zenity", "", opens,
       "--file-selection|--title=" + opens.title + "|--filename=" + programs.path("") +
           "|--file-filter=*.cvb *.bnk | *.cvb *.bnk|--file-filter=All files | *|"},
      {"zenity", "GNOME", saves,
       "--file-selection|--title=--help|--save|--confirm-overwrite|--filename=" + odd +
           "|--file-filter=*.cvb | *.cvb|--file-filter=All files | *|"},
      {"kdialog", "KDE", saves,
       "--title|--help|--getsavefilename|" + odd + "|*.cvb (*.cvb)\nAll files (*)|"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.arguments);
    ::setenv("XDG_CURRENT_DESKTOP", row.desktop, 1);
    writeBytes(programs.path("answer"), odd + "\n");
    install(row.program,
            "printf '%s|' \"$@\" > '" + notes + "'; cat '" + programs.path("answer") + "'");
    const std::unique_ptr<FileChooser> chooser = FileChooser::open(row.dialog);
    ASSERT_NE(chooser, nullptr);
    std::string path;
    EXPECT_EQ(wait(*chooser, path), State::kChosen);
    EXPECT_EQ(path, odd);
    EXPECT_EQ(readBytes(notes), row.arguments);
    EXPECT_TRUE(isChildless());
  }
}

TEST_F(FileChoosers, TellCancelledFromFailedAndLeaveNoProcess) {
  const struct {
    const char* script;
    State state;
  } rows[] = {
      {"exit 1", State::kCancelled},
      {"exit 0", State::kCancelled},
      {"echo /tmp/x; exit 1", State::kCancelled},
      {"echo relative", State::kFailed},
      {"exit 255", State::kFailed},
      {"kill -9 $$", State::kFailed},
      {"head -c 3000000 /dev/zero | tr '\\0' /", State::kFailed},  // more than a pipe holds
      {"exec >&-; sleep 0.1; exit 1", State::kCancelled},
      {"trap '' TERM INT HUP; (sleep 1000) & sleep 1000", State::kOpen},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.script);
    install("zenity", row.script);
    std::unique_ptr<FileChooser> chooser = FileChooser::open({});
    ASSERT_NE(chooser, nullptr);
    std::string path = "before";
    if (row.state == State::kOpen) {
      for (int i = 0; i < 20; ++i) EXPECT_EQ(chooser->poll(path), State::kOpen);
    } else {
      EXPECT_EQ(wait(*chooser, path), row.state);
    }
    EXPECT_EQ(path, "before");
    chooser.reset();
    EXPECT_TRUE(isChildless());
  }
  ::unsetenv("DISPLAY");
  EXPECT_EQ(FileChooser::open({}), nullptr);
}

}  // namespace
