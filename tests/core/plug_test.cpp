#include "core/plug.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <numbers>
#include <random>

#include "tests/core/plug_rig.h"

namespace {

using List = BandLayout::List;

TEST(PlugTest, StandsAsTheHostExpectsIt) {
  PlugRig rig;
  AEffect& effect = *rig.plug.getAeffect();
  EXPECT_EQ(std::memcmp(&effect.magic, "PtsV", 4), 0);
  EXPECT_EQ(effect.numParams, 422);
  EXPECT_EQ(effect.numPrograms, 1);
  EXPECT_EQ(effect.numInputs, 4);
  EXPECT_EQ(effect.numOutputs, 2);
  EXPECT_EQ(effect.flags, 16 | 32 | 4096);
  EXPECT_EQ(rig.plug.getBandNames().size(), 8U);
  EXPECT_EQ(rig.plug.parameterInfo(bandParameterId(2, kB1Ratio)).group, 3);
  EXPECT_EQ(rig.plug.parameterInfo(kBandOrder).group, 0);
  char name[64] = "";
  EXPECT_NE(effect.dispatcher(&effect, kEffectGetEffectName, 0, 0, name, 0), 0);
  EXPECT_STREQ(name, "Corvanthelis");
  rig.plug.resume();
  EXPECT_EQ(rig.count(kHostWantMidi, 0), 2);
  EXPECT_TRUE(rig.plug.setBypass(true));
  EXPECT_EQ(rig.get("kBypass"), 1.0);
  rig.plug.setParameter(kListen, 0.99F);
  EXPECT_EQ(rig.get("kListen"), 0.0) << "a switch is on only at its very end";
}

TEST(PlugTest, TextsFollowTheBandAndThePreferences) {
  PlugRig rig({{"kB2Ratio", 0.5}, {"kExtendedRanges", 1}, {"kB3LR", 1}});
  const auto text = [&rig](const char* identifier, float normalised, bool note = false) {
    char buffer[PlugBase::kParameterTextCapacity] = "before";
    rig.plug.formatParameterValue(PlugRig::id(identifier), normalised, buffer, note);
    return std::string(buffer);
  };
  EXPECT_EQ(text("kB1Ceiling", 1), "48.0dB");
  EXPECT_EQ(text("kB2Ceiling", 1), "-48.0dB");
  EXPECT_EQ(text("kB3Position", 1), "RIGHT");
  EXPECT_EQ(text("kB4Position", 1), "SIDE");
  EXPECT_EQ(text("kB1Frequency", rig.plug.getParameter(kB1Frequency)), "1000Hz");
  EXPECT_EQ(text("kB1Frequency", rig.plug.getParameter(kB1Frequency), true), "B5+21");
  EXPECT_EQ(text("kNumParams", 0), "");
  char untouched[64] = "before";
  rig.plug.formatParameterValue(-1, 0, untouched, false);
  EXPECT_STREQ(untouched, "before");
  rig.prefer("Number Format", 1);
  EXPECT_EQ(text("kB1Ratio", 0.75F), "2.0:1");
}

TEST(PlugTest, BandOperationsKeepParametersOrderAndChainTogether) {
  PlugRig rig;
  BandLayout& layout = rig.plug.getEngine().layout;
  rig.plug.addBand(kXoverList, 1000.0);  // where band 1 stands: that one makes room
  EXPECT_NEAR(rig.get("kB1Frequency"), 1500.0, 0.01);
  EXPECT_EQ(layout.xover, (List{1, 0}));
  rig.plug.addBand(kPreList, 300.0);
  rig.plug.addBand(kPostList, 5000.0);
  EXPECT_EQ(layout.pre, List{2});
  EXPECT_EQ(layout.xover, (List{1, 0}));
  EXPECT_EQ(layout.post, List{3});
  EXPECT_EQ(layout.off, (List{4, 5, 6, 7}));
  EXPECT_EQ(rig.get("kB3Type"), 1.0);
  EXPECT_EQ(rig.get("kB2Type"), 0.0);
  EXPECT_EQ(rig.plug.getEngine().stagePlanWord(), 0x514U);
  EXPECT_EQ(static_cast<float>(layout.bandOrderValue()), rig.plug.getParameter(kBandOrder));
  EXPECT_EQ(rig.count(kHostAutomate, bandParameterId(3, kB1SCHFType)), 1) << "all rows are told";

  rig.set({{"kB1SCSBand", 1}, {"kB1SCSrc", 2}, {"kB3SCSBand", 0}});
  rig.plug.setBandPosition(1, kPostList);
  EXPECT_EQ(layout.post, (List{1, 3}));
  EXPECT_EQ(rig.get("kB2Type"), 1.0);
  EXPECT_EQ(rig.get("kB1SCSBand"), -1.0) << "band 2 is no crossover band any more";
  EXPECT_EQ(rig.get("kB1SCSrc"), 1.0);
  EXPECT_EQ(rig.get("kB3SCSBand"), 0.0) << "band 1 still is one";

  rig.plug.deleteBand(0);
  EXPECT_EQ(rig.get("kB1State"), 0.0);
  EXPECT_EQ(rig.get("kB3SCSBand"), -1.0);
  // Without a crossover all dynamic EQ bands stand in front of where it would be.
  EXPECT_EQ(layout.pre, (List{2, 1, 3}));
  for (int i = 0; i < 10; ++i) rig.plug.addBand(kPreList, 100.0 + i);
  EXPECT_TRUE(layout.off.empty());
  for (int band = -1; band < 9; ++band) rig.plug.deleteBand(band);
  EXPECT_EQ(layout.off.size(), 8U);
  EXPECT_EQ(rig.plug.getEngine().stagePlanWord(), 0U);
}

// Whoever looks at the chain meanwhile, audio first, meets a band with the settings of its place.
TEST(PlugTest, ABandOperationShowsItsChainWhenAllItsSettingsStand) {
  PlugRig rig;
  compressor& engine = rig.plug.getEngine();
  rig.plug.addBand(kPreList, 1000.0);
  rig.set({{"kB2Gain", 24}, {"kB2SubType", 6}});
  rig.plug.deleteBand(1);
  Stereo<double> input(1 << 12);
  for (auto& channel : input.channels) std::ranges::fill(channel, 0.1);
  double peak = 0.0;
  std::vector<std::uint32_t> seen;
  rig.onAutomate = [&] {
    seen.push_back(engine.stagePlanWord());
    const auto out = render(rig.plug, input, 512);
    peak = std::max(peak, *std::ranges::max_element(out.channels[0]));
  };
  const auto expectOneStep = [&](const char* what, const std::function<void()>& work) {
    SCOPED_TRACE(what);
    const std::uint32_t before = engine.stagePlanWord();
    seen.clear();
    work();
    ASSERT_FALSE(seen.empty());
    for (const std::uint32_t plan : seen) EXPECT_EQ(plan, before);
    EXPECT_NE(engine.stagePlanWord(), before);
  };
  expectOneStep("add", [&] { rig.plug.addBand(kPreList, 0.0); });  // the lowest frequency there is
  EXPECT_EQ(rig.get("kB2Frequency"), 10.0);
  EXPECT_LT(peak, 0.11) << "not with the gain that the band had before";
  expectOneStep("to post", [&] { rig.plug.setBandPosition(1, kPostList); });
  expectOneStep("to crossover", [&] { rig.plug.setBandPosition(1, kXoverList); });
  expectOneStep("to pre", [&] { rig.plug.setBandPosition(1, kPreList); });
  expectOneStep("off", [&] { rig.plug.setBandPosition(1, kOffList); });
  EXPECT_EQ(rig.get("kB2State"), 0.0);
}

TEST(PlugTest, NodesOfTheGraphsFindTheirParameters) {
  PlugRig rig({{"kB2State", 1}, {"kB2Frequency", 200}, {"kBandOrder", 0}});
  rig.plug.setBandPosition(1, kPreList);
  rig.plug.setBandPosition(1, kXoverList);  // list: band 2 at 200 Hz, band 1 at 1000 Hz
  ASSERT_EQ(rig.plug.getEngine().layout.xover, (List{1, 0}));
  const struct {
    int kind, node, parameter;
  } cases[] = {
      {0, 0, kB1Bypass},
      {1, 0, -1},
      {3, 0, kB1SubType},
      {4, 0, kB1Gain},
      {5, 1, bandParameterId(1, kB1Frequency)},
      {6, 0, kB1Q},
      {7, 0, kB1Slope2},
      {8, 0, kB1Slope},
      {9, 0, -1},
      {-1, 0, -1},
      {0, -1, -1},
      {4, 8, bandParameterId(1, kB1Slope)},
      {0, 9, kB1Slope},
      {8, 10, -1},
      {0, 15, kB1SCLF},
      {2, 15, kB1SCLFType},
      {4, 15, kB1SCLFG},
      {8, 15, kB1SCLFSlope},
      {8, 16, -1},
      {5, 16, kB1SCMFF},
      {6, 17, kB1SCHFQ},
      {0, 38, bandParameterId(7, kB1SCHF)},
      {0, 39, -1},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(rig.plug.bandParameter(c.kind, c.node), c.parameter) << c.kind << ", " << c.node;
  }
  rig.set({{"kB1Bypass", 1}, {"kB3Type", 1}, {"kB3SubType", 5}, {"kB4Type", 1}, {"kB4SubType", 7}});
  const struct {
    int kind, node;
    float value;
  } values[] = {{0, 0, 1}, {0, 1, 2}, {0, 2, 0},   {1, 0, 128}, {2, 0, 3},
                {2, 2, 1}, {2, 3, 8}, {5, 1, 200}, {3, 99, 0}};
  for (const auto& c : values) {
    EXPECT_NEAR(rig.plug.getBandValue(c.kind, c.node), c.value, 1e-3) << c.kind << ", " << c.node;
  }
  rig.set({{"kB5Type", 1}, {"kB5SubType", 1}, {"kB6Type", 1}, {"kB6SubType", 2}});
  rig.set({{"kB1SCHFType", 1}});
  constexpr int kGain = 1 | 2, kSplit = 16;
  const std::pair<int, int> flags[] = {{1, kGain | kSplit}, {2, kGain | kSplit},
                                       {0, kGain},  // topmost: no split above
                                       {3, kGain},          {4, kGain | 4 | 8 | kSplit},
                                       {5, kGain | 4},      {15, 2 | 4 | 16},
                                       {16, 1 | 2 | 4},     {17, 1 | 2 | 4}};
  for (const auto& [node, wanted] : flags) EXPECT_EQ(rig.plug.getBandFlags(node), wanted) << node;
  EXPECT_EQ(rig.plug.getBandFlags(8, 64), 64 | kSplit);
}

/// A second of a tone at `level`, with an idle call after each block.
void play(PlugRig& rig, double level, double seconds) {
  Stereo<double> tone(static_cast<int>(48000 * seconds));
  for (auto& channel : tone.channels) {
    for (int i = 0; double& x : channel) {
      x = level * std::sin(2.0 * std::numbers::pi * 440.0 * i++ / 48000.0);
    }
  }
  render(rig.plug, tone, 480, [&rig](int frame) {
    if (frame > 0) rig.plug.onIdle();
  });
  rig.plug.onIdle();
}

TEST(AutoGainTest, UndoesWhatTheChainDidToTheLevelAndMeasuresAgainOnTheNextEdit) {
  PlugRig rig({{"kAutoGain", 1}, {"kOpTrim", 6}});
  rig.plug.endEdit(kAutoGain);
  play(rig, 0.5, 0.99);
  EXPECT_NEAR(rig.get("kOpTrim"), 6.0, 1e-6) << "not before a second has gone through";
  play(rig, 0.5, 0.05);
  EXPECT_NEAR(rig.get("kOpTrim"), 0.0, 1e-6) << "the chain changes nothing: no trim is needed";
  EXPECT_EQ(rig.count(kHostAutomate, kOpTrim), 1);
  EXPECT_EQ(rig.get("kAutoGain"), 1.0);

  rig.set({{"kOpTrim", 3}});
  play(rig, 0.5, 1.5);
  EXPECT_NEAR(rig.get("kOpTrim"), 3.0, 1e-6) << "nothing was edited: nothing is measured";
  rig.plug.beginEdit(kIpTrim);
  play(rig, 0.5, 1.1);
  EXPECT_NEAR(rig.get("kOpTrim"), 0.0, 1e-6);
}

TEST(AutoGainTest, WaitsForSoundAndForAllToBeHeard) {
  PlugRig rig({{"kAutoGain", 1}, {"kOpTrim", 6}});
  rig.plug.endEdit(kIpTrim);
  play(rig, 0.0, 2.0);
  EXPECT_NEAR(rig.get("kOpTrim"), 6.0, 1e-6) << "silence";
  play(rig, 0.0002, 2.0);
  EXPECT_NEAR(rig.get("kOpTrim"), 6.0, 1e-6) << "as good as silence";
  PlugRig faint({{"kAutoGain", 1}, {"kOpTrim", 6}});
  faint.plug.endEdit(kIpTrim);
  play(faint, 0.001, 1.1);
  EXPECT_NEAR(faint.get("kOpTrim"), 0.0, 1e-6) << "faint, but there";
  play(rig, 0.5, 0.1);
  EXPECT_NEAR(rig.get("kOpTrim"), 0.0, 1e-6) << "the measurement went on through it";

  PlugRig off;
  off.plug.endEdit(kIpTrim);
  EXPECT_FALSE(off.plug.getEngine().measuring());
}

TEST(AutoGainTest, WhatIsNoNumberIsMeasuredAgain) {
  PlugRig rig({{"kAutoGain", 1}, {"kOpTrim", 6}});
  rig.plug.endEdit(kAutoGain);
  play(rig, 0.5, 0.9);
  Stereo<double> freak(480);
  freak.channels[0][7] = 1e200;
  render(rig.plug, freak, 480);
  play(rig, 0.5, 0.9);
  EXPECT_NEAR(rig.get("kOpTrim"), 6.0, 1e-6);
  play(rig, 0.5, 0.2);
  EXPECT_NEAR(rig.get("kOpTrim"), 0.0, 1e-6);
}

TEST(AutoGainTest, GivesWayToTheUser) {
  for (const char* touched : {"kOpTrim", "kListen", "kSCListen", "kB5Solo", "kAutoGain"}) {
    SCOPED_TRACE(touched);
    PlugRig rig({{"kAutoGain", 1}});
    rig.plug.endEdit(kIpTrim);
    ASSERT_TRUE(rig.plug.getEngine().measuring());
    const bool isOwn = PlugRig::id(touched) == kAutoGain;
    isOwn ? rig.set({{touched, 0}}) : rig.plug.beginEdit(PlugRig::id(touched));
    EXPECT_FALSE(rig.plug.getEngine().measuring());
    EXPECT_EQ(rig.get("kAutoGain"), 0.0);
    EXPECT_EQ(rig.count(kHostAutomate, kAutoGain), isOwn ? 0 : 1);
  }
}

TEST(PlugTest, FeedsMetersAndAnalyser) {
  PlugRig rig({{"kB1State", 0}, {"kOpTrim", 6}});
  Stereo<float> input(480);
  for (std::size_t i = 0; i < 480; ++i) input.channels[0][i] = static_cast<float>(i) / 1000.0F;
  for (float& x : input.channels[1]) x = -0.5F;
  render(rig.plug, input, 96);
  EXPECT_NEAR(rig.plug.getOutputPeak(1), 0.9976, 1e-3);
  EXPECT_NEAR(rig.plug.getGainReduction(4), std::pow(10.0, 0.479 * 0.05), 1e-6);
  EXPECT_NEAR(rig.plug.getGainReduction(7), std::pow(10.0, -0.5 * 0.05), 1e-6)
      << "taken in front of the output trim";
  EXPECT_EQ(rig.plug.getGainReduction(0), 1.0);
  EXPECT_EQ(rig.plug.getBandGraphGain(0), 1.0);

  std::array<std::array<double, 150>, AnalyserFeed::kTraces> latest{};
  const AnalyserFeed& feed = rig.plug.analyserFeed();
  feed.copyLatest({latest[0], latest[1], latest[2], latest[3]});
  EXPECT_NEAR(latest[AnalyserFeed::kDryRight][149], -0.5 * std::pow(10.0, 0.3), 1e-6)
      << "dry comes with the output trim";
  rig.plug.resume();
  feed.copyLatest({latest[0], latest[1], latest[2], latest[3]});
  EXPECT_EQ(latest[AnalyserFeed::kOutputLeft][149], 0.0);
  EXPECT_EQ(rig.plug.getOutputPeak(1), 0.0);
  EXPECT_EQ(rig.plug.getGainReduction(4), 1.0);
}

TEST(PlugTest, TheAnalyserGetsAnUnbrokenSignalInBlocksOfAnyLength) {
  constexpr std::size_t kCount = 3000;
  PlugRig rig({{"kB1State", 0}});
  auto signal = noise<double>(40000);  // in place, and nothing changes it
  std::array<std::vector<double>, AnalyserFeed::kTraces> latest;
  latest.fill(std::vector<double>(kCount));
  std::mt19937 random(1);
  std::size_t monoEnd = 0;
  for (std::size_t at = 0, frames = 0; at < 39000; at += frames) {
    frames = 1 + random() % 999;
    const bool mono = at > 20000 && at < 21500;
    double* const right = mono ? nullptr : &signal.channels[1][at];
    std::array<double*, 4> in = {&signal.channels[0][at], right, nullptr, nullptr};
    process(rig.plug, in.data(), in.data(), static_cast<int>(frames));
    if (mono) monoEnd = at + frames;
    rig.plug.analyserFeed().copyLatest({latest[0], latest[1], latest[2], latest[3]});
    for (std::size_t t = 0; t < (mono ? 1U : 4U); ++t) {
      for (std::size_t i = 0; i < kCount; ++i) {
        const bool heard = at + i >= kCount + (t % 2 == 0 ? 0 : monoEnd);
        ASSERT_EQ(latest[t][i], heard ? signal.channels[t % 2][at + i - kCount] : 0.0) << at + i;
      }
    }
  }
}

}  // namespace
