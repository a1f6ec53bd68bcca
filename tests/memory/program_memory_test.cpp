// The program, while memory runs out.

#include <gtest/gtest.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>

#include "tests/memory/memory_walk.h"
#include "tests/support/test_directory.h"

namespace {

/// The command is done as ever, or it says in one line why not, and its file is made or as it was.
Attempt running(const TestDirectory& home, const std::string& words) {
  const std::string command =
      "cd " + home.path("") +
      " && exec env -i LD_PRELOAD=" CORVANTHELIS_PRELOAD
      " XDG_CONFIG_HOME=$PWD/config HOME=$PWD CORVANTHELIS_PATH=$PWD " CORVANTHELIS_PROGRAM " " +
      words + " >>out 2>>err";
  const std::shared_ptr<std::FILE> program(popen(command.c_str(), "we"), &pclose);
  return [&home, program, made = std::string(), told = std::string()]() mutable -> std::string {
    writeBytes(home.path("made.wav"), "old");
    for (const char* const stream : {"out", "err"}) writeBytes(home.path(stream), "");
    SharedShortage& shared = sharedShortage();
    std::fputc(0, program.get());
    std::fflush(program.get());
    sem_wait(&shared.hasRun);
    const std::string reason = readBytes(home.path("err"));
    if (!hasStruck()) {
      made = readBytes(home.path("made.wav"));
      told = readBytes(home.path("out"));
      return shared.status == 0 ? "" : "fails with memory enough: " + reason;
    }
    const bool isMade = readBytes(home.path("made.wav")) == made;
    const bool isDone = shared.status == 0 && isMade && readBytes(home.path("out")) == told;
    const bool isTold = reason.ends_with("not enough memory\n") &&
                        std::count(reason.begin(), reason.end(), '\n') == 1;
    const bool isRefused = WEXITSTATUS(shared.status) == 1 && WIFEXITED(shared.status) && isTold &&
                           (isMade || readBytes(home.path("made.wav")) == "old");
    for (const std::string& name : home.names()) {
      if (name.ends_with(".part")) return name + " is left behind";
    }
    return isDone || isRefused ? "" : std::to_string(shared.status) + ' ' + reason;
  };
}

TEST(ProgramMemory, EveryCommandSaysSoAndLeavesNothingHalf) {
  const TestDirectory home;
  writeBytes(
      home.path("state"),
      R"({"parameters": {"kB1Threshold": 0.25, "kB2State": 1, "kB1SCLF": 1}, "v101": true})");
  // A header, then 16-bit samples. Of WAV files the audio library does not get past one allocation.
  std::string sound(".snd\0\0\0\x18\0\0\x17\0\0\0\0\x03\0\0\xbb\x80\0\0\0\x01", 24);
  for (int i = 0; i < 0x1700 / 2; ++i) {
    sound += {static_cast<char>(i % 32), static_cast<char>(i * 40)};
  }
  writeBytes(home.path("in.au"), sound);
  std::filesystem::create_directories(home.path("Presets/Mine"));
  const std::string pack =
      "cd " + home.path("") + " && " CORVANTHELIS_PROGRAM " state pack state packed";
  ASSERT_EQ(std::system(pack.c_str()), 0);
  const auto command = [&home](const char* words) {
    return Walk{words, [&home, words] { return running(home, words); }, 50};
  };
  walkMemory({command("--version"), command("state pack state made.wav"),
              command("state show packed"), command("band save state 1 made.wav"),
              command("render in.au made.wav --quiet --preset state"),
              command("curve --band 1 --state state"), command("presets list")});
}

}  // namespace
