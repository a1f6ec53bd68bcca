// What the processes and instances of a machine share.

#include "state/machine.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <barrier>
#include <chrono>
#include <csignal>
#include <random>
#include <thread>

#include "platform/file_lock.h"
#include "state/file_store.h"
#include "tests/state/test_store.h"
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

/// Three threads, two over one store, as several libraries of a process do not share an object; all
/// over one list of choices.
bool countTogether(const std::string& path, int process) {
  constexpr std::chrono::seconds kWait{30};  // for a slow disk under the others
  FileStore shared(path, kWait);
  Globals globals(shared);
  std::atomic<int> done{0};
  const auto work = [&](const std::string& name) {
    FileStore own(path, kWait);
    FileStore& store = name == "0" ? own : shared;
    const auto next = [](const auto& old) { return std::to_string(count(old) + 1); };
    for (int i = 0; i < 40; ++i) {
      const std::string key = name + std::to_string(1000 * process + i);
      if (i % 4 == 0) globals.setGlobal(key.c_str(), i);
      done += i % 4 == 0 ? globals.getGlobal(key.c_str()) == i
                         : store.update(i % 4 == 1 ? "all" : name, next);
    }
  };
  std::thread threads[] = {std::thread(work, "0"), std::thread(work, "1"), std::thread(work, "2")};
  for (std::thread& thread : threads) thread.join();
  return done == 120;
}

// Two processes write side by side; then one is killed at work, again and again.
TEST(FileStore, LosesNoUpdateOfProcessesAndThreadsWhoeverIsKilled) {
  void* const memory = mmap(nullptr, 2 * sizeof(std::atomic<int>), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  std::atomic<int>& begun = *new (memory) std::atomic<int>(0);
  std::atomic<int>& done = *new (&begun + 1) std::atomic<int>(0);
  const TestDirectory directory;
  const std::string path = directory.path("new/folder/store.json");
  FileStore store(path);
  ASSERT_TRUE(store.write("other", std::string(20'000, 'x')));
  const auto counter = [&path](int process) {
    return startChild([&] { return countTogether(path, process); });
  };
  int status = 0;
  for (const pid_t child : {counter(0), counter(1)}) {
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
  }
  const unsigned seed = std::random_device()();
  SCOPED_TRACE(testing::Message() << "seed " << seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 20; ++round) {
    const int before = done;
    const pid_t child = startChild([&] {
      FileStore own(path, std::chrono::seconds(30));
      for (int i = begun + 1;; ++i) {
        begun = i;
        if (!own.write("value", std::to_string(i))) return false;
        done = i;
      }
    });
    // Not before it has been at work, then at any moment of an update.
    while (done == before && waitpid(child, nullptr, WNOHANG) == 0) {
      std::this_thread::yield();
    }
    std::this_thread::sleep_for(std::chrono::microseconds(random() % 8000));
    kill(child, SIGKILL);
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_EQ(WTERMSIG(status), SIGKILL);
    const int value = count(store.read("value"));
    ASSERT_GE(value, done);
    ASSERT_LE(value, begun);
    ASSERT_EQ(store.read("other"), std::string(20'000, 'x'));
  }
  EXPECT_EQ(count(store.read("all")), 60);
  const Globals globals(store);
  for (const std::string name : {"0", "1", "2"}) {
    EXPECT_EQ(count(store.read(name)), 40) << name;
    for (int i = 0; i < 80; i += 4) {
      const std::string key = name + std::to_string(i < 40 ? i : 960 + i);
      EXPECT_EQ(globals.getGlobal(key.c_str(), -1), i % 40) << key;
    }
  }
  EXPECT_TRUE(store.write("value", "free again")) << store.takeNotice();
  munmap(memory, 2 * sizeof(std::atomic<int>));
}

TEST(FileStore, AForeignLockCostsAFirstInstanceNothingAndAChangeLittle) {
  const TestDirectory directory;
  const std::string path = directory.path("store.json");
  FileStore store(path);
  Globals globals(store);
  ASSERT_TRUE(store.write("a", "1"));
  FileLock other;
  ASSERT_FALSE(other.lock(path + ".lock", FileStore::kBriefWait));
  using Clock = std::chrono::steady_clock;
  auto begin = Clock::now();
  globals.initGlobals(R"({"A":{"value":3},"B":{"value":4}})");
  EXPECT_TRUE(Clock::now() - begin < std::chrono::milliseconds(200));
  EXPECT_EQ(globals.getGlobal("A"), 3);
  EXPECT_EQ(store.takeNotice(), "") << "nothing is lost";
  begin = Clock::now();
  globals.setGlobal("A", 5);
  EXPECT_TRUE(Clock::now() - begin < std::chrono::seconds(1));
  EXPECT_NE(store.takeNotice().find("locked"), std::string::npos);
  EXPECT_EQ(store.read("a"), "1") << "reading waits for nobody";
  static_cast<void>(other.lock(directory.path("elsewhere"), FileStore::kBriefWait));
  globals.setGlobal("B", 6);
  EXPECT_EQ(store.read("globals"), R"({"A":5,"B":6})");
}

TEST(MIDIMap, WhatIsLearntDuringASaveIsKept) {
  TestStore store;
  MIDIMap map(store);
  store.afterChange = [&] {
    const std::uint8_t message[] = {0xB0, 6, 0};
    map.setLearnTarget(10);
    EXPECT_TRUE(map.process(message));
    store.afterChange = nullptr;
  };
  map.learn(10, 5);
  EXPECT_EQ(MIDIMap(store).controllerOf(10), 5);
  EXPECT_TRUE(map.saveChanges());
  EXPECT_EQ(MIDIMap(store).controllerOf(10), 6);
  EXPECT_EQ(MIDIMap(store).parameterOf(5), -1);
}

// Two audio threads send a controller each, of which one learns; meanwhile it is saved.
TEST(MIDIMap, OfTwoAudioThreadsOneLearnsAndWhatItLearnsIsSaved) {
  TestStore store;
  MIDIMap map(store);
  std::barrier both(2);
  const auto send = [&](std::uint8_t controller, bool isFirst) {
    for (int round = 0; round < 300; ++round) {
      if (isFirst) map.setLearnTarget(10);
      both.arrive_and_wait();
      const std::uint8_t message[] = {0xB0, controller, 0};
      static_cast<void>(map.process(message));
      if (isFirst) map.saveChanges();
      both.arrive_and_wait();
      if (!isFirst) continue;
      map.saveChanges();
      const MIDIMap stored(store);
      int learnt = 0;
      for (int i = 0; i < MIDIMap::kControllers; ++i) {
        learnt += map.parameterOf(i) == 10 ? 1 : 0;
        EXPECT_EQ(map.parameterOf(i), stored.parameterOf(i)) << "round " << round;
      }
      EXPECT_EQ(learnt, 1) << "round " << round;
    }
  };
  std::thread other(send, 127, false);
  send(100, true);
  other.join();
}

TEST(Machine, ItsPartsShareItsStoreAndADetachedOneForgets) {
  auto made = std::make_unique<MemoryStore>();
  UserStore& store = *made;
  Machine machine(std::move(made), {"/i", "/f"});
  Machine& detached = Machine::detached();
  machine.globals().setGlobal("a", 5);
  machine.midiMap().learn(7, 0);
  EXPECT_EQ(store.read("globals"), "{\"a\":5}");
  EXPECT_EQ(store.read("MIDIMap")->substr(0, 6), "[7,-1,");
  EXPECT_EQ(&machine.store(), &store);
  EXPECT_EQ(machine.folders().factory + detached.folders().install + detached.folders().factory,
            "/f");
  const std::string text = std::to_string(std::random_device()());  // another one each run
  EXPECT_TRUE(detached.store().write("name", text));
  EXPECT_EQ(detached.store().read("name"), text);
  EXPECT_NE(Machine::ofProcess().store().read("name"), text);
  EXPECT_EQ(&Machine::ofProcess().globals(), &getGlobals());
  store.write("empty", "");  // counts as none
  store.update("empty", [](const auto& old) {
    EXPECT_FALSE(old);
    return old;
  });
}

}  // namespace
