#include "state/file_store.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "platform/file_lock.h"
#include "state/globals.h"
#include "tests/support/test_directory.h"

namespace {

constexpr unsigned kLongestChildSeconds = 60;

template <typename Body>
pid_t startChild(const Body& body) {
  const pid_t child = fork();
  if (child != 0) return child;
  alarm(kLongestChildSeconds);
  _exit(body() ? 0 : 1);
}

int endOf(pid_t child) {
  int status = -1;
  return waitpid(child, &status, 0) == child ? status : -1;
}

int count(const std::optional<std::string>& text) { return text ? std::stoi(*text) : 0; }

bool increment(FileStore& store, const std::string& name) {
  return store.update(name, [](const auto& old) { return std::to_string(count(old) + 1); });
}

bool isRunning(pid_t child) {
  siginfo_t info{};
  const int options = WEXITED | WNOHANG | WNOWAIT;
  return waitid(P_PID, static_cast<id_t>(child), &info, options) == 0 && info.si_pid == 0;
}

TEST(FileStore, LosesNoUpdateOfProcessesAndThreads) {
  constexpr int kThreads = 3;
  constexpr int kUpdates = 25;
  const TestDirectory directory;
  const std::string path = directory.path("new/folder/store.json");

  const auto hammer = [&path](int process) {
    constexpr std::chrono::seconds kWait{30};  // for a slow disk under the others
    FileStore shared(path, kWait);
    std::atomic<int> failures{0};
    std::vector<std::thread> threads;
    threads.reserve(kThreads);
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        // Instances in several libraries of one process do not share an object.
        FileStore own(path, kWait);
        FileStore& store = t == 0 ? own : shared;
        const std::string name = std::to_string(process) + "." + std::to_string(t);
        for (int i = 0; i < kUpdates; ++i) {
          failures += increment(store, "all") ? 0 : 1;
          failures += increment(store, name) ? 0 : 1;
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    return failures == 0;
  };
  const pid_t children[] = {startChild([&] { return hammer(0); }),
                            startChild([&] { return hammer(1); })};
  for (const pid_t child : children) EXPECT_EQ(endOf(child), 0);

  FileStore store(path);
  EXPECT_EQ(count(store.read("all")), 2 * kThreads * kUpdates);
  for (const char* const name : {"0.0", "0.1", "0.2", "1.0", "1.1", "1.2"}) {
    EXPECT_EQ(count(store.read(name)), kUpdates) << name;
  }
}

TEST(FileStore, HoldsACommittedTextWheneverItsWriterIsKilled) {
  struct Progress {
    std::atomic<int> begun{0};
    std::atomic<int> done{0};
  };
  void* const memory =
      mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  ASSERT_NE(memory, MAP_FAILED);
  auto* const progress = new (memory) Progress;
  const TestDirectory directory;
  const std::string path = directory.path("store.json");
  FileStore store(path);
  ASSERT_TRUE(store.write("other", std::string(20'000, 'x')));

  const unsigned seed = std::random_device()();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 20; ++round) {
    const int before = progress->done;
    const pid_t child = startChild([&] {
      FileStore own(path);
      for (int i = progress->begun + 1;; ++i) {
        progress->begun = i;
        if (!own.write("value", std::to_string(i))) return false;
        progress->done = i;
      }
    });
    // Not before it has been at work, then at any moment of an update.
    while (progress->done == before && isRunning(child)) std::this_thread::yield();
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
    kill(child, SIGKILL);
    ASSERT_EQ(WTERMSIG(endOf(child)), SIGKILL);
    const int value = count(store.read("value"));
    ASSERT_GE(value, progress->done);
    ASSERT_LE(value, progress->begun);
    ASSERT_EQ(store.read("other"), std::string(20'000, 'x'));
  }
  EXPECT_TRUE(store.write("value", "free again")) << store.takeNotice();
  munmap(memory, sizeof(Progress));
}

TEST(FileStore, AForeignLockCostsAFirstInstanceNothingAndAChangeLittle) {
  const TestDirectory directory;
  const std::string path = directory.path("store.json");
  FileStore store(path);
  ASSERT_TRUE(store.write("a", "1"));
  FileLock other;
  ASSERT_FALSE(other.lock(path + ".lock", FileStore::kBriefWait));
  const auto secondsOf = [](const auto& work) {
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
  };
  std::optional<Globals> globals;
  EXPECT_LT(secondsOf([&] {
              globals.emplace(store);
              globals->initGlobals(R"({"A":{"value":3},"B":{"value":4}})");
            }),
            0.2);
  EXPECT_EQ(globals->getGlobal("A"), 3);
  EXPECT_EQ(store.takeNotice(), "") << "nothing is lost";
  EXPECT_LT(secondsOf([&] { globals->setGlobal("A", 5); }), 1.0);
  EXPECT_NE(store.takeNotice().find("locked"), std::string::npos);
  EXPECT_EQ(store.read("a"), "1") << "reading waits for nobody";
  static_cast<void>(other.lock(directory.path("elsewhere"), FileStore::kBriefWait));
  globals->setGlobal("B", 6);
  EXPECT_EQ(store.read("globals"), R"({"A":5,"B":6})");
}

}  // namespace
