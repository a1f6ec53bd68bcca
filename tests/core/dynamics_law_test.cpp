// What the effect does to levels, measured from outside: steady gains, ballistics, channels,
// sidechains and what is listened to, against their closed forms.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <sstream>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"
#include "tests/support/data_rows.h"

namespace {

using namespace std::string_literals;

constexpr double kTolerance = 0.01;  // dB
constexpr int kSettled = 6000;       // frames in which the fast settings of `prepare` come to rest

using Pair = std::array<double, 2>;

double decibels(double gain) { return 20.0 * std::log10(std::abs(gain)); }

/// Band 1 over the whole spectrum, late by its lookahead alone; fast, so that levels settle.
void prepare(PlugRig& rig, const std::string& settings) {
  rig.setText("B1Type=1 B1SubType=7 B1Lookahead=0 B1Attack=1 B1Threshold=-20 " + settings);
  rig.plug.resume();
}

/// `level(frame, pin)` at the two main pins and the two sidechain pins.
using Levels = std::function<double(int, std::size_t)>;

Stereo<double> run(PlugRig& rig, int frames, const Levels& level, bool mono = false) {
  Stereo<double> output(frames);
  constexpr std::size_t kBlock = 100;
  for (std::size_t at = 0; at < output.channels[0].size(); at += kBlock) {
    std::array<std::array<double, kBlock>, 4> pins;
    for (std::size_t pin = 0; pin < 4; ++pin) {
      for (std::size_t i = 0; i < kBlock; ++i) pins[pin][i] = level(static_cast<int>(at + i), pin);
    }
    std::array<double*, 4> in = {pins[0].data(), pins[1].data(), pins[2].data(), pins[3].data()};
    std::array<double*, 2> out = {&output.channels[0][at], &output.channels[1][at]};
    if (mono) in = {in[0], in[2], nullptr, nullptr};
    if (mono) out[1] = nullptr;
    const auto left = static_cast<int>(std::min(kBlock, output.channels[0].size() - at));
    process(rig.plug, in.data(), out.data(), left);
  }
  return output;
}

/// What the outputs come to rest at when the pins rest at these.
Pair steady(PlugRig& rig, const std::array<double, 4>& pins, bool mono = false) {
  const auto out = run(
      rig, kSettled, [&](int /*frame*/, std::size_t pin) { return pins[pin]; }, mono);
  return {out.channels[0].back(), out.channels[1].back()};
}

TEST(DynamicsLawTest, SteadyGains) {
  for (const auto& row : dataRows(CORVANTHELIS_CORE_DATA "/steady_gains.txt")) {
    for (const bool mono : {false, true}) {
      PlugRig rig;
      prepare(rig, row.at(1));
      std::istringstream points(row.at(2));
      double level = 0.0, gain = 0.0;
      for (char colon = 0; points >> level >> colon >> gain;) {
        SCOPED_TRACE(row[0] + " at " + std::to_string(level) + (mono ? " dB, mono" : " dB"));
        const double x = linear(level);
        rig.plug.resume();
        const Pair out = steady(rig, {x, x, 0, 0}, mono);
        EXPECT_NEAR(decibels(out[0] / x), gain, kTolerance);
        EXPECT_NEAR(decibels((mono ? out[0] : out[1]) / x), gain, kTolerance);
      }
    }
  }
}

struct Times {
  double rate, attack, release;
  bool slow;  // always so, else always fast
};

/// 4:1 above -20 dB, from -70 to -2 dB and back: attack, hold and release by the level, and the
/// attack by the gain. Half a second each.
void expectTimes(const Times& t) {
  const double low = linear(-70);
  const double high = linear(-2);
  const auto wanted = [](double dB) { return dB > -20 ? -0.75 * (dB + 20) : 0.0; };
  const double perMs = t.rate * 0.001;
  const int half = static_cast<int>(t.rate / 2);
  const auto level = [&](int i) { return i < half || i >= 2 * half ? low : high; };
  PlugRig rig({{"kB1Ratio", 0.75}, {"kB1Crest", t.slow ? 24 : 0}}, t.rate);
  prepare(rig, "B1Attack=" + std::to_string(t.attack) + (t.slow ? " B1RelSlow=" : " B1RelFast=") +
                   std::to_string(t.release));
  const auto play = [&] {
    return run(rig, 3 * half, [&](int i, std::size_t /*pin*/) { return level(i); }).channels[0];
  };
  const auto out = play();
  rig.setText("B1Shape=0");
  rig.plug.resume();
  const auto byGain = play();
  const double top = high + (low - high) * std::exp(-2.0 * half / (perMs * t.attack));
  for (int i = half; i < 3 * half; i += 7) {
    const double n = i % half + 1.0;
    const double rise = std::exp(-2.0 * n / (perMs * t.attack));
    const double fall = std::max(0.0, n - std::floor(0.8 * perMs)) / (perMs * t.release);
    const bool rises = i < 2 * half;
    const double envelope =
        rises ? decibels(high + (low - high) * rise) : decibels(top) - 40 / std::log(10) * fall;
    if (envelope < -60) continue;
    const auto at = static_cast<std::size_t>(i);
    ASSERT_NEAR(decibels(out[at] / level(i)), wanted(envelope), kTolerance) << i;
    const double gain = decibels(byGain[at] / level(i));
    ASSERT_NEAR(gain, rises ? wanted(-2) * (1 - rise) : gain, kTolerance) << i;
  }
}

TEST(DynamicsLawTest, RisesHoldsAndFallsByItsTimes) {
  for (const bool slow : {false, true}) {
    expectTimes({44100, 3, 50, slow});
    expectTimes({48000, 0.02, 20, slow});
    expectTimes({48000, 40, 400, slow});
    expectTimes({96000, 10, 100, slow});
  }
}

// 2:1 above -20 dB. Levels and gains are of left and right, or of mid and side.
TEST(DynamicsLawTest, ChannelsAndTheirLinks) {
  const double far = linear(-8), near = linear(-16);
  const auto of = [](double level) { return linear(-0.5 * std::max(0.0, decibels(level) + 20)); };
  const double gFar = of(far), gNear = of(near);
  const struct {
    const char* what;
    const char* settings;
    bool leftRight;
    Pair in, gains;
  } cases[] = {
      {"apart", "B1SCLR=1 B1SCLink=0", true, {far, -near}, {gFar, gNear}},
      {"linked", "B1SCLR=1", true, {far, near}, {gFar, gFar}},
      {"half linked", "B1SCLR=1 B1SCLink=50", true, {far, near}, {gFar, of((far + near) / 2)}},
      {"the right is heard", "B1SCLR=1 B1SCPos=100", true, {far, near}, {gNear, gNear}},
      {"mostly left", "B1SCLR=1 B1SCLink=0 B1SCPos=25", true, {near, far}, {gNear, of(far / 2)}},
      {"only the left is worked on", "B1Position=0", true, {near, near}, {gNear, 1}},
      {"the left half", "B1Position=75", true, {near, near}, {(gNear + 1) / 2, gNear}},
      {"apart", "B1SCLink=0", false, {far, near}, {gFar, gNear}},
      {"linked", "", false, {near, far}, {gFar, gFar}},
      {"the side is worked on", "B1Position=100 B1SCLink=0", false, {far, near}, {1, gNear}},
      {"by the mid", "B1SCPos=0", false, {near, far}, {gNear, gNear}},
      {"side by right",
       "B1Position=100 B1SCLink=0 B1SCLR=1",
       false,
       {far, near},
       {1, of(far - near)}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.what << (c.leftRight ? ", left/right" : ", mid/side"));
    PlugRig rig({{"kB1Ratio", 0.5}, {"kB1LR", c.leftRight ? 1 : 0}});
    prepare(rig, c.settings);
    const Pair in = c.leftRight ? c.in : Pair{c.in[0] + c.in[1], c.in[0] - c.in[1]};
    Pair out = steady(rig, {in[0], in[1], 0, 0});
    if (!c.leftRight) out = {(out[0] + out[1]) / 2, (out[0] - out[1]) / 2};
    for (std::size_t i = 0; i < 2; ++i) {
      EXPECT_NEAR(decibels(out[i] / c.in[i]), decibels(c.gains[i]), kTolerance) << i;
    }
  }
}

// A steady level in the low band; a faint tone in the high one, which alone works and is heard.
TEST(DynamicsLawTest, SourcesOfTheSidechain) {
  const struct {
    const char* what;
    const char* settings;
    double gain;
  } cases[] = {{"its own band", "", 0},
               {"all of the signal", "B2SCSrc=0", -6},
               {"what comes from outside", "B2SCSrc=2", -4},
               {"its neighbour", "B2SCSBand=0", -6},
               {"its neighbour, whatever the source", "B2SCSBand=0 B2SCSrc=2", -6},
               {"itself by name", "B2SCSBand=1", 0},
               {"a band that is not there", "B2SCSBand=4", 0},
               {"its neighbour, high-passed", "B2SCSBand=0 B2SCLF=1 B2SCLFF=90", 0}};
  for (const auto& c : cases) {
    PlugRig rig({{"kB2State", 1}, {"kB2Frequency", 5000}, {"kB2Ratio", 0.5}, {"kB2Solo", 1}});
    rig.setText("B2Lookahead=0 B2Threshold=-20 B1Frequency=200");
    prepare(rig, "B1Type=0 "s + c.settings);
    const auto output = run(rig, 24000, [&](int frame, std::size_t pin) {
      const double tone = 1e-4 * std::sin(2 * std::numbers::pi * 8000 * frame / 48000.0);
      return pin >= 2 ? linear(-12) : linear(-8) + tone;
    });
    for (const auto& channel : output.channels) {
      double sum = 0.0, squares = 0.0;
      for (std::size_t i = 19200; i < 24000; ++i) {
        sum += channel[i] / 4800;
        squares += channel[i] * channel[i] / 4800;
      }
      const double energy = squares - sum * sum;
      EXPECT_NEAR(decibels(std::sqrt(2 * energy) / 1e-4), c.gain, kTolerance) << c.what;
    }
  }
}

TEST(DynamicsLawTest, ListeningLetsOneBeHeard) {
  for (const auto& row : dataRows(CORVANTHELIS_CORE_DATA "/listening.txt")) {
    PlugRig rig;
    rig.prefer("Autolisten", row.at(2) == "beside" ? 1 : 0);
    prepare(rig, row[1]);
    const double x = linear(-8);
    for (const double sample : steady(rig, {x, x, linear(-30), linear(-30)})) {
      EXPECT_NEAR(sample / x, std::stod(row.at(3)), 2e-3) << row[0] << ": " << row[1];
    }
  }
}

}  // namespace
