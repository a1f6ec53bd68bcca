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

/// A process of its own, which fails if `body` gives false or takes a minute.
template <typename Body>
pid_t startChild(const Body& body) {
  const pid_t child = fork();
  if (child != 0) return child;
  alarm(60);
  _exit(body() ? 0 : 1);
}

int count(const std::optional<std::string>& text) { return text ? std::stoi(*text) : 0; }

/// Three threads, two over one instance, as several libraries of a process do not share an object.
bool countTogether(const std::string& path) {
  constexpr std::chrono::seconds kWait{30};  // for a slow disk under the others
  FileStore shared(path, kWait);
  std::atomic<int> done{0};
  std::vector<std::thread> threads;
  threads.reserve(3);
  for (const char* const name : {"0", "1", "2"}) {
    threads.emplace_back([&, name] {
      FileStore own(path, kWait);
      FileStore& store = *name == '0' ? own : shared;
      for (int i = 0; i < 120; ++i) {
        done += store.update(i % 2 == 0 ? "all" : name,
                             [](const auto& old) { return std::to_string(count(old) + 1); });
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  return done == 360;
}

// One process writes and is killed, again and again; two others write beside it.
TEST(FileStore, LosesNoUpdateOfProcessesAndThreadsWhoeverIsKilled) {
  struct Progress {
    std::atomic<int> begun{0};
    std::atomic<int> done{0};
  };
  void* const memory =
      mmap(nullptr, sizeof(Progress), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  auto* const progress = new (memory) Progress;
  const TestDirectory directory;
  const std::string path = directory.path("new/folder/store.json");
  FileStore store(path);
  ASSERT_TRUE(store.write("other", std::string(20'000, 'x')));
  const pid_t counters[] = {startChild([&] { return countTogether(path); }),
                            startChild([&] { return countTogether(path); })};
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  int status = 0;
  for (int round = 0; round < 20; ++round) {
    const int before = progress->done;
    const pid_t child = startChild([&] {
      FileStore own(path, std::chrono::seconds(30));
      for (int i = progress->begun + 1;; ++i) {
        progress->begun = i;
        if (!own.write("value", std::to_string(i))) return false;
        progress->done = i;
      }
    });
    // Not before it has been at work, then at any moment of an update.
    while (progress->done == before && waitpid(child, nullptr, WNOHANG) == 0) {
      std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(WTERMSIG(status), SIGKILL);
    const int value = count(store.read("value"));
    ASSERT_GE(value, progress->done);
    ASSERT_LE(value, progress->begun);
    ASSERT_EQ(store.read("other"), std::string(20'000, 'x'));
  }
  for (const pid_t counter : counters) {
    ASSERT_EQ(waitpid(counter, &status, 0), counter);
    EXPECT_EQ(status, 0);
  }
  EXPECT_EQ(count(store.read("all")), 360);
  for (const char* const name : {"0", "1", "2"}) EXPECT_EQ(count(store.read(name)), 120) << name;
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
