// The chain as a whole: how it stands in a host, what that may hand over, bands that do nothing and
// detectors that do the same; and bands that keep their distances in the crossover.

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <cstring>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "editing/crossover_spacing.h"
#include "tests/core/plug_rig.h"
#include "tests/support/data_rows.h"
#include "tests/support/known_numbers.h"

namespace {

using std::string;
using std::to_string;

constexpr double kMinus280Db = 1e-14;

TEST(ChainTest, GivesTheInputBackAsLateAsToldDryAndTheSidechainInStepWithIt) {
  const auto input = noise<double>(8000);
  auto side = input;
  std::ranges::reverse(side.channels);
  string idle = "B1State=0 ";
  for (int band = 1; band <= kNumBands; ++band) idle += ofBand(band, "Bypass=1 Lookahead=0");
  for (const DataRow& row : dataRows(TEST_DATA "/chains.txt")) {
    SCOPED_TRACE(row[0]);
    const std::size_t latency = std::stoul(row.back());
    for (const int block : {64, 1000}) {
      PlugRig rig(idle);
      rig.setText(row[0]);
      const auto play = [&](const string& more) {
        rig.setText(more);
        rig.plug.resume();
        return render(
            rig.plug, input, block, [](int) {}, &side);
      };
      // Each filter adds its band and what is beside it: one rounding more.
      EXPECT_LT(deviation(input, play(""), latency), 3 * kMinus280Db);
      ASSERT_EQ(latencyOf(rig), latency);
      EXPECT_LT(deviation(Stereo<double>(8000), play("Listen=1"), 0), 3 * kMinus280Db);
      for (int band = 1; band <= kNumBands; ++band) {
        if (rig.plug.getParameter(bandParameterId(band - 1, kB1State)) == 0.0F) continue;
        const auto heard =
            play(ofBand(band, "SCSrc=2") + "Listen=0 SCListen=" + to_string(band - 1));
        EXPECT_LT(deviation(side, heard, latency), 3 * kMinus280Db) << "heard by band " << band;
      }
    }
  }
}

TEST(ChainTest, StandsAsTheHostExpectsIt) {
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
    EXPECT_EQ(rig.plug.getPlainValue(kBypass), on ? 1.0F : 0.0F);
  }
  rig.plug.setParameter(kListen, 0.99F);
  EXPECT_EQ(rig.plug.getPlainValue(kListen), 0.0F) << "a switch is on only at its very end";
}

template <typename Sample>
void expectUntouched(int frames) {
  SCOPED_TRACE(testing::Message() << frames << " frames");
  PlugRig rig("B1State=0");
  const auto input = noise<Sample>(9000);
  EXPECT_TRUE(render(rig.plug, input, frames) == input);
}

TEST(BlockDriverTest, WithNothingOnTheOutputIsTheInputBitForBitInAnyBlocks) {
  for (const int frames : {1, 64, 1000, 9000}) {
    expectUntouched<double>(frames);
    expectUntouched<float>(frames);
  }
}

double* pinOf(bool isThere, std::array<double, 32>& samples) {
  return isThere ? samples.data() : nullptr;
}
void expectAllBut(const std::array<double, 32>& samples, std::size_t one, double wanted,
                  double instead) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    ASSERT_NEAR(samples[i], i == one ? instead : wanted, 1e-6) << i;
  }
}

TEST(BlockDriverTest, BadSamplesAndMissingChannelsAreSilence) {
  constexpr double kInfinity = std::numeric_limits<double>::infinity();
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr std::array kBad = {std::pair(3U, kNan), std::pair(5U, kInfinity),
                               std::pair(0U, -kInfinity), std::pair(7U, kNan)};
  constexpr double kUntouched = 0.5;
  const double louder = linear(6);
  const struct {
    std::array<bool, 4> ins;
    std::array<bool, 2> outs;
    bool inPlace;
    std::array<double, 2> wanted;
    std::array<bool, 4> sidechain;  // also scrubbed
  } cases[] = {{{1, 1, 1, 1}, {1, 1}, false, {louder, louder}, {0, 0, 1, 1}},
               {{1, 1, 1, 1}, {1, 1}, true, {louder, louder}, {}},
               {{1, 0, 0, 1}, {1, 1}, false, {louder, 0}, {}},
               {{0, 1, 0, 1}, {0, 1}, false, {kUntouched, louder}, {}},
               {{1, 1, 0, 0}, {1, 0}, false, {louder, kUntouched}, {0, 1, 0, 0}}};
  PlugRig rig("B1State=0 IpTrim=6");
  for (int number = 0; const auto& c : cases) {
    SCOPED_TRACE(number++);
    std::array<std::array<double, 32>, 4> pins;
    std::array<double*, 4> in{};
    for (std::size_t pin = 0; pin < 4; ++pin) {
      pins[pin].fill(1.0);
      pins[pin][kBad[pin].first] = kBad[pin].second;
      in[pin] = pinOf(c.ins[pin], pins[pin]);
    }
    std::array<std::array<double, 32>, 4> apart;
    for (auto& out : apart) out.fill(kUntouched);
    std::array<double*, 2> out = {pinOf(c.outs[0], apart[0]), pinOf(c.outs[1], apart[1])};
    process(rig.plug, in.data(), c.inPlace ? in.data() : out.data(), 32);
    for (std::size_t pin = 0; pin < 4; ++pin) {
      const std::size_t bad = kBad[pin].first;
      if (c.sidechain[pin]) expectAllBut(pins[pin], bad, 1.0, 0.0);
      if (pin > 1) continue;
      const double instead = c.wanted[pin] == louder ? 0.0 : c.wanted[pin];
      expectAllBut((c.inPlace ? pins : apart)[pin], bad, c.wanted[pin], instead);
    }
  }
  std::array<double*, 4> none{};
  process(rig.plug, static_cast<float**>(nullptr), nullptr, 32);
  for (const int frames : {0, -5}) process(rig.plug, none.data(), none.data(), frames);
  EXPECT_EQ(rig.plug.getSampleCount(), 5 * 32) << "only real blocks count";
}

TEST(BlockDriverTest, SilenceEndsAtZeroAndNotAmongTheDenormals) {
  PlugRig rig("B1Threshold=-40 B1Ratio=1 B1Lookahead=0", 8000.0);
  rig.plug.setMeterDecay(97);
  rig.setText("Oversample=1 B1SCLF=1 B1RelSlow=50 B1RelFast=20");
  render(rig.plug, noise<double>(8000), 200);
  render(rig.plug, Stereo<double>(60 * 8000), 200);
  std::feclearexcept(FE_UNDERFLOW);
  render(rig.plug, Stereo<double>(200), 200);
  EXPECT_EQ(std::fetestexcept(FE_UNDERFLOW), 0);
}

constexpr int kBlock = 96;

/// Linked detectors that hear the same are run as one, unless they ever heard something else: one
/// block that is far below all levels, unlinked, makes an effect run them all its life.
void runApartFromNowOn(PlugRig& rig) {
  Stereo<double> faint(kBlock);
  faint.channels[0].assign(kBlock, 1e-200);
  rig.setText("B1SCLink=0 B2SCLink=0");
  for (int block = 0; block < 40; ++block) render(rig.plug, faint, kBlock);
  rig.setText("B1SCLink=100 B2SCLink=100");
}

/// Bit by bit, through everything that takes the detectors of a band apart.
TEST(Linkage, OneDetectorForBothGivesWhatTwoGive) {
  const std::string settings =
      "B1Threshold=-30 B1Ratio=.6 B1Target=40 B1Frequency=300 B2State=1 B2Frequency=4000 "
      "B2RatioB=.5 B2Position=30 B2Lookahead=3 B2Threshold=-20 B2LR=1";
  const std::map<int, const char*> changes = {
      {20, "B1SCPos=20"}, {30, "B1Lookahead=25"}, {40, "B1SCLink=30"},  {60, "B1SCLink=100"},
      {70, "B2SCLink=0"}, {75, "B1Lookahead=2"},  {80, "SCListen=0"},   {85, "SCListen=-1"},
      {90, "B2Bypass=1"}, {95, "B2Bypass=0"},     {100, "B2Attack=30"}, {110, "B2State=0"},
      {120, "B2State=1"}, {150, "B2SCLink=70"}};
  PlugRig one(settings);
  PlugRig two(settings);
  runApartFromNowOn(two);
  render(two.plug, Stereo<double>(100 * kBlock), kBlock);
  render(one.plug, Stereo<double>(140 * kBlock), kBlock);
  const Stereo<double> input = noise<double>(200 * kBlock);
  const auto play = [&](PlugRig& rig) {
    return render(rig.plug, input, kBlock, [&](int at) {
      const auto change = changes.find(at / kBlock);
      if (change != changes.end()) rig.setText(change->second);
    });
  };
  const Stereo<double> expected = play(two);
  EXPECT_EQ(play(one).channels, expected.channels);
  for (int i = 0; i < 2; ++i) {
    for (int channel = 0; channel < 2; ++channel) {
      EXPECT_EQ(one.plug.getBandGain(i, 3, channel), two.plug.getBandGain(i, 3, channel));
    }
    EXPECT_EQ(one.plug.getBandEnvelope(i), two.plug.getBandEnvelope(i));
    EXPECT_EQ(one.plug.getGainReduction(i), two.plug.getGainReduction(i));
  }
}

TEST(PlugMeters, ARightInputThatHasGoneIsSilent) {
  PlugRig rig("B1State=0");
  auto input = noise<double>(30000);
  render(rig.plug, input, 1000);
  EXPECT_NE(rig.plug.getGainReduction(5), 1.0);
  input.channels[1].clear();
  render(rig.plug, input, 1000);
  EXPECT_EQ(rig.plug.getGainReduction(5), 1.0);
}

TEST(PlugGraphs, DrawEachBandByItsKindAndPlaceAndNothingElse) {
  PlugRig rig("B1Frequency=4000");
  EXPECT_EQ(rig.plug.addBand(kXoverList, 1000), 1);
  EXPECT_EQ(rig.plug.addBand(kPostList, 500), 2);
  rig.setText("B2Slope=12 B3SubType=4 B3Slope=24 B3Threshold=-20 B3SCLF=1 B3SCLFF=1000 B3SCMF=1");
  const struct {
    int band;
    float hertz;
    double magnitude;
  } rows[] = {{0, 2000, 0.5},
              {1, 2000, 0.5},
              {0, 4000, 0.8},
              {1, 4000, 0.2},
              {2, 500, std::sqrt(0.5)},
              {2, 1000, 1 / std::sqrt(257.0)},
              {3, 500, 1},
              {-1, 500, 1},
              {8, 500, 1}};
  const compressor& engine = rig.plug.getEngine();
  for (const auto& [band, hertz, magnitude] : rows) {
    float drawn = 0.0F;
    rig.plug.getBandCurve(band, &hertz, 1, &drawn);
    EXPECT_NEAR(rig.plug.getBandResponse(band, static_cast<double>(hertz)), magnitude, 1e-6)
        << band << ", " << hertz;
    EXPECT_NEAR(drawn, magnitude, 1e-6) << band << ", " << hertz;
    EXPECT_EQ(engine.getStaticCurve(band).thresholdHigh == -20.0, band == 2) << band;
    EXPECT_EQ(engine.getSidechainResponse(band, kLowFilter, 200.0) < 0.1, band == 2) << band;
    EXPECT_EQ(engine.getSidechainResponse(band, kHighFilter, 200.0), 1.0) << band;
  }
}

using Centres = std::vector<double>;

// The numbers were compared with the rule, taken word by word, when they were recorded.
TEST(CrossoverSpacing, FollowsItsRuleFromAnywhere) {
  KnownNumbers known(TEST_DATA "/spacing.txt");
  std::mt19937 random(20);
  const auto share = [&random] { return static_cast<double>(random()) / 4294967296.0; };
  const auto anywhere = [&share] { return 10.0 * std::pow(2000.0, share()); };
  for (int round = 0; round < 600; ++round) {
    Centres centres(random() % 9);
    const bool crowded = share() < 0.3;
    for (double& centre : centres) centre = crowded ? 1000.0 + 100.0 * share() : anywhere();
    if (share() < 0.9) std::ranges::sort(centres);
    for (double& centre : centres) centre = share() < 0.03 ? 0.0 : centre;
    const std::size_t place = random() % (centres.size() + 1);  // the last one is none
    known.expect(std::to_string(round), spacedCrossover(centres, place, anywhere()));
  }
}

TEST(CrossoverSpacing, ComesToAnEndWhateverItIsGiven) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const Centres odd[] = {Centres(40, 1000.0), {kNan, kNan, 5},     {1000, kNan, 20},
                         {-100, -5, 0, 7},    {kInf, 1000, -kInf}, Centres(8, 0.0),
                         Centres(8, kInf),    Centres(8, -1.0),    {1e308, 1e308, 1e-308}};
  for (const Centres& centres : odd) {
    for (const double wanted : {1000.0, 0.0, -1.0, kNan, kInf, -kInf}) {
      for (const std::size_t place : {std::size_t{0}, centres.size() - 1, centres.size()}) {
        EXPECT_EQ(spacedCrossover(centres, place, wanted).size(), centres.size());
      }
    }
  }
}

}  // namespace
