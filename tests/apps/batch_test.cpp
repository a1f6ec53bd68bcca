// Several files, threads and signals at a time.

#include "apps/render/batch.h"

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

using Batch = ProgramTest;

TEST_F(Batch, rendersEveryFileAsItAloneAndTellsOfThoseThatFail) { follow("batches.txt"); }

TEST_F(Batch, goesOnAloneWhereNoThreadIsToBeHad) {
  std::vector<RenderItem> items;
  for (const std::string name : {"1.wav", "2.wav", "3.wav"}) {
    act('&', name + " 48000 2 4000 1");
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

TEST_F(Batch, leavesNoPartOfAFileWhenItIsStopped) {
  act('&', "long.wav 48000 1 4000000 1");
  writeBytes(file("out.wav"), "what stood there");
  writeBytes(file("bank"), R"({"presets":[{"parameters":"default"}],"v101":true})");
  ASSERT_EQ(run("band save --default @band.cvb").status, 0);
  const std::vector<std::string> before = directory.names();
  const std::string commands[] = {"render @long.wav @out.wav --block 1",
                                  "state pack @bank @out.wav", "band save --default @out.wav",
                                  "band load @bank 1 @band.cvb @out.wav"};
  constexpr std::array signals = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};
  for (std::size_t i = 0; i < 30; ++i) {
    SCOPED_TRACE(i);
    // The long one a few times; it is surely seen in the middle of the writing.
    const bool isLong = i < 3;
    const std::string command =
        withPaths("exec " + program + ' ' + commands[isLong ? 0 : 1 + i % 3]) + " 2>/dev/null";
    const pid_t child = ::fork();
    if (child == 0) ::execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
    int status = 0;
    pid_t ended = 0;
    while (ended == 0 && directory.names() == before) ended = ::waitpid(child, &status, WNOHANG);
    if (ended == 0) {
      ::kill(child, signals[isLong ? i : i % 4]);
      ::waitpid(child, &status, 0);
    }
    ASSERT_EQ(directory.names(), before);
    if (!isLong) continue;
    EXPECT_TRUE(ended == 0 && WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), 128 + signals[i]);
    EXPECT_EQ(readBytes(file("out.wav")), "what stood there");
  }
}

}  // namespace
