#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/resources.h"
#include "state/globals.h"
#include "state/ui_settings.h"
#include "tests/state/test_store.h"

namespace {

std::string compact(const JsonNode* node) {
  const JsonText text(jsonPrintUnformatted(node));
  return text ? text.get() : "(null)";
}

std::string compact(const std::string& text) {
  return compact(JsonTree(jsonParse(text.c_str())).get());
}

const char* resourceText(const char* name) { return findResource("json", name).data(); }

struct Preference {
  const char* key;
  std::int32_t value;
  int page;
  const char* texts;
};

constexpr Preference kPreferences[] = {
    {"Meter Ballistic", 0, 0, "Digital|PPM|VU|BBC|"},
    {"Meter Peak/Hold", 0, 0, "5Sec|Clicked|Off|"},
    {"Meter Scale", 0, 0, "FS|K-12|K-14|K-20|"},
    {"Meter Peak", 0, 0, "Red|Yellow|"},
    {"Meter Zoom Range", 0, 0, "1.5dB|3dB|6dB|12dB|"},
    {"Meter Auto Range", 1, 0, "Off|On|"},
    {"ProTools Opt/Shift", 0, 0, "Off|On|"},
    {"MouseWheel Sensitivity", 0, 0, "Broad|Med|Fine|"},
    {"Hide Mouse", 0, 0, "Off|On|"},
    {"Tooltips Follow", 0, 1, "Mouse|Adjustment|"},
    {"MouseWheel Zoom", 1, 1, "Off|On|"},
    {"Swap Alt/Right", 0, 1, "Off|On|"},
    {"Autolisten", 0, 2, "Subband|Passband|"},
    {"A/B Toggle", 1, 2, "Last 2|Visited|MIDI Learn|"},
    {"A/B Automation", 1, 2, "Just AB|All|"},
    {"Mouseover Help", 1, 2, "Off|On|"},
    {"Number Format", 0, 2, "Precise|Simple|"},
    {"Sorting Warning", 1, 2, "Off|On|"},
    {"VST Gestures", 1, 2, "Off|On|"},
};

TEST(Globals, FreshMachineStoresTheDefaultsOfTheTableInItsOrder) {
  TestStore store;
  Globals globals(store);
  globals.initGlobals(resourceText("defaults"));
  std::string expected;
  int index = 0;
  for (const Preference& p : kPreferences) {
    SCOPED_TRACE(p.key);
    EXPECT_EQ(globals.getGroupName(index), p.key);
    EXPECT_EQ(globals.getGroupPage(index), p.page);
    EXPECT_EQ(globals.getGlobal(p.key), p.value);
    std::string texts;
    for (int i = 0; i < globals.getGroupValueCount(index); ++i) {
      texts += globals.getGroupValue(index, i) + "|";
    }
    EXPECT_EQ(texts, p.texts);
    expected += (index ? ",\"" : "{\"") + std::string(p.key) + "\":" + std::to_string(p.value);
    ++index;
  }
  EXPECT_EQ(globals.getGroupCount(), index);
  EXPECT_EQ(store.text("globals"), expected + "}");
  for (const int outside : {-1, index}) {
    EXPECT_EQ(globals.getGroupName(outside), "");
    EXPECT_EQ(globals.getGroupValue(outside, 0) + globals.getGroupValue(0, outside), "");
    EXPECT_EQ(globals.getGroupValueCount(outside) + globals.getGroupPage(outside), 0);
  }
}

TEST(Globals, AnswersWhatIsStoredOrTheDefaultOrWhyThereIsNone) {
  const char* const table = "{\"a\":{\"value\":3},\"b\":{\"page\":1},\"c\":{\"value\":4}}";
  const char* const rebuilt = "{\"a\":3,\"c\":4}";
  const struct {
    const char* stored;
    const char* table;
    std::int32_t a, b, c, d, aOrAbsent;
    const char* afterwards;
  } cases[] = {
      {nullptr, nullptr, 0, 0, 0, 0, -1, "(none)"},
      {nullptr, "{\"a\":{\"value\":3}", 0, 0, 0, 0, -1, "(none)"},
      {nullptr, "[]", 0, 0, 0, 0, -1, "(none)"},
      {nullptr, table, 3, -3, 4, -2, 3, rebuilt},
      {"{\"a\":", table, 3, -3, 4, -2, 3, rebuilt},
      {"[1,2]", table, 3, -3, 4, -2, 3, rebuilt},
      {"{}", table, 3, -3, 4, -2, 3, rebuilt},
      {"{\"A\":7,\"B\":0}", table, 7, 0, 4, -2, 7, "{\"A\":7,\"B\":0}"},
      {"{\"a\":-2.9,\"d\":1}", table, -2, -3, 4, 1, -2, "{\"a\":-2.9,\"d\":1}"},
      {"{\"a\":\"2\"}", nullptr, 0, 0, 0, 0, 0, "{\"a\":\"2\"}"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.stored ? c.stored : "nothing") + " and " +
                 (c.table ? c.table : "nothing"));
    TestStore store;
    if (c.stored) store.put("globals", c.stored);
    Globals globals(store);
    globals.initGlobals(c.table);
    EXPECT_EQ(globals.getGlobal("a"), c.a);
    EXPECT_EQ(globals.getGlobal("b"), c.b);
    EXPECT_EQ(globals.getGlobal("c"), c.c);
    EXPECT_EQ(globals.getGlobal("d"), c.d);
    EXPECT_EQ(globals.getGlobal("a", -1), c.aOrAbsent);
    EXPECT_EQ(store.text("globals"), c.afterwards);
  }
}

TEST(Globals, TakesWhatAnotherProcessStoredMeanwhile) {
  TestStore store;
  Globals one(store);
  Globals other(store);
  other.initGlobals("{\"a\":{\"value\":1},\"b\":{\"value\":2}}");
  other.setGlobal("b", 9);
  one.initGlobals("{\"a\":{\"value\":1},\"b\":{\"value\":2}}");
  EXPECT_EQ(one.getGlobal("b"), 9);
  one.setGlobal("A", 5);
  one.setGlobal(nullptr, 5);
  other.setGlobal("new", -7);
  EXPECT_EQ(other.getGlobal("a"), 5);
  EXPECT_EQ(store.text("globals"), "{\"a\":5,\"b\":9,\"new\":-7}");
  store.put("globals", "spoilt");
  other.setGlobal("b", 8);
  EXPECT_EQ(store.text("globals"), "{\"a\":5,\"b\":8,\"new\":-7}");
}

TEST(Globals, ThreadsAndProcessesLoseNothing) {
  TestStore store;
  Globals one(store);
  Globals other(store);
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&globals = t < 2 ? one : other, t] {
      for (int i = 0; i < 50; ++i) {
        const std::string key = std::to_string(t) + "/" + std::to_string(i);
        globals.setGlobal(key.c_str(), i);
        EXPECT_EQ(globals.getGlobal(key.c_str()), i);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  const Globals result(store);
  for (int t = 0; t < 4; ++t) {
    for (int i = 0; i < 50; ++i) {
      const std::string key = std::to_string(t) + "/" + std::to_string(i);
      EXPECT_EQ(result.getGlobal(key.c_str(), -1), i) << key;
    }
  }
}

TEST(Globals, WhatCannotBeWrittenHoldsAndIsWrittenLater) {
  for (const auto mode : {TestStore::Mode::kDoesNotWrite, TestStore::Mode::kDoesNotEvenAsk}) {
    for (const bool hasStored : {false, true}) {
      SCOPED_TRACE(testing::Message() << static_cast<int>(mode) << hasStored);
      TestStore store;
      if (hasStored) store.put("globals", "{\"a\":1,\"b\":2}");
      store.mode = mode;
      Globals globals(store);
      globals.initGlobals("{\"a\":{\"value\":1},\"b\":{\"value\":2}}");
      globals.setGlobal("a", 5);
      globals.setGlobal("b", 6);
      globals.setGlobal("a", 7);
      EXPECT_EQ(globals.getGlobal("a", -1), 7);
      EXPECT_EQ(globals.getGlobal("b", -1), 6);
      store.mode = TestStore::Mode::kWorks;
      globals.setGlobal("c", 8);
      EXPECT_EQ(store.text("globals"), "{\"a\":7,\"b\":6,\"c\":8}");
      store.put("globals", "{\"a\":0}");
      globals.setGlobal("c", 9);  // what is written is not written again over others' choices
      EXPECT_EQ(store.text("globals"), "{\"a\":0,\"c\":9}");
    }
  }
}

TEST(UiSettings, TableHoldsTheOptionsInOrder) {
  EXPECT_EQ(compact(UiSettings(resourceText("uisettings")).save().get()),
            R"({"Graph":{"Range":{"value":4,"values":["3dB","6dB","12dB","18dB","24dB","36dB"]})"
            R"(,"Readout":{"value":0,"values":["Off","Analyser","Graph","Both"]})"
            R"(,"Readout Position":{"value":0,"values":["Top","Bottom"]})"
            R"(,"GR Decay":{"value":100,"unit":"%","min":0,"max":100})"
            R"(,"Highlight Current Band":{"value":1,"values":["Off","On"]})"
            R"(,"Draw Style":{"value":2,"values":["Filled","Outlined","Both"]})"
            R"(,"Inverted Q":{"value":0,"values":["Off","On"]})"
            R"(,"Background":{"value":0,"values":["Dim","Med","Bright"]})"
            R"(,"Gradient":{"value":1,"values":["Off","On"]})"
            R"(},"Analyser":{"Decay":{"value":2,"values":["Instant","Fast","Med","Slow"]})"
            R"(,"Range":{"value":0,"values":["96dB","80dB","64dB","48dB"]})"
            R"(,"Top":{"value":0,"values":["0dB","-12dB","-24dB","-36dB"]})"
            R"(,"Tilt":{"value":0,"values":["0dB","3dB","4.5dB","6dB"]})"
            R"(,"Smoothing":{"value":0,"values":["None","Mild","Med","Heavy"]})"
            R"(,"Display":{"value":0,"values":["Filled","Outlined"]})"
            R"(},"Release":{"Flash Labels":{"value":0,"values":["Off","On"]}}})");
}

constexpr const char* kTable =
    "{\"Graph\":{\"Range\":{\"value\":4,\"values\":[\"3dB\",\"6dB\"]},"
    "\"Decay\":{\"value\":100,\"unit\":\"%\",\"min\":0,\"max\":100},\"Note\":{\"min\":1}},"
    "\"Analyser\":{\"Range\":{\"value\":1}},\"other\":[null,true,false,1.25]}";

TEST(UiSettings, MergesValuesByNameAndNothingElse) {
  const struct {
    const char* document;
    double graphRange, decay, analyserRange;
  } cases[] = {
      {"{\"Graph\":{\"Range\":{\"value\":2},\"Decay\":{\"value\":0.5}}}", 2, 0.5, 1},
      {"{\"analyser\":{\"RANGE\":{\"Value\":3}},\"graph\":{\"decay\":{\"value\":7}}}", 4, 7, 3},
      // The expected position comes before the first of that name.
      {"{\"Graph\":{\"Decay\":{\"value\":1},\"Decay\":{\"value\":2}}}", 4, 2, 1},
      {"{\"x\":{\"Range\":{\"value\":9}},\"Graph\":{\"x\":{\"value\":9}}}", 4, 100, 1},
      {"{\"Graph\":{\"Range\":{\"values\":[\"x\"],\"min\":5,\"value\":-3}}}", -3, 100, 1},
      {"{\"Graph\":{\"Range\":{\"value\":\"2\"},\"Decay\":{\"value\":true}}}", 0, 0, 1},
      {"{\"Graph\":{\"Range\":{\"max\":2},\"Decay\":7,\"Note\":{\"value\":3}}}", 4, 100, 1},
      {"[{\"value\":3},[]]", 4, 100, 1},
      {"\"text\"", 4, 100, 1},
      {"", 4, 100, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.document);
    UiSettings settings(kTable);
    settings.merge(JsonTree(jsonParse(c.document)).get());
    EXPECT_EQ(settings.getUiValue("graph", "RANGE"), c.graphRange);
    EXPECT_EQ(settings.getUiValue("Graph", "Decay"), c.decay);
    EXPECT_EQ(settings.getUiValue("Analyser", "Range"), c.analyserRange);
    const JsonTree saved = settings.save();
    UiSettings second(kTable);
    second.merge(saved.get());
    EXPECT_EQ(compact(second.save().get()), compact(saved.get()));
    // But for the three values it is the table still, with texts, limits and order.
    for (const auto& [group, key, value] :
         {std::tuple{"Graph", "Range", 4}, {"Graph", "Decay", 100}, {"Analyser", "Range", 1}}) {
      second.setUiValue(group, key, value);
    }
    EXPECT_EQ(compact(second.save().get()), compact(kTable));
  }
}

TEST(UiSettings, SetsBothNumberFormsAndSavesACopy) {
  UiSettings settings(kTable);
  const JsonTree before = settings.save();
  settings.setUiValue("GRAPH", "decay", 33.75);
  settings.setUiValue("Graph", "none", 1);
  settings.setUiValue("none", "Decay", 1);
  EXPECT_EQ(settings.getUiValue("Graph", "none") + settings.getUiValue("none", "Decay"), 0.0);
  EXPECT_EQ(compact(before.get()), compact(kTable));
  const JsonTree after = settings.save();
  const JsonNode* const decay = jsonGetObjectItem(jsonGetObjectItem(after.get(), "Graph"), "Decay");
  EXPECT_EQ(jsonGetObjectItem(decay, "value")->valueInt, 33);
  EXPECT_EQ(jsonGetObjectItem(decay, "value")->valueDouble, 33.75);
}

TEST(UiSettings, TellsWhereItsTableBreaksAndGoesOnWithoutOptions) {
  for (const auto& [text, rest] : {std::pair{"{\"Graph\": {\"Range\": x}}", "x}}"},
                                   {"{\"Graph\": 1 ", ""},
                                   {"", ""},
                                   {static_cast<const char*>(nullptr), ""}}) {
    SCOPED_TRACE(text ? text : "null");
    testing::internal::CaptureStderr();
    UiSettings settings(text);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              std::string("uiprefs error ptr:\n\n") + rest + "\n");
    settings.setUiValue("Graph", "Range", 3);
    settings.merge(JsonTree(jsonParse("{\"Graph\":{\"Range\":{\"value\":2}}}")).get());
    EXPECT_EQ(settings.getUiValue("Graph", "Range"), 0.0);
    EXPECT_EQ(settings.save(), nullptr);
  }
}

}  // namespace
