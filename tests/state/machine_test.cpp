// What the instances of a machine share: preferences, controllers and their store.

#include "state/machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/state/test_store.h"

namespace {

constexpr std::size_t kControllers = MIDIMap::kControllers;
using Table = std::array<std::int32_t, kControllers>;

std::string textOf(const Table& table) {
  std::string text;
  for (const std::int32_t id : table) text += (text.empty() ? "[" : ",") + std::to_string(id);
  return text + "]";
}

Table tableOf(const MIDIMap& map) {
  Table table;
  for (std::size_t i = 0; i < kControllers; ++i) table[i] = map.parameterOf(static_cast<int>(i));
  return table;
}

/// A table in which one controller is taken, or none.
Table with(std::size_t controller = 0, std::int32_t id = -1) {
  Table table;
  table.fill(-1);
  table.at(controller) = id;
  return table;
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
  EXPECT_EQ(store.text("MIDIMap"), textOf(with(5, 10)));
  EXPECT_TRUE(map.saveChanges());
  EXPECT_EQ(store.text("MIDIMap"), textOf(with(6, 10)));
}

// Two audio threads send a controller each, of which one learns; meanwhile it is saved.
TEST(MIDIMap, OfTwoAudioThreadsOneLearnsAndWhatItLearnsIsSaved) {
  TestStore store;
  MIDIMap map(store);
  std::atomic<int> round{0};
  std::atomic<int> sent{0};
  std::vector<std::thread> audio(2);
  for (std::size_t t = 0; t < 2; ++t) {
    audio[t] = std::thread([&, t] {
      for (int seen = 0; seen < 60; ++sent) {
        while (round == seen) std::this_thread::yield();
        const std::uint8_t message[] = {0xB0, static_cast<std::uint8_t>(++seen % 64 + 64 * t), 0};
        static_cast<void>(map.process(message));
      }
    });
  }
  for (int n = 1; n <= 60; ++n) {
    map.setLearnTarget(10);
    round = n;
    while (sent < 2 * n) map.saveChanges();
    const Table table = tableOf(map);
    EXPECT_EQ(std::count(table.begin(), table.end(), 10), 1) << "round " << n;
    map.saveChanges();
    EXPECT_EQ(store.text("MIDIMap"), textOf(table));
    EXPECT_EQ(tableOf(map), table);
  }
  for (std::thread& thread : audio) thread.join();
}

TEST(Globals, ThreadsAndProcessesLoseNothing) {
  TestStore store;
  Globals globals[] = {Globals(store), Globals(store)};
  const auto keyOf = [](int n) { return std::to_string(n); };
  std::vector<std::thread> threads(4);
  for (int t = 0; t < 4; ++t) {
    threads[static_cast<std::size_t>(t)] = std::thread([&own = globals[t / 2], t, &keyOf] {
      for (int n = 50 * t; n < 50 * t + 50; ++n) {
        own.setGlobal(keyOf(n).c_str(), n);
        EXPECT_EQ(own.getGlobal(keyOf(n).c_str()), n);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const Globals result(store);
  for (int n = 0; n < 200; ++n) EXPECT_EQ(result.getGlobal(keyOf(n).c_str(), -1), n);
}

TEST(Machine, ItsPartsShareItsStoreAndADetachedOneForgets) {
  auto made = std::make_unique<MemoryStore>();
  UserStore& store = *made;
  Machine machine(std::move(made), {"/i", "/f"});
  machine.globals().setGlobal("a", 5);
  machine.midiMap().learn(7, 0);
  EXPECT_EQ(store.read("globals"), "{\"a\":5}");
  EXPECT_EQ(store.read("MIDIMap")->substr(0, 6), "[7,-1,");
  EXPECT_EQ(&machine.store(), &store);
  EXPECT_EQ(machine.folders().factory, "/f");
  Machine& detached = Machine::detached();
  EXPECT_EQ(detached.folders().install + detached.folders().factory, "");
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
