#include "core/band_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "host/alerts.h"
#include "tests/core/plug_rig.h"
#include "tests/core/scripted_dialogs.h"
#include "tests/support/test_directory.h"

namespace {

using namespace std::string_literals;
using Values = std::vector<float>;

constexpr const char* kFactoryTail = "\nNew bands begin with the program's own settings";

bool load(Plug& plug, const std::string& text, int band) {
  return plug.loadBandFromText(text.data(), text.size(), band);
}

/// What waits for the user, captions apart.
std::vector<std::string> takeAlerts() {
  ScriptedDialogs recorder;
  Alerts::instance().show(recorder);
  return recorder.warnings;
}

/// Two skirts, and one value of every curve, off their defaults.
void setSomeRows(PlugRig& rig) {
  rig.set({{"kB5Type", 1}, {"kB5SubType", 3}, {"kB5Threshold", -12.3}, {"kB5Ratio", 0.5}});
  rig.set({{"kB5LR", 1}, {"kB5Slope", 27}, {"kB5Slope2", 12}, {"kB5SCSrc", 2}});
  rig.set({{"kB5SCSBand", 0}, {"kB5SCHFSlope", 48}, {"kB5Frequency", 3000}});
  rig.plug.setParameter(PlugRig::id("kB5Attack"), 0.5F);
}

std::string textOf(PlugRig& rig, int band) {
  std::string text;
  const std::int32_t size = rig.plug.saveBand(text, band);
  EXPECT_EQ(size, static_cast<std::int32_t>(text.size()) + 1);
  return text;
}

TEST(BandFiles, TextHoldsThePlainValuesOfOneBandUnderTheKeysOfTheFirst) {
  PlugRig rig;
  setSomeRows(rig);
  std::string text = textOf(rig, 4);
  // Decimals are those of the 32-bit values, worked out apart from this program.
  EXPECT_EQ(text.find("{\n\t\"params\":\t{\n\t\t\"kB1SubType\":\t3,\n"
                      "\t\t\"kB1Threshold\":\t-12.2999992371,\n"
                      "\t\t\"kB1Ratio\":\t0.5000000000,\n\t\t\"kB1Ceiling\":\t24,\n"),
            0U);
  EXPECT_EQ(hashOf(text), 3658294195U) << text;
  for (const int slope : {23, 24, 27, 29, 30}) {
    SCOPED_TRACE(slope);
    const auto slopeText = [](int shown) {
      return "\"kB1Slope\":\t" + std::to_string(shown) + ",";
    };
    rig.set(PlugRig::id("kB5Slope"), slope);
    for (const bool dynamicEq : {true, false}) {
      rig.set({{"kB5Type", dynamicEq ? 1 : 0}});
      EXPECT_NE(textOf(rig, 4).find(slopeText(dynamicEq ? slope / 6 * 6 : slope)), text.npos);
    }
  }
  for (const int noBand : {-1, 8}) {
    EXPECT_FALSE(load(rig.plug, text, noBand));
    EXPECT_EQ(rig.plug.saveBand(text, noBand), 0);
  }
}

TEST(BandFiles, ABandLoadsIntoAnotherAsOneStepAndOneHandOver) {
  PlugRig rig({{"kB2Frequency", 5000}, {"kB2SCSBand", 3}, {"kB2Solo", 1}, {"kB2Slope", 24}});
  setSomeRows(rig);
  rig.set({{"kB2State", 1}, {"kB5Lookahead", 40}});
  const Values before = normalisedValues(rig.plug);
  const std::string text = textOf(rig, 4);
  const auto latency = [&rig] { return rig.plug.getEngine().getLatency(); };
  const auto latencyBefore = latency();
  int early = 0;
  rig.onAutomate = [&] { early += latency() != latencyBefore ? 1 : 0; };
  rig.messages.clear();
  ASSERT_TRUE(load(rig.plug, text, 1));
  EXPECT_EQ(early, 0) << "not before all rows stand";
  EXPECT_NE(latency(), latencyBefore);
  for (const std::int32_t row : kBandFileRows) {
    const int id = bandParameterId(1, row);
    const float wanted = row == kB1Slope ? rig.plug.plainToNormalised(id, 24.0F)
                                         : rig.plug.getParameter(bandParameterId(4, row));
    EXPECT_NEAR(rig.plug.getParameter(id), wanted, 1e-6) << row;
    EXPECT_EQ(rig.count(kHostAutomate, id), 1);
    EXPECT_EQ(rig.count(kHostBeginEdit, id), 1);
    EXPECT_EQ(rig.count(kHostEndEdit, id), 1);
  }
  for (const char* kept : {"kB2Frequency", "kB2SCSBand", "kB2Solo", "kB2State", "kB2Type"}) {
    const auto id = static_cast<std::size_t>(PlugRig::id(kept));
    EXPECT_EQ(rig.plug.getParameter(PlugRig::id(kept)), before[id]) << kept;
  }
  EXPECT_FALSE(rig.plug.loadBandFromText(nullptr, 3, 0));
  EXPECT_FALSE(load(rig.plug, "\0{\"params\":{\"kB1Gain\":3}}"s, 1));
  const Values after = normalisedValues(rig.plug);
  rig.plug.undo();
  EXPECT_EQ(normalisedValues(rig.plug), before);
  EXPECT_FALSE(rig.plug.canUndo());
  rig.plug.redo();
  EXPECT_EQ(normalisedValues(rig.plug), after);

  rig.plug.resetBand(1);
  for (const std::int32_t row : kBandFileRows) {
    const int id = bandParameterId(1, row);
    EXPECT_NEAR(rig.plug.getParameter(id), rig.plug.getParameterDefault(id), 1e-6) << row;
  }
  EXPECT_NEAR(rig.get("kB2Frequency"), 5000.0, 0.01);
  rig.plug.undo();
  EXPECT_EQ(normalisedValues(rig.plug), after);
}

/// An effect on a machine with a folder of the user's and one of the product's.
struct Installed {
  TestDirectory directory;
  Machine machine{std::make_unique<MemoryStore>(),
                  {directory.path("own"), directory.path("product")}};
  std::unique_ptr<Plug> plug;

  Plug& start() {
    plug = std::make_unique<Plug>(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine);
    return *plug;
  }
  [[nodiscard]] std::string own(const char* name) const { return directory.path("own/"s + name); }
  /// The template's gain and knee of a band, plain.
  std::pair<float, float> defaults(int band) {
    const auto plain = [&](int row) {
      const int id = bandParameterId(band, row);
      return plug->normalisedToPlain(id, plug->getParameterDefault(id));
    };
    return {plain(kB1Gain), plain(kB1Knee)};
  }
};

TEST(BandFiles, TheTemplateIsTheUsersDefaultBandOrTheProducts) {
  using Pair = std::pair<float, float>;
  takeAlerts();
  Installed installed;
  std::filesystem::create_directory(installed.directory.path("product"));
  writeBytes(installed.directory.path("product/Factory Band.cvb"),
             R"({"params":{"kB1Gain":6,"kB1State":1}})");
  Plug& plug = installed.start();
  EXPECT_EQ(installed.defaults(0), Pair(6, 0));
  EXPECT_EQ(installed.defaults(7), Pair(6, 0));
  EXPECT_EQ(plug.getParameterDefault(bandParameterId(7, kB1State)), 0.0F);
  EXPECT_EQ(plug.getPlainValue(kB1Gain), 0.0F) << "the values are not the template's";

  const int gain = bandParameterId(2, kB1Gain);
  const int knee = bandParameterId(2, kB1Knee);
  plug.setParameter(gain, plug.plainToNormalised(gain, -12.0F));
  plug.setParameter(knee, plug.plainToNormalised(knee, 25.0F));
  plug.editorState().defaultsStale = false;
  plug.saveDefaultBand(2);
  EXPECT_TRUE(plug.editorState().defaultsStale);
  EXPECT_EQ(installed.defaults(5), Pair(-12, 25));
  std::string text;
  plug.saveBand(text, 2);
  EXPECT_EQ(readBytes(installed.own("Default Band.cvb")), text + '\0');
  installed.start().resetBand(0);
  EXPECT_EQ(installed.plug->getPlainValue(kB1Gain), -12.0F) << "the next instance begins with it";

  for (const int noBand : {-1, 8}) installed.plug->saveDefaultBand(noBand);
  EXPECT_EQ(readBytes(installed.own("Default Band.cvb")), text + '\0');
  EXPECT_TRUE(takeAlerts().empty());

  writeBytes(installed.own("Default Band.cvb"), "[]");
  installed.start();
  EXPECT_EQ(installed.defaults(0), Pair(0, 0));
  EXPECT_EQ(takeAlerts(), std::vector<std::string>{installed.own("Default Band.cvb") +
                                                   " is no band file" + kFactoryTail});
  std::filesystem::resize_file(installed.own("Default Band.cvb"), kMostDocumentBytes + 1);
  installed.start();
  EXPECT_EQ(installed.defaults(0), Pair(6, 0));
  EXPECT_EQ(takeAlerts().at(0).find(installed.own("Default Band.cvb") + " is too large"), 0U);
  // In the way of the file: it can be neither read nor written.
  std::filesystem::remove(installed.own("Default Band.cvb"));
  std::filesystem::create_directory(installed.own("Default Band.cvb"));
  installed.start().saveDefaultBand(2);
  EXPECT_EQ(installed.defaults(0), Pair(6, 0)) << "the product's, and not read again";
  EXPECT_TRUE(takeAlerts().empty());
  writeBytes(installed.directory.path("product/Factory Band.cvb"), "{}");
  installed.start();
  EXPECT_EQ(takeAlerts(),
            std::vector<std::string>{"Factory Band.cvb is no band file"s + kFactoryTail});
}

TEST(BandFiles, FilesThatFailAreTold) {
  takeAlerts();
  PlugRig rig;
  setSomeRows(rig);
  const TestDirectory directory;
  const std::string path = directory.path("Vocal.cvb");
  ASSERT_TRUE(rig.plug.saveBandFile(path, 4));
  EXPECT_EQ(readBytes(path), textOf(rig, 4) + '\0');
  ASSERT_TRUE(rig.plug.loadBandFile(path, 1));
  EXPECT_NEAR(rig.get("kB2Threshold"), -12.3, 1e-5);
  EXPECT_FALSE(rig.plug.saveBandFile(path, 8));
  EXPECT_FALSE(rig.plug.loadBandFile(path, -1));
  EXPECT_TRUE(takeAlerts().empty());

  const Values before = normalisedValues(rig.plug);
  const std::string nowhere = directory.path("nowhere/Vocal.cvb");
  const std::string text = directory.path("text.cvb");
  writeBytes(text, "text");
  EXPECT_FALSE(rig.plug.saveBandFile(nowhere, 4));
  EXPECT_FALSE(rig.plug.loadBandFile(nowhere, 4));
  EXPECT_FALSE(rig.plug.loadBandFile(text, 4));
  EXPECT_EQ(normalisedValues(rig.plug), before);
  const std::string reason = "\nThis is often due to permissions settings\nYour data has not been ";
  EXPECT_EQ(takeAlerts(),
            (std::vector<std::string>{"Failed to write to file " + nowhere + reason + "saved",
                                      "Failed to read from file " + nowhere + reason + "loaded",
                                      text + " is no band file\nThe band has not been changed"}));
}

}  // namespace
