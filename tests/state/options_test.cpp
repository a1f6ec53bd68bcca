#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/resources.h"
#include "state/globals.h"
#include "state/machine.h"
#include "state/ui_settings.h"
#include "tests/state/test_store.h"
#include "tests/support/test_directory.h"

namespace {

std::string compact(const JsonTree& tree) {
  const JsonText text(jsonPrintUnformatted(tree.get()));
  return text ? text.get() : "(null)";
}

TEST(Globals, ThreadsAndProcessesLoseNothing) {
  TestStore store;
  Globals globals[] = {Globals(store), Globals(store)};
  const auto keyOf = [](int t, int i) { return std::to_string(t) + "/" + std::to_string(i); };
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&own = globals[t / 2], t, &keyOf] {
      for (int i = 0; i < 50; ++i) {
        own.setGlobal(keyOf(t, i).c_str(), i);
        EXPECT_EQ(own.getGlobal(keyOf(t, i).c_str()), i);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const Globals result(store);
  for (int n = 0; n < 200; ++n) {
    EXPECT_EQ(result.getGlobal(keyOf(n / 50, n % 50).c_str(), -1), n % 50) << n;
  }
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
  // An empty text counts as none.
  store.write("empty", "");
  EXPECT_EQ(store.read("empty"), std::nullopt);
  store.update("empty", [](const auto& old) {
    EXPECT_EQ(old, std::nullopt);
    return old;
  });
}

TEST(UiSettings, HoldTheOptionsInOrderWithBothFormsOfANumber) {
  UiSettings settings(findResource("json", "uisettings").data());
  const JsonTree before = settings.save();
  settings.setUiValue("Graph", "GR Decay", 33.75);
  const JsonTree after = settings.save();
  EXPECT_EQ(compact(before) + "\n", readBytes(TEST_DATA "/ui_options.json")) << "a copy";
  const JsonNode* const graph = jsonGetObjectItem(after.get(), "Graph");
  const JsonNode* const value = jsonGetObjectItem(jsonGetObjectItem(graph, "GR Decay"), "value");
  EXPECT_EQ(value->valueInt, 33);
  EXPECT_EQ(value->valueDouble, 33.75);
}

}  // namespace
