#include "state/midi_map.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <random>
#include <set>
#include <string>
#include <thread>

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

/// A table with some controllers taken, by number and parameter.
Table with(std::initializer_list<std::pair<std::size_t, std::int32_t>> entries) {
  Table table;
  table.fill(-1);
  for (const auto& [controller, id] : entries) table.at(controller) = id;
  return table;
}

std::optional<MIDIMap::Move> send(MIDIMap& map, int status, int data1, int data2) {
  const std::uint8_t message[] = {static_cast<std::uint8_t>(status),
                                  static_cast<std::uint8_t>(data1),
                                  static_cast<std::uint8_t>(data2)};
  return processInRealTime(map, message);
}

/// One of two maps over a store, in the plainest way.
struct Model {
  void give(std::int32_t id, std::size_t controller) {
    take(id);
    table.at(controller) = id;
    changed.insert(controller);
  }
  void take(std::int32_t id) {
    for (std::size_t i = 0; i < kControllers; ++i) {
      if (table.at(i) == id) table.at(i) = -1, changed.insert(i);
    }
  }
  /// What was changed here goes over what is stored, and the rest comes from there.
  void save(Table& stored) {
    for (const std::size_t i : changed) {
      for (std::int32_t& id : stored) id = id == table.at(i) ? -1 : id;
    }
    for (const std::size_t i : changed) stored.at(i) = table.at(i);
    if (!changed.empty()) table = stored;
    changed.clear();
  }

  Table table = with({});
  std::set<std::size_t> changed;
};

TEST(MIDIMap, ARandomWalkOfTwoMapsOverOneStoreMatchesTheirTables) {
  std::mt19937 random(8);
  TestStore store;
  MIDIMap maps[] = {MIDIMap(store), MIDIMap(store)};
  Model models[2];
  Table stored = with({});
  store.put("MIDIMap", textOf(stored));
  for (int turn = 0; turn < 2000; ++turn) {
    const std::size_t which = random() % 2;
    MIDIMap& map = maps[which];
    Model& model = models[which];
    const auto id = static_cast<std::int32_t>(random() % 12) - 1;
    const std::size_t controller = random() % 3 == 0 ? random() % 128 : random() % 6;
    const auto number = static_cast<std::int32_t>(controller);
    switch (random() % 5) {
      case 0:
        map.learn(id, number + 128);
        if (id >= 0) model.give(id, controller);
        model.save(stored);
        break;
      case 1:
        map.unlearn(id);
        if (id >= 0) model.take(id);
        model.save(stored);
        break;
      case 2: {  // the audio thread; the message moves what it has just been given
        map.setLearnTarget(id - static_cast<int>(random() % 2) * 7);
        const std::int32_t wanted = map.getLearnTarget();
        ASSERT_GE(wanted, -1);
        ASSERT_FALSE(send(map, 0x90, number, 64));
        ASSERT_EQ(map.getLearnTarget(), wanted);
        if (wanted >= 0) model.give(wanted, controller);
        const auto move = send(map, 0xB0 | (turn & 15), number, 64);
        ASSERT_EQ(move ? move->id : -1, model.table.at(controller));
        ASSERT_EQ(map.getLearnTarget(), -1);
        break;
      }
      case 3:
        ASSERT_EQ(map.saveChanges(), !model.changed.empty());
        model.save(stored);
        break;
      default:  // another program
        stored.at(controller) = id;
        store.put("MIDIMap", textOf(stored));
    }
    ASSERT_EQ(tableOf(map), model.table) << "turn " << turn;
    const auto first = std::find(model.table.begin(), model.table.end(), id);
    const bool hasOne = id >= 0 && first != model.table.end();
    ASSERT_EQ(map.controllerOf(id), hasOne ? first - model.table.begin() : -1);
    ASSERT_EQ(store.text("MIDIMap"), textOf(stored));
  }
  for (const int outside : {-1, 128}) EXPECT_EQ(maps[0].parameterOf(outside), -1);
}

TEST(MIDIMap, ControllersOfAnyChannelMoveLinearly) {
  TestStore store;
  MIDIMap map(store);
  map.learn(42, 7);
  for (int status = 0; status < 256; ++status) {
    for (int value = 0; value < 256; value += 5) {
      const auto move = send(map, status, 7 + (value & 128), value);
      ASSERT_EQ(move.has_value(), (status & 0xF0) == 0xB0) << status;
      if (!move) continue;
      ASSERT_EQ(move->id, 42);
      ASSERT_EQ(move->normalised, static_cast<float>((value & 127) / 127.0));
    }
    ASSERT_FALSE(send(map, status, 8, 64)) << status;
  }
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
  EXPECT_EQ(store.text("MIDIMap"), textOf(with({{5, 10}})));
  EXPECT_TRUE(map.saveChanges());
  EXPECT_EQ(store.text("MIDIMap"), textOf(with({{6, 10}})));
}

TEST(MIDIMap, OfTwoAudioThreadsOneLearns) {
  TestStore store;
  for (int round = 0; round < 50; ++round) {
    MIDIMap map(store);
    map.setLearnTarget(10);
    std::atomic<int> ready{0};
    const auto sendOnce = [&](int controller) {
      ++ready;
      while (ready < 2) std::this_thread::yield();
      (void)send(map, 0xB0, controller, 0);
    };
    std::thread second([&] { sendOnce(1); });
    sendOnce(100);
    second.join();
    const Table table = tableOf(map);
    ASSERT_EQ(std::count(table.begin(), table.end(), -1), 127) << "round " << round;
  }
}

TEST(MIDIMap, SavingWhileTheAudioThreadLearnsEndsWithTheSameTable) {
  TestStore store;
  MIDIMap map(store);
  std::atomic<bool> finished{false};
  std::uint8_t message[] = {0xB0, 0, 0};
  std::thread audio([&] {
    while (!finished) {
      map.setLearnTarget(10);
      message[1] = (message[1] + 37) & 127;
      const auto move = map.process(message);
      EXPECT_TRUE(move && move->id == 10);
    }
  });
  for (int saves = 0; saves < 300;) saves += map.saveChanges() ? 1 : 0;
  finished = true;
  audio.join();
  map.saveChanges();
  EXPECT_EQ(tableOf(map), with({{message[1], 10}}));
  EXPECT_EQ(store.text("MIDIMap"), textOf(tableOf(map)));
}

}  // namespace
