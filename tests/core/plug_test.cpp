#include "core/plug.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <map>
#include <numbers>
#include <random>
#include <set>

#include "tests/core/plug_rig.h"

namespace {

using List = BandLayout::List;

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

TEST(PlugTest, TextsFollowTheBandAndThePreferences) {
  PlugRig rig;
  rig.setText("B2Ratio=.5 B2RatioB=.5 ExtendedRanges=1 ExtendedRatios=1 B3LR=1 B3SCLR=1");
  const auto text = [&rig](const char* identifier, float normalised, bool note = false) {
    char buffer[PlugBase::kParameterTextCapacity] = "before";
    rig.plug.formatParameterValue(PlugRig::id(identifier), normalised, buffer, note);
    return std::string(buffer);
  };
  const float kilohertz = rig.plug.getParameter(kB1Frequency);
  const struct {
    const char* identifier;
    float normalised;
    bool note;
    const char* shown;
  } cases[] = {{"kB1Ceiling", 1, false, "48.0dB"},
               {"kB2Ceiling", 1, false, "-48.0dB"},
               {"kB3Position", 1, false, "RIGHT"},
               {"kB4Position", 1, false, "SIDE"},
               {"kB3SCPos", 0, false, "LEFT"},
               {"kB4SCPos", 0, false, "MID"},
               {"kB1Frequency", kilohertz, false, "1000Hz"},
               {"kB1Frequency", kilohertz, true, "B5+21"},
               {"kNumParams", 0, false, ""}};
  for (const auto& c : cases) {
    EXPECT_EQ(text(c.identifier, c.normalised, c.note), c.shown) << c.identifier;
  }
  char untouched[64] = "before";
  rig.plug.formatParameterValue(-1, 0, untouched, false);
  EXPECT_STREQ(untouched, "before");
  rig.setText("ExtendedRatios=0");
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
  std::set<std::uint32_t> seen;
  rig.onAutomate = [&] {
    seen.insert(engine.stagePlanWord());
    const auto out = render(rig.plug, input, 512);
    peak = std::max(peak, *std::ranges::max_element(out.channels[0]));
  };
  for (const int list : {-1, int{kPostList}, int{kXoverList}, int{kPreList}, int{kOffList}}) {
    SCOPED_TRACE(list);
    const std::uint32_t before = engine.stagePlanWord();
    seen.clear();
    list < 0 ? rig.plug.addBand(kPreList, 0.0) : rig.plug.setBandPosition(1, list);
    EXPECT_EQ(seen, std::set{before});
    EXPECT_NE(engine.stagePlanWord(), before);
    if (list < 0) {
      EXPECT_EQ(rig.get("kB2Frequency"), 10.0) << "the lowest there is";
      EXPECT_LT(peak, 0.11) << "not with the gain that the band had before";
    }
  }
  EXPECT_EQ(rig.get("kB2State"), 0.0);
}

TEST(PlugTest, ABankThatHoldsNoChainIsRepairedAroundLockedBands) {
  for (const int locked : {-1, 0, 1}) {
    PlugRig rig;
    rig.setText("B2State=1 B4State=1 B4Type=1");  // two crossover bands at 1 kHz
    rig.plug.copyToBank(1);
    if (locked >= 0) rig.plug.setLocked(bandParameterId(locked, kB1Frequency), true);
    rig.plug.switchBank(1);
    BandLayout& layout = rig.plug.getEngine().layout;
    List listed = layout.xover;
    std::ranges::sort(listed);
    EXPECT_EQ(listed, (List{0, 1})) << locked;
    EXPECT_EQ(layout.pre.size() + layout.post.size(), 1U);
    const double hz[] = {rig.get("kB1Frequency"), rig.get("kB2Frequency")};
    EXPECT_GT(std::abs(hz[0] - hz[1]), 1.0);
    if (locked >= 0) {
      EXPECT_NEAR(hz[locked], 1000.0, 0.01);
    }
    EXPECT_EQ(static_cast<float>(layout.bandOrderValue()), rig.plug.getParameter(kBandOrder));
  }
}

TEST(PlugTest, AControllerMovesLinkedParameters) {
  PlugRig rig;
  const int second = bandParameterId(1, kB1Threshold);
  for (const int id : {int{kB1Threshold}, second}) rig.plug.setLinked(id, true);
  rig.plug.machine().midiMap().setLearnTarget(kB1Threshold);
  for (const int value : {20, 100}) sendController(rig.plug, 0xB0, 7, value);
  EXPECT_NEAR(rig.plug.getParameter(kB1Threshold), 100.0F / 127.0F, 0.01F);
  EXPECT_EQ(rig.plug.getParameter(second), rig.plug.getParameter(kB1Threshold));
}

TEST(PlugTest, NodesOfTheGraphsFindTheirParameters) {
  PlugRig rig({{"kB2State", 1}, {"kB2Frequency", 200}, {"kBandOrder", 0}});
  rig.plug.setBandPosition(1, kPreList);
  rig.plug.setBandPosition(1, kXoverList);  // list: band 2 at 200 Hz, band 1 at 1000 Hz
  ASSERT_EQ(rig.plug.getEngine().layout.xover, (List{1, 0}));
  // By node, its parameters of all kinds, -1 to 9, as rows of its band.
  const std::map<int, std::array<int, 11>> rows = {
      {-1, {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}},
      {0,
       {-1, kB1Bypass, -1, -1, kB1SubType, kB1Gain, kB1Frequency, kB1Q, kB1Slope2, kB1Slope, -1}},
      {15, {-1, kB1SCLF, -1, kB1SCLFType, -1, kB1SCLFG, kB1SCLFF, kB1SCLFQ, -1, kB1SCLFSlope, -1}},
      {16, {-1, kB1SCMF, -1, kB1SCMFType, -1, kB1SCMFG, kB1SCMFF, kB1SCMFQ, -1, -1, -1}},
      {17, {-1, kB1SCHF, -1, kB1SCHFType, -1, kB1SCHFG, kB1SCHFF, kB1SCHFQ, -1, kB1SCHFSlope, -1}},
      {39, {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}}};
  for (const auto& [node, wanted] : rows) {
    for (int kind = -1; const int row : wanted) {
      const int last = node == 0 ? 7 : node + 21;  // the same of band 8
      const int ofLast = row == -1 ? -1 : bandParameterId(7, row);
      EXPECT_EQ(rig.plug.bandParameter(kind, node), row) << kind << ", " << node;
      if (node >= 0) {
        EXPECT_EQ(rig.plug.bandParameter(kind, last), ofLast) << kind;
      }
      ++kind;
    }
  }
  for (const int kind : {0, 4, 8}) {
    EXPECT_EQ(rig.plug.bandParameter(kind, 8), bandParameterId(1, kB1Slope));
    EXPECT_EQ(rig.plug.bandParameter(kind, 9), kB1Slope);
    EXPECT_EQ(rig.plug.bandParameter(kind, 10), -1);
  }
  rig.setText("B1Bypass=1 B3Type=1 B3SubType=5 B4Type=1 B4SubType=7 B8Type=1 B8SubType=3");
  const struct {
    int kind, node;
    float value;
  } values[] = {{0, 0, 1}, {0, 1, 2}, {0, 2, 0}, {1, 0, 128}, {2, 0, 3},
                {2, 2, 1}, {2, 3, 8}, {2, 7, 6}, {5, 1, 200}, {3, 99, 0}};
  for (const auto& c : values) {
    EXPECT_NEAR(rig.plug.getBandValue(c.kind, c.node), c.value, 1e-3) << c.kind << ", " << c.node;
  }
  rig.setText("B5Type=1 B5SubType=1 B6Type=1 B6SubType=2 B1SCHFType=1");
  constexpr int kGain = 1 | 2, kSplit = 16;
  const std::pair<int, int> flags[] = {{1, kGain | kSplit}, {2, kGain | kSplit},
                                       {0, kGain},  // topmost: no split above
                                       {3, kGain},          {4, kGain | 4 | 8 | kSplit},
                                       {5, kGain | 4},      {15, 2 | 4 | 16},
                                       {16, 1 | 2 | 4},     {17, 1 | 2 | 4},
                                       {38, 2 | 4 | 16},    {39, 0}};
  for (const auto& [node, wanted] : flags) EXPECT_EQ(rig.plug.getBandFlags(node), wanted) << node;
  EXPECT_EQ(rig.plug.getBandFlags(8, 64), 64 | kSplit);
}

/// A tone at `level`, with an idle call after each block; the output trim then.
double play(PlugRig& rig, double level, double seconds) {
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
  return rig.get("kOpTrim");
}

TEST(AutoGainTest, UndoesWhatTheChainDidToTheLevelAndMeasuresAgainOnTheNextEdit) {
  PlugRig rig({{"kAutoGain", 1}, {"kOpTrim", 6}});
  rig.plug.endEdit(kAutoGain);
  EXPECT_NEAR(play(rig, 0.5, 0.99), 6.0, 1e-6) << "not before a second has gone through";
  EXPECT_NEAR(play(rig, 0.5, 0.05), 0.0, 1e-6) << "the chain changes nothing: no trim is needed";
  EXPECT_EQ(rig.count(kHostAutomate, kOpTrim), 1);
  EXPECT_EQ(rig.get("kAutoGain"), 1.0);
  rig.set({{"kOpTrim", 3}});
  EXPECT_NEAR(play(rig, 0.5, 1.5), 3.0, 1e-6) << "nothing was edited: nothing is measured";
  rig.plug.beginEdit(kIpTrim);
  EXPECT_NEAR(play(rig, 0.5, 1.1), 0.0, 1e-6);
  // Of the two channels one is turned up.
  rig.setText("B1LR=1 B1Position=100 B1Gain=6");
  rig.plug.endEdit(kB1Gain);
  EXPECT_NEAR(play(rig, 0.5, 1.5), -10 * std::log10((1 + linear(12)) / 2), 0.1);
}

TEST(AutoGainTest, WaitsForSoundAndForAllToBeHeard) {
  PlugRig rig({{"kAutoGain", 1}, {"kOpTrim", 6}});
  rig.plug.endEdit(kIpTrim);
  EXPECT_NEAR(play(rig, 0.0, 2.0), 6.0, 1e-6) << "silence";
  EXPECT_NEAR(play(rig, 0.0002, 2.0), 6.0, 1e-6) << "as good as silence";
  EXPECT_NEAR(play(rig, 0.5, 0.1), 0.0, 1e-6) << "the measurement went on through it";
  PlugRig faint({{"kAutoGain", 1}, {"kOpTrim", 6}});
  faint.plug.endEdit(kIpTrim);
  EXPECT_NEAR(play(faint, 0.001, 1.1), 0.0, 1e-6) << "faint, but there";
  PlugRig freak({{"kAutoGain", 1}, {"kOpTrim", 6}});
  freak.plug.endEdit(kAutoGain);
  EXPECT_NEAR(play(freak, 0.5, 0.9), 6.0, 1e-6);
  Stereo<double> noNumber(480);
  noNumber.channels[0][7] = 1e200;
  render(freak.plug, noNumber, 480);
  EXPECT_NEAR(play(freak, 0.5, 0.9), 6.0, 1e-6) << "what is no number is measured again";
  EXPECT_NEAR(play(freak, 0.5, 0.2), 0.0, 1e-6);
}

TEST(AutoGainTest, GivesWayToTheUser) {
  const auto measuring = [](PlugRig& rig) { return rig.plug.getEngine().measuring(); };
  for (const char* touched : {"kOpTrim", "kListen", "kSCListen", "kB5Solo", "kAutoGain"}) {
    SCOPED_TRACE(touched);
    PlugRig rig({{"kAutoGain", 1}});
    rig.plug.endEdit(kIpTrim);
    ASSERT_TRUE(measuring(rig));
    const bool isOwn = PlugRig::id(touched) == kAutoGain;
    isOwn ? rig.set({{touched, 0}}) : rig.plug.beginEdit(PlugRig::id(touched));
    EXPECT_FALSE(measuring(rig));
    EXPECT_EQ(rig.get("kAutoGain"), 0.0);
    EXPECT_EQ(rig.count(kHostAutomate, kAutoGain), isOwn ? 0 : 1);
  }
  for (const char* disturbing : {"AutoGain=0", "Listen=1", "SCListen=0", "B1Solo=1"}) {
    PlugRig rig({{"kAutoGain", 1}});
    rig.setText(disturbing);
    rig.plug.beginEdit(kIpTrim);
    rig.plug.endEdit(kIpTrim);
    EXPECT_FALSE(measuring(rig)) << disturbing;
  }
}

TEST(PlugTest, FeedsMetersInFrontOfTheOutputTrimUntilTheNextReset) {
  PlugRig rig({{"kB1State", 0}, {"kOpTrim", 6}});
  Stereo<float> input(480);
  for (std::size_t i = 0; i < 480; ++i) input.channels[0][i] = static_cast<float>(i) / 1000.0F;
  for (float& x : input.channels[1]) x = -0.5F;
  for (const bool reset : {false, true}) {
    reset ? rig.plug.resume() : static_cast<void>(render(rig.plug, input, 96));
    EXPECT_NEAR(rig.plug.getOutputPeak(1), reset ? 0.0 : 0.9976, 1e-3);
    const double wanted[] = {1, 1, 1, 1, linear(0.479), linear(-0.5), linear(0.479), linear(-0.5)};
    for (int selector = 0; selector < 8; ++selector) {
      EXPECT_NEAR(rig.plug.getGainReduction(selector), reset ? 1 : wanted[selector], 1e-6);
    }
  }
}

// The left goes through alone for a while; dry comes with the output trim.
TEST(PlugTest, TheAnalyserGetsAnUnbrokenSignalInBlocksOfAnyLength) {
  constexpr std::size_t kCount = 3000;
  PlugRig rig({{"kB1State", 0}, {"kOpTrim", 6}, {"kIpTrim", 3}});
  render(rig.plug, noise<double>(2000), 1000);
  const auto input = noise<double>(40000);
  auto signal = input;  // in place
  std::array<std::vector<double>, AnalyserFeed::kTraces> latest;
  latest.fill(std::vector<double>(kCount));
  rig.plug.resume();
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
        const double sample = heard ? input.channels[t % 2][at + i - kCount] * linear(9) : 0.0;
        ASSERT_NEAR(latest[t][i], sample, 1e-12) << at + i;
      }
    }
  }
}

}  // namespace
