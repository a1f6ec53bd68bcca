// The chain as a whole: bands that do nothing give the input back, as late as the host was told.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

using std::string;
using std::to_string;

constexpr double kMinus280Db = 1e-14;

/// A band that leaves its signal alone.
string idle(int band, double frequency, bool dynamicEq, const string& more = "") {
  const string prefix = " B" + to_string(band);
  return prefix + "State=1" + prefix + "Bypass=1" + prefix + "Lookahead=0" + prefix +
         "Type=" + (dynamicEq ? "1" : "0") + prefix + "Frequency=" + to_string(frequency) + more;
}

/// `count` crossover bands from `first` on.
string crossed(int first, int count) {
  string settings;
  for (int i = 0; i < count; ++i) {
    const string slope = " B" + to_string(first + i) + "Slope=" + to_string(6 + 12 * i);
    settings += idle(first + i, 60.0 * std::pow(2.2, i), false, slope);
  }
  return settings;
}

/// Settings and the latency at 48 kHz.
std::vector<std::pair<string, std::size_t>> chains() {
  std::vector<std::pair<string, std::size_t>> all = {
      {"B1State=0", 0},
      {"B1State=0 Oversample=2", 0},
      {crossed(1, 3) + " B1Lookahead=1 B3Lookahead=10", 1535 + 480},
      {crossed(2, 3) + idle(1, 300, true) + idle(5, 3000, true) +
           " B1Lookahead=10 B3Lookahead=10 B5Lookahead=10",
       1535 + 480 + 2 * (1024 + 480)}};
  for (const int bands : {1, 2, 3, 8}) all.emplace_back(crossed(1, bands), 1535);
  for (int shape = 0; shape < 8; ++shape) {
    const std::size_t filter = shape == 7 ? 0 : 1024;
    const string subType = "SubType=" + to_string(shape);
    all.emplace_back(crossed(2, 2) + idle(1, 1000, true, " B1" + subType), 1535 + filter);
    all.emplace_back(crossed(1, 2) + idle(3, 1000, true, " B3" + subType), 1535 + filter);
    all.emplace_back(idle(1, 1000, true, " B1Lookahead=10 B1" + subType), 480 + filter);
  }
  return all;
}

TEST(ChainTest, GivesTheInputBackAsLateAsToldDryAndTheSidechainInStepWithIt) {
  const auto input = noise<double>(8000);
  auto side = input;
  std::ranges::reverse(side.channels);
  for (const auto& [settings, latency] : chains()) {
    SCOPED_TRACE(settings);
    for (const int block : {64, 1000}) {
      PlugRig rig({{"kB1State", 0}});
      rig.setText(settings);
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
        const string prefix = "B" + to_string(band);
        if (rig.get(("k" + prefix + "State").c_str()) == 0.0) continue;
        const auto heard = play("Listen=0 " + prefix + "SCSrc=2 SCListen=" + to_string(band - 1));
        EXPECT_LT(deviation(side, heard, latency), 3 * kMinus280Db) << "heard by band " << band;
      }
    }
  }
}

// Oversampling at a gain of 1 leaves what lies below its filters' edge: the dry path is in step
// with it where the difference of both is silent.
TEST(ChainTest, DryIsInStepWithOversampledBands) {
  for (const int quality : {1, 2}) {
    for (const string& chain :
         {crossed(1, 2), idle(1, 500, true), idle(1, 500, true, crossed(2, 1))}) {
      SCOPED_TRACE(chain);
      PlugRig rig({{"kB1State", 0}, {"kListen", 1}, {"kOversample", quality}});
      rig.setText(chain);
      rig.plug.resume();
      Stereo<double> tone(12000);
      for (auto& channel : tone.channels) {
        for (int i = 0; double& x : channel) {
          x = std::sin(0.1 * i) * std::min(1.0, i * 1e-3);
          ++i;
        }
      }
      EXPECT_LT(deviation(Stereo<double>(12000), render(rig.plug, tone, 100), 0), 3e-3);
    }
  }
}

// One setting moves before each block; the clock says how many redesigns have to wait.
TEST(ChainTest, SumsStayExactWhileFiltersAndSplitsMove) {
  for (const std::int64_t clockStep : {100, 15, 0}) {
    SCOPED_TRACE(clockStep);
    PlugRig rig;
    rig.setText(crossed(3, 4) + idle(1, 100, true) + idle(2, 1000, true) + idle(8, 5000, true));
    rig.plug.resume();
    rig.clockStep = clockStep;
    const std::size_t latency = latencyOf(rig);
    const auto input = noise<double>(96000);
    std::mt19937 random(7);
    const auto output = render(rig.plug, input, 96, [&](int /*frame*/) {
      rig.plug.onIdle();
      const auto below = [&random](unsigned end) { return static_cast<int>(random() % end); };
      const int band = std::array{1, 2, 3, 4, 5, 6, 8}[random() % 7];
      const double spread = 1.0 + below(1000) / 2000.0;
      const std::pair<int, double> moves[] = {
          {kB1Frequency, 60.0 * std::pow(2.2, band - 3) * spread},
          {kB1Slope, 6.0 * (1 + below(16))},
          {kB1Slope2, 6.0 * (1 + below(16))},
          {kB1Q, 0.2 * spread * spread}};
      const auto& [row, plain] = moves[random() % 4];
      rig.set(bandParameterId(band - 1, row), plain);
      const int shape = below(kFlat);
      if (band < 3 || band == 8) rig.set(bandParameterId(band - 1, kB1SubType), shape);
    });
    EXPECT_EQ(latencyOf(rig), latency);
    EXPECT_LT(deviation(input, output, latency), 5 * kMinus280Db);
  }
}

TEST(ChainTest, TheHostLearnsOfAnotherLatencyWithinOneIdle) {
  PlugRig rig;
  EXPECT_EQ(rig.plug.getAeffect()->initialDelay, 1535 + 480) << "the first band, from the start";
  const struct {
    const char* setting;
    int latency, messages;
  } steps[] = {{"", 1535 + 480, 0},           {"B1Lookahead=0", 1535, 1},
               {"B1Lookahead=5", 1775, 1},    {"B1Type=1", 1024 + 240, 1},
               {"B1SubType=7", 240, 1},       {"B1Frequency=500", 240, 0},
               {"Oversample=1", 240 + 33, 1}, {"B1Bypass=1", 240 + 33, 0},
               {"OversampleOL=0", 273, 0},    {"B1State=0", 0, 1}};
  for (const auto& step : steps) {
    SCOPED_TRACE(step.setting);
    rig.setText(step.setting);
    rig.messages.clear();
    rig.plug.onIdle();
    EXPECT_EQ(rig.count(kHostIoChanged, 0), step.messages);
    EXPECT_EQ(rig.plug.getAeffect()->initialDelay, step.latency);
  }
  rig.setText("B1State=1 B1Type=0 B1Lookahead=50 Oversample=0 OversampleOL=1");
  rig.plug.setSampleRate(192000.0F);
  rig.plug.resume();
  EXPECT_EQ(rig.plug.getAeffect()->initialDelay, 1535 + 8191) << "the longest there is";
  // A host that renders offline need not leave time for an idle call.
  rig.processLevel = kProcessLevelOffline;
  const RealTimeCheck::Exception theSwitch;
  render(rig.plug, noise<double>(64), 64);
  EXPECT_EQ(rig.plug.getAeffect()->initialDelay, 1535 + 8191 + 33);
}

}  // namespace
