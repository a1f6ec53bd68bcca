// What the instances of a machine share: preferences, controllers and their store.

#include "state/machine.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/state/test_store.h"
#include "tests/support/real_time.h"

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

std::optional<MIDIMap::Move> send(MIDIMap& map, std::size_t status, std::size_t data1,
                                  std::size_t data2) {
  const std::uint8_t message[] = {static_cast<std::uint8_t>(status),
                                  static_cast<std::uint8_t>(data1),
                                  static_cast<std::uint8_t>(data2)};
  return processInRealTime(map, message);
}

/// One of two maps over a store, in the plainest way.
struct Model {
  void give(std::int32_t id, std::size_t controller) {
    if (id < 0) return;
    take(id);
    table.at(controller) = id;
    changed.insert(controller);
  }
  void take(std::int32_t id) {
    for (std::size_t i = 0; i < kControllers && id >= 0; ++i) {
      if (table.at(i) == id) table.at(i) = -1, changed.insert(i);
    }
  }
  /// What was changed here goes over what is stored, and the rest comes from there.
  void save(Table& stored) {
    for (const std::size_t i : changed) std::replace(stored.begin(), stored.end(), table.at(i), -1);
    for (const std::size_t i : changed) stored.at(i) = table.at(i);
    if (!changed.empty()) table = stored;
    changed.clear();
  }

  Table table = with();
  std::set<std::size_t> changed;
};

TEST(MIDIMap, ARandomWalkOfTwoMapsOverOneStoreMatchesTheirTables) {
  std::mt19937 random(8);
  TestStore store;
  MIDIMap maps[] = {MIDIMap(store), MIDIMap(store)};
  Model models[2];
  Table stored = with();
  store.put("MIDIMap", textOf(stored));
  for (int turn = 0; turn < 4000; ++turn) {
    const std::size_t which = random() % 2;
    MIDIMap& map = maps[which];
    Model& model = models[which];
    const auto id = static_cast<std::int32_t>(random() % 12) - 1;
    const std::size_t controller = random() % 3 == 0 ? random() % 128 : random() % 6;
    const std::size_t action = random() % 6;
    if (action == 0) {
      map.learn(id, static_cast<std::int32_t>(controller) + 128);
      model.give(id, controller);
    } else if (action == 1) {
      map.unlearn(id);
      model.take(id);
    } else if (action == 2) {
      ASSERT_EQ(map.saveChanges(), !model.changed.empty());
    } else if (action == 3) {  // another program
      stored.at(controller) = id;
      store.put("MIDIMap", textOf(stored));
    } else {  // the audio thread; the message moves what it has just been given
      map.setLearnTarget(id - static_cast<int>(random() % 2) * 7);
      const std::int32_t wanted = map.getLearnTarget();
      const std::size_t status = random() % 2 == 0 ? 0xB0 | random() % 16 : random() % 256;
      const std::size_t value = random() % 256;
      const auto at = static_cast<float>(static_cast<double>(value & 127) / 127.0);
      const bool isController = status >> 4 == 0xB;
      ASSERT_GE(wanted, -1);
      if (isController) model.give(wanted, controller);
      const auto move = send(map, status, controller | (value & 128), value);
      ASSERT_EQ(move ? move->id : -1, isController ? model.table.at(controller) : -1) << status;
      ASSERT_EQ(move ? move->normalised : at, at);
      ASSERT_EQ(map.getLearnTarget(), isController ? -1 : wanted);
    }
    if (action < 3) model.save(stored);
    ASSERT_EQ(tableOf(map), model.table) << "turn " << turn;
    const auto first = std::find(model.table.begin(), model.table.end(), id);
    const bool hasOne = id >= 0 && first != model.table.end();
    ASSERT_EQ(map.controllerOf(id), hasOne ? first - model.table.begin() : -1);
    ASSERT_EQ(store.text("MIDIMap"), textOf(stored));
  }
  for (const int outside : {-1, 128}) EXPECT_EQ(maps[0].parameterOf(outside), -1);
}

TEST(MIDIMap, WhatIsLearntDuringASaveIsKept) {
  TestStore store;
  MIDIMap map(store);
  store.afterChange = [&] {
    map.setLearnTarget(10);
    EXPECT_TRUE(send(map, 0xB0, 6, 0));
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
