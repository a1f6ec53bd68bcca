// Parts of the program that no command line brings to all their ends.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>

#include "apps/audio_format.h"
#include "apps/audio_writer.h"
#include "apps/failure.h"
#include "apps/preset_source.h"
#include "apps/progress_bar.h"
#include "apps/text.h"
#include "platform/clock.h"
#include "state/machine.h"
#include "tests/support/test_directory.h"

namespace {

struct FreshPlug {
  Machine machine{std::make_unique<MemoryStore>(), {}};
  Plug plug{nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine};
};

class PresetSources : public testing::Test {
 protected:
  [[nodiscard]] std::string file(const std::string& text) const {
    const std::string path = directory.path("01 Test.json");
    writeBytes(path, text);
    return path;
  }
  /// What reading and applying a "preset", "bank" or "band" complains of; empty for nothing.
  [[nodiscard]] std::string complaint(const std::string& kind, const std::string& text) const {
    const std::string path = file(text);
    try {
      FreshPlug plug;
      if (kind == "preset") applyPreset(plug.plug, readPresetSource(path));
      if (kind == "band") applyPreset(plug.plug, readBandSource(path));
      if (kind == "bank") applyPreset(plug.plug, readBankSource(path).back());
      return "";
    } catch (const Failure& failure) {
      const std::string message = failure.what();
      EXPECT_TRUE(message.starts_with(path + ": ")) << message;
      return message.substr(path.size() + 2);
    }
  }

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
  std::istringstream lines(readBytes(TEST_DATA "/preset_faults.txt"));
  std::string first = "[";
  for (int i = 0; i < 7; ++i) first += R"({"name": "N", "description": "D"}, )";
  int count = 0;
  for (std::string line; std::getline(lines, line);) {
    if (line.empty() || line.starts_with("#")) continue;
    SCOPED_TRACE(line);
    // kind | text | reason
    const std::size_t bar = line.find(" | ");
    const std::size_t last = line.rfind(" | ");
    std::string text = line.substr(bar + 3, last - bar - 3);
    std::string kind = line.substr(0, bar);
    if (kind == "eighth") text = first + text + "]";
    if (kind == "eighth") kind = "bank";
    const std::string reason = line.substr(last + 3);
    const std::string told = complaint(kind, text);
    EXPECT_TRUE(reason == "taken" ? told.empty() : told.starts_with(reason)) << told;
    ++count;
  }
  EXPECT_GT(count, 30);
  EXPECT_THROW(static_cast<void>(readPresetSource(directory.path("none.json"))), Failure);
}

TEST(Progress, theLineFitsAndTellsTheTimeLeft) {
  EXPECT_EQ(progressLine(25, 100, 10000, 40), "[===          ]  25 %  0:30 left");
  EXPECT_EQ(progressLine(100, 100, 10000, 40), "[=============] 100 %  0:00 left");
  EXPECT_EQ(progressLine(300, 100, 10000, 40), "[=============] 100 %  0:00 left");
  EXPECT_EQ(progressLine(300, 0, 61000, 40), "[             ] 1:01");
  for (const int columns : {0, 1, 10, 31, 32, 80, 500}) {
    for (const std::int64_t done : {0, 1, 50, 100}) {
      const std::string line = progressLine(done, 100, 360000000, columns);
      EXPECT_LE(static_cast<int>(line.size()), std::max(columns - 1, 0)) << line;
    }
  }
}

TEST(Text, numbersReadTheSameEverywhere) {
  EXPECT_EQ(fixedText(-0.04, 1), "0.0");
  EXPECT_EQ(fixedText(-12.25, 1), "-12.2");
  EXPECT_EQ(signedText(0.04, 1), "0.0");
  EXPECT_EQ(signedText(3.0, 2), "+3.00");
  EXPECT_EQ(shortestText(0.71F), "0.71");
  EXPECT_EQ(durationText(0.0), "0:00.000");
  EXPECT_EQ(durationText(59.9996), "1:00.000");
  EXPECT_EQ(durationText(3723.25), "1:02:03.250");
  EXPECT_EQ(padded("\xC3\xA4", 3), "\xC3\xA4  ");
  EXPECT_EQ(oneLine("a\nb"), "a?b");
}

// What is longer than a container can tell is refused before a byte of it is written.
TEST(AudioWriter, refusesWhatItsContainerCannotHold) {
  const TestDirectory directory;
  const std::int64_t sixGiB = (std::int64_t{6} << 30) / 8;
  for (const std::string ending : {"wav", "w64", "rf64", "aiff", "flac", "caf", "au"}) {
    const std::string path = directory.path("large." + ending);
    const auto open = [&] {
      const AudioWriter writer(path, audioFormatFor(path, {}), 48000, 2, sixGiB);
    };
    if (ending == "wav" || ending == "aiff" || ending == "au") {
      EXPECT_THROW(open(), Failure) << ending;
    } else {
      EXPECT_NO_THROW(open()) << ending;
    }
  }
  EXPECT_EQ(directory.names().size(), 0U);
}

}  // namespace
