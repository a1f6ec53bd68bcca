// Several files, threads and signals at a time.

#include "apps/batch.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <span>
#include <system_error>
#include <thread>

#include "platform/stop_request.h"
#include "tests/apps/program.h"

namespace {

class Batch : public ProgramTest {
 protected:
  void SetUp() override {
    for (int i = 1; i <= 5; ++i) {
      const std::string name = std::to_string(i) + ".wav";
      writeAudio(file(name), makeSignal(4000 * i, 2, 48000, static_cast<unsigned>(i)));
    }
    writeBytes(file("text.wav"), "this is no audio\n");
    writeBytes(file("out.wav"), "what stood there");
  }

  /// Begins a run of its own process, whose messages nobody sees.
  [[nodiscard]] pid_t start(std::vector<std::string> arguments) const {
    std::vector<char*> words;
    arguments.insert(arguments.begin(), program);
    words.reserve(arguments.size() + 1);
    for (std::string& argument : arguments) {
      replaceAll(argument, "@", file(""));
      words.push_back(argument.data());
    }
    words.push_back(nullptr);
    const pid_t child = ::fork();
    if (child != 0) return child;
    ::freopen("/dev/null", "w", stderr);
    ::execv(words.front(), words.data());
    ::_exit(99);
  }
};

TEST_F(Batch, rendersEveryFileAsItAloneAndTellsOfThoseThatFail) {
  std::filesystem::copy_file(file("1.wav"), file("other.voc"));
  const std::string options = " --set kIpTrim=-3";
  const ProgramRun batch =
      run("render --jobs 3 --out-dir @done @1.wav @2.wav @3.wav @text.wav @4.wav @5.wav @none.wav "
          "@other.voc" +
          options);
  EXPECT_EQ(batch.status, 1);
  EXPECT_EQ(lineCount(batch.err), 2) << batch.err;
  EXPECT_EQ(lineCount(batch.out), 8) << batch.out;  // heading, six files, sum
  EXPECT_NE(batch.out.find("6 of 8 files done"), std::string::npos) << batch.out;
  for (const std::string name : {"1", "2", "3", "4", "5", "other"}) {
    const std::string alone = name == "other" ? "1" : name;
    EXPECT_EQ(run("render @" + alone + ".wav @alone.wav" + options).status, 0);
    EXPECT_EQ(readBytes(file("done/" + name + ".wav")), readBytes(file("alone.wav"))) << name;
  }
  EXPECT_FALSE(std::filesystem::exists(file("done/text.wav")));
}

TEST_F(Batch, goesOnAloneWhereNoThreadIsToBeHad) {
  std::vector<RenderItem> items;
  for (const std::string name : {"1.wav", "2.wav", "3.wav"}) {
    items.push_back({file(name), file("done" + name)});
  }
  // A stack that no address space holds.
  pthread_attr_t usual;
  pthread_attr_t boundless;
  ASSERT_EQ(pthread_getattr_default_np(&usual), 0);
  ASSERT_EQ(pthread_getattr_default_np(&boundless), 0);
  ASSERT_EQ(pthread_attr_setstacksize(&boundless, std::size_t{1} << 50), 0);
  ASSERT_EQ(pthread_setattr_default_np(&boundless), 0);
  EXPECT_THROW(std::thread([] {}).join(), std::system_error);
  ProgressBar progress(false);
  for (const RenderOutcome& outcome : renderAll(items, {}, 3, progress)) {
    EXPECT_TRUE(outcome.report.has_value()) << outcome.failure;
  }
  pthread_setattr_default_np(&usual);
  const auto stopped = [&] {
    catchStopRequests();
    ::raise(SIGTERM);
    static_cast<void>(renderAll(std::span(items).first(1), {}, 1, progress));
    std::exit(0);
  };
  EXPECT_EXIT(stopped(), testing::ExitedWithCode(0), "interrupted") << "the only file has its line";
}

TEST_F(Batch, survivesAPipeThatNobodyReads) {
  ASSERT_EQ(::system(("mkfifo " + file("pipe")).c_str()), 0);
  // The first file takes longer than `true`, the second fails into the pipe that it left behind.
  const ProgramRun done =
      run("render @1.wav @text.wav @2.wav --out-dir @done --jobs 1 --block 1 --quiet 2>@pipe & "
          "true <@pipe; wait");
  EXPECT_EQ(done.out, "");
  EXPECT_TRUE(std::filesystem::exists(file("done/1.wav")));
  EXPECT_TRUE(std::filesystem::exists(file("done/2.wav")));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(file("done")), {}), 2);
}

TEST_F(Batch, leavesNoPartOfAFileWhenItIsStopped) {
  writeAudio(file("long.wav"), {48000, 1, std::vector<double>(4'000'000)},
             SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  writeBytes(file("bank"), R"({"presets":[{"parameters":"default"}],"v101":true})");
  ASSERT_EQ(answer("band save --default @band.cvb"), "");
  const std::vector<std::string> before = directory.names();
  const std::vector<std::vector<std::string>> commands = {
      {"render", "@long.wav", "@out.wav", "--block", "1"},
      {"state", "pack", "@bank", "@out.wav"},
      {"band", "save", "--default", "@out.wav"},
      {"band", "load", "@bank", "1", "@band.cvb", "@out.wav"}};
  for (std::size_t i = 0; i < 30; ++i) {
    SCOPED_TRACE(i);
    // The long one a few times; it is surely seen in the middle of the writing.
    const bool isLong = i < 3;
    const pid_t child = start(commands[isLong ? 0 : 1 + i % 3]);
    int status = 0;
    pid_t ended = 0;
    while (ended == 0 && directory.names() == before) ended = ::waitpid(child, &status, WNOHANG);
    if (ended == 0) {
      ::kill(child, std::array{SIGINT, SIGTERM, SIGHUP, SIGPIPE}[isLong ? i : i % 4]);
      ::waitpid(child, &status, 0);
    }
    ASSERT_EQ(directory.names(), before);
    if (!isLong) continue;
    EXPECT_TRUE(ended == 0 && WIFEXITED(status) && WEXITSTATUS(status) == 1) << status;
    EXPECT_EQ(readBytes(file("out.wav")), "what stood there");
  }
}

}  // namespace
