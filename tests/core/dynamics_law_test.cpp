// What the effect does to levels, measured from outside: steady gains, ballistics, channels,
// sidechains and what is listened to, against their closed forms.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"

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

const double kBoth = decibels(linear(-18) + 0.5);
const struct {
  const char* what;
  const char* settings;
  std::vector<Pair> points;  // level in, gain out; dB
} kSteadyCases[] = {
    {"1:1", "", {{-60, 0}, {-20, 0}, {0, 0}}},
    {"2:1", "B1Ratio=.5", {{-40, 0}, {-20, 0}, {-19, -0.5}, {-8, -6}, {0, -10}}},
    {"4:1", "B1Ratio=.75", {{-20, 0}, {-8, -9}}},
    {"limited", "B1Ratio=1", {{-20, 0}, {-14, -6}, {0, -20}}},
    {"turned down twice as far", "B1Ratio=1 ExtendedRatios=1", {{-14, -12}}},
    {"louder above", "B1Ratio=-.5", {{-30, 0}, {-8, 6}}},
    {"louder above, extended", "B1Ratio=-.5 ExtendedRatios=1", {{-8, 12}}},
    {"up to a ceiling", "B1Ratio=1 B1Ceiling=6", {{-18, -2}, {-14, -6}, {-10, -6}, {0, -6}}},
    {"no ceiling at all", "B1Ratio=1 B1Ceiling=0", {{0, 0}}},
    {"range of 24 dB", "B1Ratio=1 B1Threshold=-40", {{0, -24}}},
    {"range of 48 dB", "B1Ratio=1 B1Threshold=-40 ExtendedRanges=1", {{0, -40}}},
    {"range of 96 dB, a floor", "B1RatioB=1 B1Floor=12 ExtendedRanges=2", {{-21, -48}}},
    {"expanded 1:2", "B1RatioB=.5", {{-10, 0}, {-20, 0}, {-30, -10}, {-50, -24}}},
    {"expanded 1:4, not extended further", "B1RatioB=.75 ExtendedRatios=1", {{-25, -15}}},
    {"gated", "B1RatioB=1 B1Floor=18", {{-19.9, 0}, {-20.1, -18}, {-60, -18}}},
    {"louder below", "B1RatioB=-.5", {{-10, 0}, {-35, 5}, {-80, 20}}},
    {"louder below, to a floor", "B1RatioB=-1 B1Floor=6", {{-28, 4}, {-40, 6}}},
    {"louder below, extended", "B1RatioB=-1 ExtendedRatios=1", {{-32, 8}, {-26, 4}}},
    {"a deadband", "B1Ratio=.5 B1RatioB=.5 B1Deadband=6", {{-14, -3}, {-23, 0}, {-30, -4}}},
    {"full knee", "B1Ratio=.5 B1Knee=100", {{-20, 0}, {-8, -3.75}, {4, -12}}},
    {"half a knee", "B1Ratio=.5 B1Knee=50", {{-8, -4.875}, {4, -12}}},
    {"knee below", "B1RatioB=.5 B1Floor=12 B1Knee=100", {{-23, -1.875}}},
    {"smoothed as gain", "B1Ratio=.5 B1Shape=0", {{-8, -6}}},
    {"transients alone", "B1Ratio=.5 B1Target=100", {{-8, 0}}},
    {"both parts", "B1Ratio=.5 B1Target=50", {{-8, -6}}},
    {"mostly transients", "B1Ratio=.5 B1Target=80", {{-8, -2.4}}},
    {"gain behind it", "B1Ratio=.5 B1Gain=9", {{-8, 3}, {-40, 9}}},
    {"dry beside it", "B1DryGain=100", {{-8, 6.0206}}},
    {"dry beside it, turned down", "B1Ratio=1 B1DryGain=50 B1Gain=-6", {{-8, kBoth}}},
    {"bypassed", "B1Ratio=.5 B1Gain=9 B1Bypass=1", {{-8, 0}}},
    {"looking ahead", "B1Ratio=.5 B1Lookahead=10", {{-8, -6}}},
    {"oversampled", "B1Ratio=.5 Oversample=2", {{-8, -6}}},
    {"the detector hears more", "B1Ratio=.5 B1SCTrim=8", {{-16, -6}}},
    {"the effect bypassed", "B1Ratio=.5 Bypass=1 IpTrim=9", {{-8, 0}}},
    {"trims", "B1Ratio=.5 IpTrim=8 OpTrim=-3", {{-16, 8 - 6 - 3}, {-40, 5}}},
    {"half dry", "B1Ratio=.5 WetDry=50", {{-8, decibels(0.5 * linear(-6) + 0.5)}}},
    {"the difference", "B1Ratio=.5 Listen=1", {{-8, decibels(1 - linear(-6))}}},
};

TEST(DynamicsLawTest, SteadyGains) {
  for (const auto& c : kSteadyCases) {
    for (const bool mono : {false, true}) {
      PlugRig rig;
      prepare(rig, c.settings);
      for (const auto& [level, gain] : c.points) {
        SCOPED_TRACE(testing::Message() << c.what << " at " << level << " dB" << (mono ? "!" : ""));
        const double x = linear(level);
        rig.plug.resume();
        const Pair out = steady(rig, {x, x, 0, 0}, mono);
        EXPECT_NEAR(decibels(out[0] / x), gain, kTolerance);
        EXPECT_NEAR(decibels((mono ? out[0] : out[1]) / x), gain, kTolerance);
      }
    }
  }
}

// An attack, a hold and a release by the level, or by the gain; always fast at one end of the
// crest, always slow at the other.
TEST(DynamicsLawTest, RisesHoldsAndFallsByItsTimes) {
  const double low = linear(-70);
  const double high = linear(-2);
  const auto wanted = [](double dB) { return dB > -20 ? -0.75 * (dB + 20) : 0.0; };
  for (const auto& [rate, attack, release] :
       {std::array{44100.0, 3.0, 50.0}, {48000, 0.02, 20}, {48000, 40, 400}, {96000, 10, 100}}) {
    const double perMs = rate * 0.001;
    const int half = static_cast<int>(rate / 2);
    for (const bool slow : {false, true}) {
      SCOPED_TRACE(testing::Message() << rate << " Hz, " << attack << ", " << release << slow);
      PlugRig rig({{"kB1Ratio", 0.75}, {"kB1Crest", slow ? 24 : 0}}, rate);
      prepare(rig, "B1Attack=" + std::to_string(attack) + (slow ? " B1RelSlow=" : " B1RelFast=") +
                       std::to_string(release));
      const auto level = [&](int i) { return i < half || i >= 2 * half ? low : high; };
      const auto play = [&] {
        return run(rig, 3 * half, [&](int i, std::size_t /*pin*/) { return level(i); });
      };
      const auto out = play().channels[0];
      rig.setText("B1Shape=0");
      rig.plug.resume();
      const auto byGain = play().channels[0];
      const double top = high + (low - high) * std::exp(-2.0 * half / (perMs * attack));
      for (int i = half; i < 3 * half; i += 7) {
        const double n = i % half + 1.0;
        const double rise = std::exp(-2.0 * n / (perMs * attack));
        const double fall = std::max(0.0, n - std::floor(0.8 * perMs)) / (perMs * release);
        const bool rises = i < 2 * half;
        const double envelope = decibels(rises ? high + (low - high) * rise : top) -
                                (rises ? 0.0 : 40 / std::log(10) * fall);
        if (envelope < -60) continue;
        const auto at = static_cast<std::size_t>(i);
        ASSERT_NEAR(decibels(out[at] / level(i)), wanted(envelope), kTolerance) << i;
        if (!rises) continue;
        ASSERT_NEAR(decibels(byGain[at] / level(i)), wanted(-2) * (1 - rise), kTolerance) << i;
      }
    }
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

// Of a constant the lowest crossover band and a flat band hold all, an upper crossover band and a
// band-pass nothing. "|": what passes beside a soloed band is heard, not the band.
TEST(DynamicsLawTest, ListeningLetsOneBeHeard) {
  const double two = linear(3), half = linear(-6), outside = linear(-22);
  const std::string worked = "B1Ratio=.5 B2State=1 B2Type=1 B2SubType=7 B2Lookahead=0 B2Gain=3 ";
  const std::string crossed = "B1Type=0 B2State=1 B2Frequency=4000 ", pass = "B1SubType=0 ";
  const std::string flatFirst = "B2State=1 BandOrder=.836735 B2Solo=1 B1Solo=1";
  const struct {
    const char* what;
    std::string settings;
    double gain;  // of a constant at -8 dB, that of the sidechain at -30 dB
  } cases[] = {{"both bands work", worked, half * two},
               {"the first alone", worked + "B1Solo=1", half},
               {"the second alone", worked + "B2Solo=1", two},
               {"both alone", worked + "B1Solo=1 B2Solo=1", half * two},
               {"a band that is off does not count", worked + "B3Solo=1", half * two},
               {"its sidechain", worked + "SCListen=0 B1SCTrim=4", linear(4)},
               {"the second's, from outside", worked + "SCListen=1 B2SCSrc=2", outside},
               {"goes before solo", worked + "SCListen=1 B2SCSrc=2 B1Solo=1", outside},
               {"goes before solo", worked + "SCListen=1 B2SCSrc=2 B1Solo=1 |", outside},
               {"the difference one makes", worked + "B2Solo=1 Listen=1", two - 1},
               {"none is made", "B1Solo=1 Listen=1 |", 0},
               {"the only crossover band", "B1Type=0 B1Solo=1", 1},
               {"beside it", "B1Type=0 B1Solo=1 |", 0},
               {"a solo of a band that is off", "B1Type=0 B2Solo=1 |", 1},
               {"the lower of two", crossed + "B1Solo=1", 1},
               {"beside the lower of two", crossed + "B1Solo=1 |", 0},
               {"the upper of two", crossed + "B2Solo=1", 0},
               {"beside the upper of two", crossed + "B2Solo=1 |", 1},
               {"the lower's sidechain", crossed + "SCListen=0", 1},
               {"the upper's sidechain", crossed + "SCListen=1 B1Solo=1", 0},
               {"a band-pass", pass + "B1Solo=1", 0},
               {"beside a band-pass", pass + "B1Solo=1 |", 1},
               {"a flat band", "B1Solo=1", 1},
               {"beside a flat band", "B1Solo=1 |", 0},
               {"solo in two stages leaves the crossover alone", flatFirst, 1}};
  for (const auto& c : cases) {
    PlugRig rig;
    const std::size_t bar = c.settings.find('|');
    rig.prefer("Autolisten", bar == std::string::npos ? 0 : 1);
    prepare(rig, c.settings.substr(0, bar));
    const double x = linear(-8);
    for (const double sample : steady(rig, {x, x, linear(-30), linear(-30)})) {
      EXPECT_NEAR(sample / x, c.gain, 2e-3) << c.what << ": " << c.settings;
    }
  }
}

}  // namespace
