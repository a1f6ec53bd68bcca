// What the effect does to levels, measured from outside: steady gains, ballistics, channels,
// sidechains and what is listened to, against their closed forms.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"
#include "tests/support/data_rows.h"

namespace {

constexpr double kTolerance = 0.01;  // dB
constexpr int kSettled = 6000;       // frames in which the fast settings of `prepare` come to rest

using Pair = std::array<double, 2>;

double decibels(double gain) { return 20.0 * std::log10(std::abs(gain)); }

std::vector<DataRow> rowsOf(const char* file) {
  return dataRows(std::string(TEST_DATA "/") + file);
}

/// Band 1 over the whole spectrum, late by its lookahead alone; fast, so that levels settle.
void prepare(PlugRig& rig, const std::string& settings) {
  rig.setText("B1Type=1 B1SubType=7 B1Lookahead=0 B1Attack=1 B1Threshold=-20 " + settings);
  rig.plug.resume();
}

/// What comes out at last where a constant goes into each pin, and into the main ones the fastest
/// tone there is.
struct Rest {
  Pair constant, tone;
};

Rest rest(PlugRig& rig, const std::array<double, 4>& pins, bool mono = false, double tone = 0.0) {
  Stereo<double> main(kSettled), side(kSettled);
  for (std::size_t c = 0; c < 2; ++c) {
    main.channels[c].assign(kSettled, pins[c] + tone);
    for (std::size_t i = 1; i < kSettled; i += 2) main.channels[c][i] = pins[c] - tone;
    side.channels[c].assign(kSettled, pins[2 + c]);
  }
  if (mono) main.channels[1].clear();
  const auto out = render(
      rig.plug, main, 100, [](int) {}, &side);
  Rest result{};
  for (std::size_t c = 0; c < 2; ++c) {
    const double last = out.channels[c][kSettled - 1], before = out.channels[c][kSettled - 2];
    result.constant[c] = (last + before) / 2;
    result.tone[c] = (last - before) / 2;
  }
  return result;
}

TEST(DynamicsLawTest, SteadyGains) {
  for (const DataRow& row : rowsOf("steady_gains.txt")) {
    for (const bool mono : {false, true}) {
      PlugRig rig;
      prepare(rig, row[1]);
      std::istringstream points(row[2]);
      double level = 0.0, gain = 0.0;
      for (char colon = 0; points >> level >> colon >> gain;) {
        SCOPED_TRACE(row[0] + " at " + std::to_string(level) + (mono ? " dB, mono" : " dB"));
        const double x = linear(level);
        rig.plug.resume();
        const Pair out = rest(rig, {x, x, 0, 0}, mono).constant;
        EXPECT_NEAR(decibels(out[0] / x), gain, kTolerance);
        EXPECT_NEAR(decibels((mono ? out[0] : out[1]) / x), gain, kTolerance);
      }
    }
  }
}

TEST(DynamicsLawTest, ChannelsAndTheirLinks) {
  for (const DataRow& row : rowsOf("channels.txt")) {
    PlugRig rig;
    prepare(rig, "B1Ratio=.5 " + row[1]);
    const bool leftRight = rig.get("kB1LR") != 0.0;
    Pair levels{}, gains{};
    std::istringstream(row[2]) >> levels[0] >> levels[1];
    std::istringstream(row[3]) >> gains[0] >> gains[1];
    const double first = linear(levels[0]), second = -linear(levels[1]);
    Pair out = leftRight ? rest(rig, {first, second, 0, 0}).constant
                         : rest(rig, {first + second, first - second, 0, 0}).constant;
    if (!leftRight) out = {(out[0] + out[1]) / 2, (out[0] - out[1]) / 2};
    EXPECT_NEAR(decibels(out[0] / first), gains[0], kTolerance) << row[0] << ": " << row[1];
    EXPECT_NEAR(decibels(out[1] / second), gains[1], kTolerance) << row[0] << ": " << row[1];
  }
}

TEST(DynamicsLawTest, SourcesOfTheSidechain) {
  constexpr double kTone = 1e-4;
  for (const DataRow& row : rowsOf("sources.txt")) {
    PlugRig rig;
    prepare(rig,
            "B1Type=0 B1Frequency=200 B2State=1 B2Frequency=5000 B2Ratio=.5 B2Threshold=-20 "
            "B2Lookahead=0 B2Solo=1 " +
                row[1]);
    const double x = linear(-8), outside = linear(-12);
    for (const double sample : rest(rig, {x, x, outside, outside}, false, kTone).tone) {
      EXPECT_NEAR(decibels(sample / kTone), std::stod(row[2]), kTolerance) << row[0];
    }
  }
}

TEST(DynamicsLawTest, ListeningLetsOneBeHeard) {
  for (const DataRow& row : rowsOf("listening.txt")) {
    PlugRig rig;
    rig.prefer("Autolisten", row[2] == "beside" ? 1 : 0);
    prepare(rig, row[1]);
    const double x = linear(-8), outside = linear(-30);
    for (const double sample : rest(rig, {x, x, outside, outside}).constant) {
      EXPECT_NEAR(sample / x, std::stod(row[3]), 2e-3) << row[0] << ": " << row[1];
    }
  }
}

/// 4:1 above -20 dB, from -70 to -2 dB and back: attack, hold and release by the level, and the
/// attack by the gain. Half a second each; with always the slow times, or always the fast.
void expectTimes(double rate, double attack, double release, bool slow) {
  const double low = linear(-70), high = linear(-2);
  const auto wanted = [](double dB) { return dB > -20 ? -0.75 * (dB + 20) : 0.0; };
  const double perMs = rate * 0.001;
  const auto half = static_cast<std::size_t>(rate / 2);
  PlugRig rig({{"kB1Ratio", 0.75}, {"kB1Crest", slow ? 24 : 0}}, rate);
  prepare(rig, "B1Attack=" + std::to_string(attack) + (slow ? " B1RelSlow=" : " B1RelFast=") +
                   std::to_string(release));
  Stereo<double> input(static_cast<int>(3 * half));
  input.channels[0].assign(3 * half, low);
  std::fill_n(input.channels[0].begin() + static_cast<std::ptrdiff_t>(half), half, high);
  input.channels[1] = input.channels[0];
  const auto byLevel = render(rig.plug, input, 100).channels[0];
  rig.setText("B1Shape=0");
  rig.plug.resume();
  const auto byGain = render(rig.plug, input, 100).channels[0];
  const auto rise = [&](std::size_t n) {
    return std::exp(-2.0 * static_cast<double>(n) / (perMs * attack));
  };
  const double top = high + (low - high) * rise(half);
  for (std::size_t i = half; i < 3 * half; i += 7) {
    const std::size_t n = i % half + 1;
    const double level = input.channels[0][i];
    const bool rises = i < 2 * half;
    const double fall =
        std::max(0.0, static_cast<double>(n) - std::floor(0.8 * perMs)) / (perMs * release);
    const double envelope =
        rises ? decibels(high + (low - high) * rise(n)) : decibels(top) - 40 / std::log(10) * fall;
    if (envelope < -60) continue;
    ASSERT_NEAR(decibels(byLevel[i] / level), wanted(envelope), kTolerance) << i;
    if (!rises) continue;
    ASSERT_NEAR(decibels(byGain[i] / level), wanted(-2) * (1 - rise(n)), kTolerance) << i;
  }
}

TEST(DynamicsLawTest, RisesHoldsAndFallsByItsTimes) {
  for (const bool slow : {false, true}) {
    expectTimes(44100, 3, 50, slow);
    expectTimes(48000, 0.02, 20, slow);
    expectTimes(48000, 40, 400, slow);
    expectTimes(96000, 10, 100, slow);
  }
}

}  // namespace
