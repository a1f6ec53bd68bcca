#include "state/midi_map.h"

#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>

#include "tests/state/test_store.h"
#include "tests/support/real_time.h"

namespace {

using Assignments = std::map<std::int32_t, std::int32_t>;  // controller to id

std::string tableText(const Assignments& assignments) {
  std::string text;
  for (std::int32_t i = 0; i < MIDIMap::kControllers; ++i) {
    const auto found = assignments.find(i);
    text += (i ? "," : "[") + std::to_string(found == assignments.end() ? -1 : found->second);
  }
  return text + "]";
}

Assignments assignmentsOf(const MIDIMap& map) {
  Assignments result;
  for (std::int32_t i = 0; i < MIDIMap::kControllers; ++i) {
    if (map.parameterOf(i) != -1) result[i] = map.parameterOf(i);
  }
  return result;
}

std::optional<MIDIMap::Move> send(MIDIMap& map, int status, int data1, int data2) {
  const std::uint8_t message[] = {static_cast<std::uint8_t>(status),
                                  static_cast<std::uint8_t>(data1),
                                  static_cast<std::uint8_t>(data2)};
  return processInRealTime(map, message);
}

TEST(MIDIMap, ControllersOfAnyChannelMoveLinearly) {
  TestStore store;
  MIDIMap map(store);
  map.learn(42, 7);
  map.learn(300, 127);
  const struct {
    int status, data1, data2;
    std::int32_t id;
    float normalised;
  } cases[] = {
      {0xB0, 7, 0, 42, 0.0F},      {0xB3, 7, 64, 42, static_cast<float>(64 / 127.0)},
      {0xBF, 127, 127, 300, 1.0F}, {0xB0, 7 + 128, 128 + 1, 42, static_cast<float>(1 / 127.0)},
      {0xB0, 8, 64, -1, 0.0F},     {0xA0, 7, 64, -1, 0.0F},
      {0x90, 7, 64, -1, 0.0F},     {0xE0, 7, 64, -1, 0.0F},
      {0xF0, 7, 64, -1, 0.0F},     {0x30, 7, 64, -1, 0.0F},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << std::hex << c.status << " " << c.data1 << " " << c.data2);
    const auto move = send(map, c.status, c.data1, c.data2);
    EXPECT_EQ(move ? move->id : -1, c.id);
    EXPECT_EQ(move ? move->normalised : 0.0F, c.normalised);
  }
}

TEST(MIDIMap, LearnsInRealTimeAndStoresLater) {
  TestStore store;
  MIDIMap map(store);
  map.learn(10, 1);
  map.setLearnTarget(10);
  EXPECT_FALSE(send(map, 0x90, 7, 64));
  EXPECT_EQ(map.getLearnTarget(), 10);
  const auto move = send(map, 0xB5, 7, 64);  // the same message moves the parameter at once
  ASSERT_TRUE(move);
  EXPECT_EQ(move->id, 10);
  EXPECT_EQ(map.getLearnTarget(), -1);
  EXPECT_EQ(map.controllerOf(10), 7);
  EXPECT_EQ(map.parameterOf(1), -1);
  EXPECT_EQ(store.text("MIDIMap"), tableText({{1, 10}}));
  EXPECT_TRUE(map.saveChanges());
  EXPECT_EQ(store.text("MIDIMap"), tableText({{7, 10}}));

  // A second parameter takes the controller from the first.
  map.setLearnTarget(11);
  ASSERT_TRUE(send(map, 0xB0, 7, 0));
  EXPECT_EQ(map.controllerOf(10), -1);
  EXPECT_EQ(map.controllerOf(11), 7);
  map.setLearnTarget(12);
  map.setLearnTarget(-5);
  EXPECT_EQ(map.getLearnTarget(), -1);
  EXPECT_FALSE(send(map, 0xB0, 20, 0));
  EXPECT_TRUE(map.saveChanges());
  const int updates = store.updates;
  EXPECT_FALSE(map.saveChanges());
  EXPECT_EQ(store.updates, updates);
  EXPECT_EQ(store.text("MIDIMap"), tableText({{7, 11}}));
}

TEST(MIDIMap, UnlearnsAllEntriesOfAParameter) {
  TestStore store;
  store.put("MIDIMap", "[5,6,5,7]");
  MIDIMap map(store);
  EXPECT_EQ(map.controllerOf(5), 0);
  map.unlearn(5);
  EXPECT_EQ(assignmentsOf(map), (Assignments{{1, 6}, {3, 7}}));
  EXPECT_EQ(store.text("MIDIMap"), tableText({{1, 6}, {3, 7}}));
  map.learn(8, 128 + 3);
  EXPECT_EQ(store.text("MIDIMap"), tableText({{1, 6}, {3, 8}}));
  const int updates = store.updates;
  map.unlearn(99);
  map.unlearn(-1);
  map.learn(-1, 3);
  EXPECT_EQ(store.updates, updates);
  EXPECT_EQ(map.controllerOf(-1), -1);
  EXPECT_EQ(map.parameterOf(-1) + map.parameterOf(128), -2);
}

TEST(MIDIMap, ReadsWhatIsStored) {
  std::string surplus = tableText({{0, 1}, {127, 2}});
  surplus.back() = ',';
  const struct {
    std::string text;
    Assignments expected;
  } cases[] = {
      {surplus + "3,4]", {{0, 1}, {127, 2}}},
      {"[4,\"5\",6.9,null,[7],-3]", {{0, 4}, {2, 6}}},
      {"[]", {}},
      {"{\"a\":1}", {}},
      {"[1,2", {}},
      {"7", {}},
  };
  for (const auto& c : cases) {
    TestStore store;
    store.put("MIDIMap", c.text);
    EXPECT_EQ(assignmentsOf(MIDIMap(store)), c.expected) << c.text;
  }
}

TEST(MIDIMap, TwoMapsOverOneStoreMerge) {
  TestStore store;
  store.put("MIDIMap", tableText({{3, 30}, {4, 40}}));
  MIDIMap one(store);
  MIDIMap other(store);
  one.learn(10, 1);
  other.learn(20, 2);
  EXPECT_EQ(store.text("MIDIMap"), tableText({{1, 10}, {2, 20}, {3, 30}, {4, 40}}));
  EXPECT_EQ(other.controllerOf(10), 1);
  EXPECT_EQ(one.controllerOf(20), -1);  // not before it stores something itself
  one.unlearn(30);
  EXPECT_EQ(one.controllerOf(20), 2);
  EXPECT_EQ(other.controllerOf(30), 3);
  other.learn(10, 9);  // frees what only the store and the other map hold
  EXPECT_EQ(store.text("MIDIMap"), tableText({{2, 20}, {4, 40}, {9, 10}}));
  one.learn(40, 9);
  EXPECT_EQ(store.text("MIDIMap"), tableText({{2, 20}, {9, 40}}));
  EXPECT_EQ(assignmentsOf(one), (Assignments{{2, 20}, {9, 40}}));
  store.put("MIDIMap", "spoilt");
  one.learn(50, 5);
  EXPECT_EQ(store.text("MIDIMap"), tableText({{2, 20}, {5, 50}, {9, 40}}));
}

TEST(MIDIMap, WhatCannotBeWrittenIsTriedAgainNowAndThen) {
  for (const auto mode : {TestStore::Mode::kDoesNotWrite, TestStore::Mode::kDoesNotEvenAsk}) {
    TestStore store;
    store.mode = mode;
    MIDIMap map(store);
    map.learn(10, 1);
    for (int idleCall = 0; idleCall < 1000; ++idleCall) EXPECT_TRUE(map.saveChanges());
    EXPECT_EQ(store.updates, 2);
    EXPECT_EQ(map.controllerOf(10), 1);
    store.mode = TestStore::Mode::kWorks;
    store.put("MIDIMap", tableText({{2, 20}}));
    int calls = 1;
    while (map.saveChanges() && calls < 1000) ++calls;
    EXPECT_LT(calls, 600);
    EXPECT_EQ(store.text("MIDIMap"), tableText({{1, 10}, {2, 20}}));
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
  EXPECT_EQ(store.text("MIDIMap"), tableText({{5, 10}}));
  EXPECT_TRUE(map.saveChanges());
  EXPECT_EQ(store.text("MIDIMap"), tableText({{6, 10}}));
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
    ASSERT_EQ(assignmentsOf(map).size(), 1U) << "round " << round;
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
  EXPECT_EQ(assignmentsOf(map), (Assignments{{message[1], 10}}));
  EXPECT_EQ(store.text("MIDIMap"), tableText(assignmentsOf(map)));
}

}  // namespace
