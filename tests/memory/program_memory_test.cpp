// The program, while memory runs out.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "tests/memory/program_shortage.h"
#include "tests/support/test_directory.h"

namespace {

/// Runs of the program in a folder of its own, with its own shortages.
class ProgramMemory : public testing::Test {
 protected:
  ProgramMemory() {
    writeBytes(home.path("shared"), std::string(sizeof(ProgramShortage), '\0'));
    const int file = open(home.path("shared").c_str(), O_RDWR | O_CLOEXEC);
    shortage = static_cast<ProgramShortage*>(
        mmap(nullptr, sizeof(ProgramShortage), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0));
    close(file);
  }
  ~ProgramMemory() override { munmap(shortage, sizeof(ProgramShortage)); }

  int run(std::vector<std::string> words, int first, bool lasts) {
    shortage->first = first;
    shortage->lasts = lasts;
    shortage->met = 0;
    words.insert(words.begin(), CORVANTHELIS_PROGRAM);
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 2);
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    const pid_t child = vfork();
    if (child == 0) {
      const char* const outputs[] = {nullptr, outPath.c_str(), errPath.c_str()};
      for (const int stream : {1, 2})
        dup2(open(outputs[stream], O_WRONLY | O_CREAT | O_TRUNC, 0666), stream);
      execve(arguments[0], arguments.data(), environment);
      _exit(127);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

  /// Lets every `step`-th allocation behind those of the start fail, alone and with all behind it.
  void walk(const std::vector<std::string>& words, int step, int start = 0) {
    const std::string target = home.path("made.wav");
    writeBytes(target, "old");
    ASSERT_EQ(run(words, -1, false), 0) << readBytes(errPath);
    const std::string made = readBytes(target);
    const std::string told = readBytes(outPath);
    const int count = shortage->met;
    int wrong = 0;
    std::string first;
    for (const bool lasts : {false, true}) {
      for (int n = start; n < count; n += step) {
        writeBytes(target, "old");
        const int status = run(words, n, lasts);
        const std::string now = readBytes(target);
        const std::string reason = readBytes(errPath);
        const bool isDone = status == 0 && now == made && readBytes(outPath) == told;
        const bool isTold = reason.ends_with("not enough memory\n") &&
                            std::count(reason.begin(), reason.end(), '\n') == 1;
        if (isDone || (status == 1 && isTold && (now == "old" || now == made))) continue;
        if (wrong++ == 0) first = std::to_string(n) + ": " + std::to_string(status) + ' ' + reason;
      }
    }
    std::cout << words[0] << ": " << count << " allocations, " << wrong << " wrong" << std::endl;
    EXPECT_EQ(wrong, 0) << words[0] << ", the first at " << first;
    for (const std::string& name : home.names()) EXPECT_FALSE(name.ends_with(".part")) << name;
  }

  const TestDirectory home;
  const std::string outPath = home.path("out");
  const std::string errPath = home.path("err");
  std::string preload = "LD_PRELOAD=" CORVANTHELIS_PRELOAD;
  std::string shared = "CORVANTHELIS_SHORTAGE=" + home.path("shared");
  std::string config = "XDG_CONFIG_HOME=" + home.path("config");
  std::string own = "HOME=" + home.path("");
  char* environment[5] = {preload.data(), shared.data(), config.data(), own.data(), nullptr};
  ProgramShortage* shortage;
};

TEST_F(ProgramMemory, EveryCommandSaysSoAndLeavesNothingHalf) {
  const std::string target = home.path("made.wav");
  const std::string state = home.path("state.json");
  writeBytes(
      state,
      R"({"parameters": {"kB1Threshold": 0.25, "kB2State": 1, "kB1SCLF": 1}, "v101": true})");
  // A header, then 16-bit samples. Of WAV files the audio library does not get past one allocation.
  std::string sound(".snd\0\0\0\x18\0\0\x17\0\0\0\0\x03\0\0\xbb\x80\0\0\0\x01", 24);
  for (int i = 0; i < 0x1700 / 2; ++i) {
    sound += {static_cast<char>(i % 32), static_cast<char>(i * 40)};
  }
  writeBytes(home.path("in.au"), sound);
  walk({"--version"}, 7);
  const int start = shortage->met - 100;
  walk({"state", "pack", state, target}, 1, start);
  walk({"band", "save", state, "1", target}, 5, start);
  walk({"render", home.path("in.au"), target, "--quiet", "--preset", state}, 7, start);
  walk({"curve", "--band", "1", "--state", state}, 11, start);
  walk({"presets", "list"}, 3, start);
}

}  // namespace
