#include "core/plug.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <optional>
#include <sstream>

#include "tests/core/plug_rig.h"
#include "tests/support/data_rows.h"

namespace {

TEST(PlugTest, StandsAsTheHostExpectsIt) {
  PlugRig rig;
  AEffect& effect = *rig.plug.getAeffect();
  EXPECT_EQ(std::memcmp(&effect.magic, "PtsV", 4), 0);
  const std::array facts = {effect.numParams, effect.numPrograms, effect.numInputs,
                            effect.numOutputs, effect.flags};
  EXPECT_EQ(facts, (std::array{422, 1, 4, 2, 16 | 32 | 4096}));
  EXPECT_EQ(rig.plug.getBandNames().size(), 8U);
  EXPECT_EQ(rig.plug.parameterInfo(bandParameterId(2, kB1Ratio)).group, 3);
  EXPECT_EQ(rig.plug.parameterInfo(kBandOrder).group, 0);
  char name[64] = "";
  EXPECT_NE(effect.dispatcher(&effect, kEffectGetEffectName, 0, 0, name, 0), 0);
  EXPECT_STREQ(name, "Corvanthelis");
  EXPECT_TRUE(rig.plug.getProductString(name));
  EXPECT_STREQ(name, "Corvanthelis");
  EXPECT_TRUE(rig.plug.getVendorString(name));
  EXPECT_STREQ(name, "Halvekro");
  rig.plug.resume();
  EXPECT_EQ(rig.count(kHostWantMidi, 0), 2);
  for (const bool on : {true, false}) {
    EXPECT_TRUE(rig.plug.setBypass(on));
    EXPECT_EQ(rig.get("kBypass"), on ? 1.0 : 0.0);
  }
  rig.plug.setParameter(kListen, 0.99F);
  EXPECT_EQ(rig.get("kListen"), 0.0) << "a switch is on only at its very end";
}

TEST(PlugTest, NodesOfTheGraphsFindTheirParameters) {
  PlugRig rig;
  runRows(TEST_DATA "/nodes.txt", [&rig](const DataRow& row) {
    std::ostringstream shown;
    const int node = row[0] == "set" ? 0 : std::stoi(row[1]);
    if (row[0] == "set") rig.setText(row[1]);
    if (row[0] == "move") rig.plug.setBandPosition(node, std::stoi(row[2]));
    if (row[0] == "flags") shown << rig.plug.getBandFlags(node, std::stoi("0" + row[2]));
    if (row[0] == "value") shown << rig.plug.getBandValue(std::stoi(row[2]), node);
    for (int kind = -1; row[0] == "rows" && kind < 10; ++kind) {
      const int index = rig.plug.bandParameter(kind, node);
      shown << (kind < 0 ? "" : " ") << (index < 0 ? "-" : parameterKeyTable().name(index));
    }
    return shown.str();
  });
}

/// A tone at `level`, with an idle call after each block; the output trim then.
double play(PlugRig& rig, double level, double seconds) {
  Stereo<double> tone(static_cast<int>(48000 * seconds));
  for (int i = 0; double& x : tone.channels[0]) {
    x = level * std::sin(2.0 * std::numbers::pi * 440.0 * i++ / 48000.0);
  }
  tone.channels[1] = tone.channels[0];
  render(rig.plug, tone, 480, [&rig](int frame) {
    if (frame > 0) rig.plug.onIdle();
  });
  rig.plug.onIdle();
  return rig.get("kOpTrim");
}

TEST(AutoGainTest, UndoesWhatTheChainDidToTheLevelAndMeasuresAgainOnTheNextEdit) {
  const double oneLouder = -10 * std::log10((1 + linear(12)) / 2);
  const struct {
    const char* what;
    const char* settings;
    int edited;  // -1: nothing; then a measurement begins
    double level, seconds, trim;
  } steps[] = {
      {"not before a second has gone through", "AutoGain=1 OpTrim=6", kAutoGain, 0.5, 0.99, 6},
      {"the chain changes nothing: no trim is needed", "", -1, 0.5, 0.05, 0},
      {"nothing was edited: nothing is measured", "OpTrim=3", -1, 0.5, 1.5, 3},
      {"an edit", "", kIpTrim, 0.5, 1.1, 0},
      {"one of the channels is turned up", "B1LR=1 B1Position=100 B1Gain=6", kB1Gain, 0.5, 1.5,
       oneLouder},
      {"silence", "AutoGain=1 OpTrim=6", kIpTrim, 0, 2, 6},
      {"as good as silence", "", -1, 0.0002, 2, 6},
      {"the measurement went on through it", "", -1, 0.5, 0.1, 0},
      {"faint, but there", "AutoGain=1 OpTrim=6", kIpTrim, 0.001, 1.1, 0},
      {"measured for a while", "AutoGain=1 OpTrim=6", kIpTrim, 0.5, 0.9, 6},
      {"what is no number", "", -1, 1e200, 0.01, 6},
      {"is measured again", "", -1, 0.5, 0.9, 6},
      {"to its end", "", -1, 0.5, 0.2, 0}};
  std::optional<PlugRig> rig;
  for (const auto& step : steps) {
    SCOPED_TRACE(step.what);
    if (std::string(step.settings).starts_with("AutoGain")) rig.emplace();
    rig->setText(step.settings);
    if (step.edited >= 0) rig->plug.endEdit(step.edited);
    rig->messages.clear();
    const double before = rig->get("kOpTrim");
    const double trim = play(*rig, step.level, step.seconds);
    EXPECT_NEAR(trim, step.trim, step.trim == oneLouder ? 0.1 : 1e-6);
    EXPECT_EQ(rig->count(kHostAutomate, kOpTrim), trim == before ? 0 : 1);
    EXPECT_EQ(rig->get("kAutoGain"), 1.0);
  }
}

}  // namespace
