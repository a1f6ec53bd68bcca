#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <limits>
#include <map>
#include <utility>

#include "tests/core/plug_rig.h"

namespace {

constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

template <typename Sample>
void expectUntouched(int block) {
  PlugRig rig({{"kB1State", 0}});
  rig.plug.setBlockSize(block);
  const auto input = noise<Sample>(9000);
  EXPECT_TRUE(render(rig.plug, input, block) == input) << block;
}

TEST(BlockDriverTest, WithNothingOnTheOutputIsTheInputBitForBit) {
  for (const int block : {1, 64, 1000, 8192}) {
    expectUntouched<double>(block);
    expectUntouched<float>(block);
  }
}

/// The whole gain chain by its definition: three ramps around a chain that changes nothing.
class PlainGains {
 public:
  void set(double in, double wet, double dry) {
    const double targets[] = {in, wet, dry};
    for (int r = 0; r < 3; ++r) {
      if (targets[r] == ramps[r].target) continue;
      const double now = ramps[r].target - ramps[r].count * ramps[r].step;
      ramps[r] = {targets[r], (targets[r] - now) / 1000, 1000};
    }
  }
  std::array<double, 3> next() {
    std::array<double, 3> gains{};
    for (std::size_t r = 0; r < 3; ++r) {
      gains[r] = ramps[r].target - ramps[r].count * ramps[r].step;
      if (ramps[r].count > 0) --ramps[r].count;
    }
    return gains;
  }

 private:
  struct Ramp {
    double target, step;
    int count;
  };
  Ramp ramps[3] = {{1, 0, 0}, {1, 0, 0}, {0, 0, 0}};
};

/// The targets of the three gains for the parameters as they stand.
void setTargets(PlugRig& rig, PlainGains& gains) {
  if (rig.get("kBypass") == 1) {
    gains.set(1, 0, 1);
    return;
  }
  const double out = linear(rig.get("kOpTrim"));
  const auto wetDry = static_cast<double>(rig.plug.getParameter(kWetDry));
  gains.set(linear(rig.get("kIpTrim")), out * wetDry, rig.get("kListen") == 1 ? -out : 1 - wetDry);
}

TEST(BlockDriverTest, TrimsWetDryBypassAndListenFollowTheirFormulas) {
  const std::map<int, std::pair<const char*, double>> changes = {
      {0, {"kIpTrim", -6}},   {512, {"kOpTrim", 4.5}}, {1024, {"kWetDry", 40}},
      {2048, {"kListen", 1}}, {4096, {"kBypass", 1}},  {4608, {"kIpTrim", 12}},
      {6144, {"kBypass", 0}}, {8192, {"kListen", 0}},  {9216, {"kWetDry", 0}}};
  for (const int block : {64, 512}) {
    SCOPED_TRACE(block);
    PlugRig rig({{"kB1State", 0}});
    PlainGains plain;
    std::vector<std::array<double, 3>> gains;
    const auto input = noise<double>(12000);
    const auto output = render(rig.plug, input, block, [&](int frame) {
      const auto change = changes.find(frame);
      if (change != changes.end()) rig.set({change->second});
      setTargets(rig, plain);
      std::generate_n(std::back_inserter(gains), std::min(block, 12000 - frame),
                      [&plain] { return plain.next(); });
    });
    for (std::size_t i = 0; i < gains.size(); ++i) {
      const double x = input.channels[1][i] * gains[i][0];
      ASSERT_NEAR(output.channels[1][i], x * gains[i][1] + gains[i][2] * x, 1e-14) << i;
    }
  }
}

TEST(BlockDriverTest, BadSamplesComeOutAsZeros) {
  PlugRig rig({{"kB1State", 0}});
  auto input = noise<double>(64);
  input.channels[0][3] = kNan;
  input.channels[0][5] = kInfinity;
  input.channels[1][0] = -kInfinity;
  const auto output = render(rig.plug, input, 64);
  input.channels[0][3] = input.channels[0][5] = input.channels[1][0] = 0.0;
  EXPECT_TRUE(output == input);
}

TEST(BlockDriverTest, MonoInPlaceAndMissingChannels) {
  PlugRig rig({{"kB1State", 0}, {"kIpTrim", 6}});
  const double gain = linear(6);
  std::vector<float> main(32, 0.25F);
  std::vector<float> side(32, std::numeric_limits<float>::quiet_NaN());
  std::array<float*, 4> in = {main.data(), side.data(), nullptr, nullptr};
  std::array<float*, 2> out = {main.data(), nullptr};
  process(rig.plug, in.data(), out.data(), 32);
  EXPECT_NEAR(main[31], 0.25 * gain, 1e-6) << "mono, in place";
  EXPECT_EQ(side[7], 0.0F) << "the sidechain is scrubbed as well";

  std::vector<float> left(32, 1.0F);
  std::vector<float> right(32, 1.0F);
  in = {left.data(), nullptr, nullptr, side.data()};
  out = {left.data(), right.data()};
  process(rig.plug, in.data(), out.data(), 32);
  EXPECT_NEAR(left[0], gain, 1e-6);
  EXPECT_EQ(right[0], 0.0F) << "a missing input is silence";
  out = {nullptr, right.data()};
  process(rig.plug, in.data(), out.data(), 32);
  process(rig.plug, static_cast<float**>(nullptr), nullptr, 32);
  process(rig.plug, in.data(), out.data(), 0);
  process(rig.plug, in.data(), out.data(), -5);
  EXPECT_EQ(rig.plug.getSampleCount(), 96) << "only real blocks count";
}

TEST(BlockDriverTest, AnyBlockLengthWorksWhateverWasAnnounced) {
  for (const int announced : {0, -1, 64, 300000, std::numeric_limits<int>::max()}) {
    SCOPED_TRACE(announced);
    const RealTimeCheck::Exception longBlocks;
    PlugRig rig({{"kB1State", 0}, {"kIpTrim", 6}});
    rig.plug.setBlockSize(announced);
    for (const int frames : {64, 5000, 300000, 64}) {
      const auto input = noise<double>(frames);
      const auto output = render(rig.plug, input, frames);
      const std::size_t last = input.channels[1].size() - 1;
      EXPECT_NEAR(output.channels[1][last], input.channels[1][last] * linear(6), 1e-6) << frames;
    }
  }
}

TEST(BlockDriverTest, MonoLeavesTheRightGainReductionAtRest) {
  PlugRig rig;
  std::vector<float> main(64, 0.5F);
  std::array<float*, 4> in = {main.data(), nullptr, nullptr, nullptr};
  std::array<float*, 2> out = {main.data(), nullptr};
  process(rig.plug, in.data(), out.data(), 64);
  for (const int selector : {0, 1}) EXPECT_EQ(rig.plug.getGainReduction(selector), 1.0);
  EXPECT_GT(rig.plug.getGainReduction(4), 1.0);
}

// The bypass takes the difference listen's say in soloing away: seen in front of the output mix.
TEST(BlockDriverTest, UnderBypassTheDifferenceListenIsOff) {
  PlugRig rig({{"kB1Solo", 1}, {"kListen", 1}});
  rig.prefer("Autolisten", 1);
  Stereo<float> input(4096);  // longer than the crossover is late
  for (float& x : input.channels[0]) x = 20.0F;
  render(rig.plug, input, 64);
  EXPECT_NEAR(rig.plug.getGainReduction(6), 10.0, 1e-6) << "the difference hears everything";
  rig.set({{"kBypass", 1}});
  render(rig.plug, input, 64);
  EXPECT_EQ(rig.plug.getGainReduction(6), 1.0) << "beside the only band is nothing";
}

// What is left of a constant: the lowest crossover band and a flat band hold all of it, an upper
// crossover band and a band-pass nothing.
TEST(BlockDriverTest, SoloAndListenWeighTheStages) {
  using Settings = PlugRig::Settings;
  const Settings one, two = {{"kB2State", 1}, {"kB2Frequency", 4000}}, pass = {{"kB1Type", 1}},
                      flat = {{"kB1Type", 1}, {"kB1SubType", 7}};
  const Settings difference = {{"kB1Type", 1}, {"kB1SubType", 7}, {"kListen", 1}};
  const Settings idle = {{"kB2Solo", 1}};
  const Settings flatFirst = {{"kB1Type", 1}, {"kB1SubType", 7}, {"kB2State", 1}, {"kB2Solo", 1}};
  const struct {
    const char* what;
    const Settings& settings;
    const char* listen;
    double to;
    bool passband;
    double gain;
  } cases[] = {
      {"the only crossover band soloed", one, "kB1Solo", 1, false, 1},
      {"what passes beside the only band", one, "kB1Solo", 1, true, 0},
      {"an inactive solo is none", idle, "kB1Solo", 1, true, 0},
      {"the lower of two crossover bands soloed", two, "kB1Solo", 1, false, 1},
      {"the upper", two, "kB2Solo", 1, false, 0},
      {"the upper's surroundings", two, "kB2Solo", 1, true, 1},
      {"the sidechain of the lower band", two, "kSCListen", 0, false, 1},
      {"the sidechain of the upper band", two, "kSCListen", 1, false, 0},
      {"a soloed band-pass", pass, "kB1Solo", 1, false, 0},
      {"beside a soloed band-pass", pass, "kB1Solo", 1, true, 1},
      {"a soloed flat band", flat, "kB1Solo", 1, false, 1},
      {"beside a soloed flat band", flat, "kB1Solo", 1, true, 0},
      {"solo in two stages leaves the crossover alone", flatFirst, "kB1Solo", 1, false, 1},
      {"a soloed flat band makes no difference", difference, "kB1Solo", 1, true, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PlugRig rig({{"kBandOrder", 0.836735}});
    rig.set(c.settings);
    rig.set({{c.listen, c.to}});
    rig.prefer("Autolisten", c.passband ? 1 : 0);
    rig.plug.resume();
    Stereo<double> input(8192);
    for (auto& channel : input.channels) std::fill(channel.begin(), channel.end(), 0.5);
    const auto output = render(rig.plug, input, 64);
    for (const auto& channel : output.channels) ASSERT_NEAR(channel.back(), 0.5 * c.gain, 2e-3);
  }
}

TEST(BlockDriverTest, ThePlanHoldsTheStagesInTheirOrder) {
  PlugRig rig;
  EXPECT_EQ(rig.plug.getEngine().stagePlanWord(), 0x1U);
  EXPECT_EQ(rig.plug.getEngine().xoverPlanWord(), 0x1000000U);
  // Bands 1 and 2 in front, 3 and 4 in the crossover, 5 behind it.
  rig.set({{"kB1Type", 1}, {"kB2Type", 1}, {"kB5Type", 1}, {"kB3Frequency", 100}});
  rig.set({{"kB2State", 1}, {"kB3State", 1}, {"kB4State", 1}, {"kB5State", 1}});
  EXPECT_EQ(rig.plug.getEngine().stagePlanWord(), 0x6132U);
  EXPECT_EQ(rig.plug.getEngine().xoverPlanWord(), 0x2000000U | 3U << 3U | 2U);
  const auto plan = rig.plug.getEngine().stagePlanWord();
  rig.plug.setParameter(kBandOrder, 1.0F);
  rig.set({{"kB4Frequency", 100}});
  EXPECT_EQ(rig.plug.getEngine().stagePlanWord(), plan) << "bad orders keep the last good chain";
  PlugRig other;
  compressor& engine = other.plug.getEngine();
  engine.layout.moveBand(0, kOffList, 0.0);
  engine.layout.moveBand(1, kXoverList, 500.0);
  engine.dropLeavingBands();
  EXPECT_EQ(engine.stagePlanWord(), 0x1U) << "no gap where one band takes over from another";
}

}  // namespace
