#include "apps/preset_source.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "apps/failure.h"
#include "platform/clock.h"
#include "state/machine.h"
#include "tests/apps/test_files.h"

namespace {

class PresetSources : public testing::Test {
 protected:
  std::string file(const std::string& text) {
    const std::string path = directory.path("01 Test.json");
    writeBytes(path, text);
    return path;
  }
  /// What reading and applying a preset complains of; empty for nothing.
  std::string complaint(const std::string& text) {
    const std::string path = file(text);
    try {
      FreshPlug plug;
      applyPreset(plug.plug, readPresetSource(path));
      return "";
    } catch (const Failure& failure) {
      const std::string message = failure.what();
      EXPECT_TRUE(message.starts_with(path + ": ")) << message;
      return message.substr(path.size() + 2);
    }
  }

  struct FreshPlug {
    Machine machine{std::make_unique<MemoryStore>(), {}};
    Plug plug{nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine};
  };
  const TestDirectory directory;
};

TEST_F(PresetSources, giveTheEffectTheirValuesAndTheirChain) {
  const PresetSource source = readPresetSource(file(R"({
      "description": "Five bands", "chain": {"pre": [8, 3], "crossover": [5, 2], "post": [1]},
      "set": {"kB5Frequency": 200, "kB2Frequency": 201, "kB8SubType": 7, "kIpTrim": -3.5,
              "kB1SCSBand": 4, "kB3SCLF": 1}})"));
  EXPECT_EQ(source.name, "01 Test");
  EXPECT_EQ(source.description, "Five bands");
  FreshPlug fresh;
  Plug& plug = fresh.plug;
  applyPreset(plug, source);
  BandLayout& layout = plug.getEngine().layout;
  EXPECT_EQ(layout.copyOf(layout.pre), (BandLayout::List{7, 2}));
  EXPECT_EQ(layout.copyOf(layout.xover), (BandLayout::List{4, 1}));
  EXPECT_EQ(layout.copyOf(layout.post), (BandLayout::List{0}));
  EXPECT_FLOAT_EQ(plug.getPlainValue(bandParameterId(4, kB1Frequency)), 200.0F);
  EXPECT_EQ(plug.getPlainValue(bandParameterId(7, kB1SubType)), 7.0F);
  EXPECT_EQ(plug.getPlainValue(kB1SCSBand), 4.0F);
  EXPECT_EQ(plug.getPlainValue(bandParameterId(2, kB1SCLF)), 1.0F);
  EXPECT_FLOAT_EQ(plug.getPlainValue(kIpTrim), -3.5F);
  EXPECT_EQ(plug.getPlainValue(bandParameterId(3, kB1State)), 0.0F);
}

// The packed order of a default has few digits: it must not become another number of one meaning.
TEST_F(PresetSources, leaveWhatTheyDoNotNameAtItsDefault) {
  for (const char* chain : {"", R"(, "chain": {"crossover": [1]})"}) {
    FreshPlug fresh;
    FreshPlug untouched;
    applyPreset(fresh.plug, readPresetSource(file(R"({"description": "None")" + std::string(chain) +
                                                  R"(, "set": {}})")));
    for (std::int32_t id = 0; id < kNumParams; ++id) {
      EXPECT_EQ(fresh.plug.getParameter(id), untouched.plug.getParameter(id))
          << parameterIdentifier(id) << chain;
    }
  }
}

TEST_F(PresetSources, areRefusedWithTheReason) {
  const std::string begin = R"({"description": "A line", )";
  const struct {
    std::string text;
    const char* reason;
  } cases[] = {
      {"{\"description\":\n\"a\",\n]", "line 3: this is no JSON"},
      {"[]", "should be an object"},
      {R"({"set": {}})", "\"description\" should be a text"},
      {R"({"description": 3})", "\"description\" should be a text"},
      {R"({"description": ""})", "\"description\" should be one line"},
      {R"({"description": "a\nb"})", "\"description\" should be one line"},
      {begin + R"("sets": {}})", "unknown member \"sets\""},
      {begin + R"("set": []})", "set: should be an object"},
      {begin + R"("set": {"kB1Treshold": 1}})", "set: unknown parameter 'kB1Treshold'"},
      {begin + R"("set": {"kB1Threshold": "1"}})", "set: kB1Threshold should be a number"},
      {begin + R"("set": {"kB1Threshold": -48.1}})", "set: kB1Threshold: -48.1 is out of range"},
      {begin + R"("set": {"kIpTrim": 1, "kIpTrim": 2}})", "set: kIpTrim twice"},
      {begin + R"("set": {"kB1SubType": 2.5}})", "01 Test: kB1SubType cannot be 2.5"},
      {begin + R"("set": {"kB1SCLF": 0.5}})", "01 Test: kB1SCLF cannot be 0.5"},
      {begin + R"("set": {"kB1State": 0}})", "kB1State follows from \"chain\""},
      {begin + R"("set": {"kBandOrder": 0.5}})", "kBandOrder follows from \"chain\""},
      {begin + R"("set": {"kB2Gain": 1}})", "kB2Gain is set, but the band is not in the chain"},
      {begin + R"("chain": {"before": []}})", "chain: unknown member \"before\""},
      {begin + R"("chain": {"pre": 1}})", "chain: \"pre\" should be an array"},
      {begin + R"("chain": {"pre": [9]}})", "chain: \"pre\" should hold band numbers, 1 to 8"},
      {begin + R"("chain": {"pre": [1.5]}})", "chain: \"pre\" should hold band numbers, 1 to 8"},
      {begin + R"("chain": {"pre": [1], "crossover": [1]}})",
       "chain: a band is in the chain twice"},
      {begin + R"("chain": {"post": [1]}})", "chain: without a crossover all bands are \"pre\""},
      {begin + R"("chain": {"crossover": [1, 2]}})",
       "chain: the crossover's bands should stand by rising frequency"},
      {begin + R"("chain": {"crossover": [1, 2]}, "set": {"kB2Frequency": 999}})",
       "chain: the crossover's bands should stand by rising frequency"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const std::string told = complaint(c.text);
    EXPECT_TRUE(told.starts_with(c.reason)) << told;
  }
}

TEST_F(PresetSources, ofBanksAndBandsHaveRulesOfTheirOwn) {
  const std::string entry = R"({"name": "N", "description": "D"},)";
  std::string eight = "[";
  for (int i = 0; i < 7; ++i) eight += entry;
  const auto last = [&](const std::string& text) { return file(eight + text + "]"); };
  EXPECT_EQ(readBankSource(last(R"({"name": "H", "description": "D"})")).back().name, "H");
  const auto expectFailure = [](const auto& read, const std::string& reason) {
    try {
      static_cast<void>(read());
      ADD_FAILURE() << "not refused: " << reason;
    } catch (const Failure& failure) {
      EXPECT_NE(std::string(failure.what()).find(reason), std::string::npos) << failure.what();
    }
  };
  expectFailure(
      [&] {
        return readBankSource(file(eight + entry.substr(0, entry.size() - 1) + "," +
                                   entry.substr(0, entry.size() - 1) + "]"));
      },
      ": should be an array of eight");
  expectFailure([&] { return readBankSource(last(R"({"description": "D"})")); },
                ": H: \"name\" should be a text");
  expectFailure(
      [&] {
        return readBankSource(last(R"({"name": "N", "description": "D", "set": {"kX": 1}})"));
      },
      ": H, set: unknown parameter 'kX'");
  for (const char* key : {"kB1Frequency", "kB1SCSBand", "kIpTrim"}) {
    const std::string path =
        file(R"({"description": "D", "set": {")" + std::string(key) + R"(": 20}})");
    expectFailure([&] { return readBandSource(path); }, key);
  }
  expectFailure([&] { return readPresetSource(directory.path("none.json")); }, "cannot be read");
}

}  // namespace
