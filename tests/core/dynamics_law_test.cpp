// What the effect does to levels, measured from outside: steady gains, ballistics, channels and
// sidechains against their closed forms.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

constexpr double kTolerance = 0.01;  // dB
constexpr int kSettled = 6000;       // frames in which the fast settings of `prepare` come to rest

using Settings = PlugRig::Settings;
using Pair = std::array<double, 2>;

double decibels(double gain) { return 20.0 * std::log10(std::abs(gain)); }

/// Band 1 over the whole spectrum, late by its lookahead alone; fast, so that levels settle.
PlugRig& prepare(PlugRig& rig, const Settings& settings, const Settings& more = {}) {
  rig.set({{"kB1Type", 1}, {"kB1SubType", 7}, {"kB1Lookahead", 0}, {"kB1Attack", 1}});
  rig.set({{"kB1Threshold", -20}});
  rig.set(settings);
  rig.set(more);
  rig.plug.resume();
  return rig;
}

/// `level(frame, pin)` at the two main pins and the two sidechain pins; a short mono call uses
/// pins 0 and 2.
using Levels = std::function<double(int, int)>;

Stereo<double> run(PlugRig& rig, int frames, const Levels& level, int channels = 2) {
  std::array<Stereo<double>, 2> pins = {Stereo<double>(frames), Stereo<double>(frames)};
  for (int pin = 0; pin < 4; ++pin) {
    auto& samples = pins[static_cast<std::size_t>(pin / 2)].channels[pin % 2 == 0 ? 0 : 1];
    for (int i = 0; i < frames; ++i) samples[static_cast<std::size_t>(i)] = level(i, pin);
  }
  Stereo<double> output(frames);
  constexpr int kBlock = 100;
  for (int at = 0; at < frames; at += kBlock) {
    std::array<double*, 4> in = {&pins[0].channels[0][static_cast<std::size_t>(at)],
                                 &pins[0].channels[1][static_cast<std::size_t>(at)],
                                 &pins[1].channels[0][static_cast<std::size_t>(at)],
                                 &pins[1].channels[1][static_cast<std::size_t>(at)]};
    std::array<double*, 2> out = {&output.channels[0][static_cast<std::size_t>(at)],
                                  &output.channels[1][static_cast<std::size_t>(at)]};
    if (channels == 1) {
      in = {in[0], in[2], nullptr, nullptr};
      out[1] = nullptr;
    }
    process(rig.plug, in.data(), out.data(), std::min(kBlock, frames - at));
  }
  return output;
}

/// What the outputs come to rest at when the pins rest at these.
Pair steady(PlugRig& rig, const std::array<double, 4>& pins, int channels = 2) {
  const auto output = run(
      rig, kSettled,
      [&pins](int /*frame*/, int pin) { return pins[static_cast<std::size_t>(pin)]; }, channels);
  return {output.channels[0].back(), output.channels[1].back()};
}

struct SteadyCase {
  const char* what;
  Settings settings;
  std::vector<Pair> points;  // level in, gain out; dB
};
const std::vector<SteadyCase> kSteadyCases = {
    {"1:1", {}, {{-60, 0}, {-20, 0}, {0, 0}}},
    {"2:1", {{"kB1Ratio", 0.5}}, {{-40, 0}, {-20, 0}, {-19, -0.5}, {-8, -6}, {0, -10}}},
    {"4:1", {{"kB1Ratio", 0.75}}, {{-20, 0}, {-8, -9}}},
    {"limited", {{"kB1Ratio", 1}}, {{-20, 0}, {-14, -6}, {0, -20}}},
    {"turned down twice as far", {{"kB1Ratio", 1}, {"kExtendedRatios", 1}}, {{-14, -12}}},
    {"louder above", {{"kB1Ratio", -0.5}}, {{-30, 0}, {-8, 6}}},
    {"louder above, extended", {{"kB1Ratio", -0.5}, {"kExtendedRatios", 1}}, {{-8, 12}}},
    {"up to a ceiling",
     {{"kB1Ratio", 1}, {"kB1Ceiling", 6}},
     {{-18, -2}, {-14, -6}, {-10, -6}, {0, -6}}},
    {"no ceiling at all", {{"kB1Ratio", 1}, {"kB1Ceiling", 0}}, {{0, 0}}},
    {"range of 24 dB", {{"kB1Ratio", 1}, {"kB1Threshold", -40}}, {{0, -24}}},
    {"range of 48 dB",
     {{"kB1Ratio", 1}, {"kB1Threshold", -40}, {"kExtendedRanges", 1}},
     {{0, -40}}},
    {"range of 96 dB, under a ceiling",
     {{"kB1RatioB", 1}, {"kB1Floor", 12}, {"kExtendedRanges", 2}},
     {{-21, -48}}},
    {"expanded 1:2", {{"kB1RatioB", 0.5}}, {{-10, 0}, {-20, 0}, {-30, -10}, {-50, -24}}},
    {"expanded 1:4, not extended further",
     {{"kB1RatioB", 0.75}, {"kExtendedRatios", 1}},
     {{-25, -15}}},
    {"gated", {{"kB1RatioB", 1}, {"kB1Floor", 18}}, {{-19.9, 0}, {-20.1, -18}, {-60, -18}}},
    {"louder below", {{"kB1RatioB", -0.5}}, {{-10, 0}, {-35, 5}, {-80, 20}}},
    {"louder below, to a floor", {{"kB1RatioB", -1}, {"kB1Floor", 6}}, {{-28, 4}, {-40, 6}}},
    {"louder below, extended", {{"kB1RatioB", -1}, {"kExtendedRatios", 1}}, {{-32, 8}, {-26, 4}}},
    {"both sides of a deadband",
     {{"kB1Ratio", 0.5}, {"kB1RatioB", 0.5}, {"kB1Deadband", 6}},
     {{-14, -3}, {-20, 0}, {-23, 0}, {-26, 0}, {-30, -4}}},
    {"full knee", {{"kB1Ratio", 0.5}, {"kB1Knee", 100}}, {{-20, 0}, {-8, -3.75}, {4, -12}}},
    {"half a knee", {{"kB1Ratio", 0.5}, {"kB1Knee", 50}}, {{-8, -4.875}, {4, -12}}},
    {"knee below", {{"kB1RatioB", 0.5}, {"kB1Floor", 12}, {"kB1Knee", 100}}, {{-23, -1.875}}},
    {"smoothed as gain", {{"kB1Ratio", 0.5}, {"kB1Shape", 0}}, {{-8, -6}}},
    {"transients alone", {{"kB1Ratio", 0.5}, {"kB1Target", 100}}, {{-8, 0}}},
    {"both parts", {{"kB1Ratio", 0.5}, {"kB1Target", 50}}, {{-8, -6}}},
    {"mostly transients", {{"kB1Ratio", 0.5}, {"kB1Target", 80}}, {{-8, -2.4}}},
    {"gain behind it", {{"kB1Ratio", 0.5}, {"kB1Gain", 9}}, {{-8, 3}, {-40, 9}}},
    {"dry beside it", {{"kB1DryGain", 100}}, {{-8, 6.0206}}},
    {"dry beside it, turned down",
     {{"kB1Ratio", 1}, {"kB1DryGain", 50}, {"kB1Gain", -6}},
     {{-8, decibels(linear(-18) + 0.5)}}},
    {"bypassed", {{"kB1Ratio", 0.5}, {"kB1Gain", 9}, {"kB1Bypass", 1}}, {{-8, 0}}},
    {"looking ahead", {{"kB1Ratio", 0.5}, {"kB1Lookahead", 10}}, {{-8, -6}}},
    {"oversampled", {{"kB1Ratio", 0.5}, {"kOversample", 2}}, {{-8, -6}}},
    {"the detector hears more", {{"kB1Ratio", 0.5}, {"kB1SCTrim", 8}}, {{-16, -6}}},
    {"the effect bypassed", {{"kB1Ratio", 0.5}, {"kBypass", 1}, {"kIpTrim", 9}}, {{-8, 0}}},
    {"trims", {{"kB1Ratio", 0.5}, {"kIpTrim", 8}, {"kOpTrim", -3}}, {{-16, 8 - 6 - 3}, {-40, 5}}},
    {"half dry", {{"kB1Ratio", 0.5}, {"kWetDry", 50}}, {{-8, decibels(0.5 * linear(-6) + 0.5)}}},
    {"the difference", {{"kB1Ratio", 0.5}, {"kListen", 1}}, {{-8, decibels(1 - linear(-6))}}},
};

TEST(DynamicsLawTest, SteadyGains) {
  for (const SteadyCase& c : kSteadyCases) {
    for (const int channels : {1, 2}) {
      PlugRig rig;
      prepare(rig, c.settings);
      for (const auto& [level, gain] : c.points) {
        SCOPED_TRACE(testing::Message() << c.what << " at " << level << " dB, " << channels);
        const double x = linear(level);
        rig.plug.resume();
        const Pair out = steady(rig, {x, x, 0, 0}, channels);
        for (std::size_t i = 0; i < static_cast<std::size_t>(channels); ++i) {
          EXPECT_NEAR(decibels(out[i] / x), gain, kTolerance);
        }
      }
    }
  }
}

/// Gain in dB of each frame, the input `before` for half a second and `after` from frame 0 on.
std::vector<double> gainAfterStep(PlugRig& rig, double rate, double before, double after,
                                  int frames) {
  const int start = static_cast<int>(0.5 * rate);
  const auto input = [&](int frame, int /*pin*/) { return frame < start ? before : after; };
  const auto output = run(rig, start + frames, input);
  const std::vector<double> late(output.channels[0].begin() + start, output.channels[0].end());
  std::vector<double> gains(late.size());
  std::transform(late.begin(), late.end(), gains.begin(),
                 [after](double x) { return decibels(x / after); });
  return gains;
}

struct Times {
  double rate, attack, release;
};
constexpr Times kTimes[] = {{44100, 3, 50}, {48000, 0.02, 20}, {48000, 40, 400}, {96000, 10, 100}};

/// An envelope that goes from one level to another as an attack does, `n` frames after the step.
double risen(double from, double to, double n, double samples) {
  return to + (from - to) * std::exp(-2.0 * n / samples);
}
double compressed(double dB) { return dB > -20 ? -0.75 * (dB + 20) : 0.0; }

TEST(DynamicsLawTest, TheLevelRisesHoldsAndFalls) {
  for (const Times& t : kTimes) {
    SCOPED_TRACE(testing::Message() << t.rate << " Hz, " << t.attack << ", " << t.release);
    const double perMs = t.rate * 0.001;
    const double high = linear(-2);
    const double low = linear(-70);
    for (const double crest : {0.0, 24.0}) {
      // Always fast at the one end, always slow at the other.
      PlugRig rig({{"kB1Ratio", 0.75}, {"kB1Crest", crest}}, t.rate);
      prepare(rig,
              {{"kB1Attack", t.attack}, {crest == 0 ? "kB1RelFast" : "kB1RelSlow", t.release}});
      const int frames = static_cast<int>(t.rate / 4);
      const auto up = gainAfterStep(rig, t.rate, low, high, frames);
      rig.plug.resume();
      const auto down = gainAfterStep(rig, t.rate, high, low, frames);
      const double hold = std::floor(0.8 * perMs);
      for (int i = 0; i < frames; i += 7) {
        const auto at = static_cast<std::size_t>(i);
        const double n = i + 1.0;
        ASSERT_NEAR(up[at], compressed(decibels(risen(low, high, n, perMs * t.attack))), kTolerance)
            << "up, " << i;
        const double fallen =
            decibels(high) - 40 / std::log(10) * std::max(0.0, n - hold) / (perMs * t.release);
        if (fallen < -60) break;
        ASSERT_NEAR(down[at], compressed(fallen), kTolerance) << "down, " << i;
      }
    }
  }
}

TEST(DynamicsLawTest, TheGainItselfCanBeSmoothed) {
  // The level's attack counts as the gain's, or in "Expand" a rising gain.
  for (const Times& t : kTimes) {
    SCOPED_TRACE(testing::Message() << t.rate << " Hz, " << t.attack << ", " << t.release);
    const int frames = static_cast<int>(t.rate / 4);
    const double perMs = t.rate * 0.001;
    for (const bool expand : {false, true}) {
      PlugRig rig({{"kB1Ratio", 0.75}, {"kB1Shape", 0}, {"kB1Crest", 24}}, t.rate);
      rig.set({{"kLogBehaviour", expand ? 1 : 0}});
      prepare(rig, {{"kB1Attack", t.attack}, {"kB1RelSlow", t.release}});
      const auto gains = gainAfterStep(rig, t.rate, linear(-40), linear(-4), frames);
      const double time = expand ? t.release : t.attack;
      for (std::size_t i = 0; i < gains.size(); i += 5) {
        const double n = static_cast<double>(i) + 1.0;
        ASSERT_NEAR(gains[i], risen(0, -12, n, perMs * time), kTolerance) << i;
      }
    }
  }
}

TEST(DynamicsLawTest, TransientsAreWhatTheSmoothGainMisses) {
  const struct {
    double target, dynamic, transient;
  } cases[] = {{0, 1, 0}, {30, 1, 0.6}, {50, 1, 1}, {80, 0.4, 1}, {100, 0, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.target);
    PlugRig rig;
    prepare(rig, {{"kB1Ratio", 0.75}, {"kB1Target", c.target}, {"kB1Attack", 20}});
    const auto gains = gainAfterStep(rig, 48000, linear(-40), linear(-4), 2000);
    for (std::size_t i = 0; i < gains.size(); ++i) {
      const double n = static_cast<double>(i) + 1.0;
      const double smooth = compressed(decibels(risen(linear(-40), linear(-4), n, 960)));
      // While the smooth gain has not set in there is no direction yet, and downward counts.
      ASSERT_NEAR(gains[i], c.dynamic * smooth + c.transient * (-12 - smooth), kTolerance) << i;
    }
  }
}

TEST(DynamicsLawTest, AFarCryAboveTheMeanIsReleasedFast) {
  constexpr double kRmsMs = 40;
  const double high = linear(-2);
  PlugRig rig({{"kB1Ratio", 0.5}, {"kB1Crest", 6}, {"kB1RMS", kRmsMs}});
  prepare(rig, {{"kB1RelSlow", 2000}, {"kB1RelFast", 10}});
  const auto gains = gainAfterStep(rig, 48000, high, linear(-80), 6000);
  // The power ratio passes 6 when the mean has fallen so far below the all but held envelope.
  const double samples = 48.0 * kRmsMs;
  const double turn =
      (std::log(6.0) / 2.0 - 38.0 * 2.0 / 96000.0) / (1.0 / samples - 2.0 / 96000.0);
  std::size_t steepest = 1;
  while (gains[steepest] - gains[steepest - 1] < 0.005) ++steepest;
  EXPECT_NEAR(static_cast<double>(steepest), turn, 3.0);
  // From there on it keeps that distance from the mean.
  EXPECT_NEAR(gains[steepest + 300] - gains[steepest], 0.5 * 300 * 20 / std::log(10) / samples,
              0.02);
}

/// Levels and gains of left and right under "kB1LR", which the first cases have, else mid and side.
struct ChannelCase {
  const char* what;
  Settings settings;
  Pair in, gains;
};

std::vector<ChannelCase> channelCases(bool leftRight) {
  const double far = linear(-8);    // 2:1 above -20 dB: -6 dB
  const double near = linear(-16);  // -2 dB
  const double gFar = linear(-6);
  const double gNear = linear(-2);
  const double gHalf = (gNear - 1.0) * 0.5 + 1.0;
  const auto ofLevel = [](double level) {
    return linear(-0.5 * std::max(0.0, decibels(level) + 20));
  };
  const Settings apart = {{"kB1SCLR", 1}, {"kB1SCLink", 0}}, right = {{"kB1SCLR", 1}};
  const auto with = [](Settings settings, const char* name, double plain) {
    settings.emplace_back(name, plain);
    return settings;
  };
  if (leftRight) {
    return {
        {"by themselves", apart, {far, -near}, {gFar, gNear}},
        {"linked", right, {far, near}, {gFar, gFar}},
        {"half linked",
         with(right, "kB1SCLink", 50),
         {far, near},
         {gFar, ofLevel((far + near) / 2)}},
        {"only the right is heard", with(right, "kB1SCPos", 100), {far, near}, {gNear, gNear}},
        {"mostly the left", with(apart, "kB1SCPos", 25), {near, far}, {gNear, ofLevel(far / 2)}},
        {"only the left is worked on", {{"kB1Position", 0}}, {near, near}, {gNear, 1}},
        {"the left half", {{"kB1Position", 75}}, {near, near}, {gHalf, gNear}},
    };
  }
  const Settings side = {{"kB1Position", 100}, {"kB1SCLink", 0}};
  return {
      {"by themselves", {{"kB1SCLink", 0}}, {far, near}, {gFar, gNear}},
      {"linked", {}, {near, far}, {gFar, gFar}},
      {"only the side is worked on", side, {far, near}, {1, gNear}},
      {"both are worked on by the mid", {{"kB1SCPos", 0}}, {near, far}, {gNear, gNear}},
      {"the side hears the right", with(side, "kB1SCLR", 1), {far, near}, {1, ofLevel(far - near)}},
  };
}

TEST(DynamicsLawTest, ChannelsAndTheirLinks) {
  for (const bool leftRight : {true, false}) {
    for (const auto& c : channelCases(leftRight)) {
      SCOPED_TRACE(testing::Message() << c.what << (leftRight ? ", left/right" : ", mid/side"));
      PlugRig rig({{"kB1Ratio", 0.5}, {"kB1LR", leftRight ? 1 : 0}});
      prepare(rig, c.settings);
      const Pair in = leftRight ? c.in : Pair{c.in[0] + c.in[1], c.in[0] - c.in[1]};
      Pair out = steady(rig, {in[0], in[1], 0, 0});
      if (!leftRight) out = {(out[0] + out[1]) / 2, (out[0] - out[1]) / 2};
      for (std::size_t i = 0; i < 2; ++i) {
        EXPECT_NEAR(decibels(out[i] / c.in[i]), decibels(c.gains[i]), kTolerance) << i;
      }
    }
  }
}

/// Share of a tone in what comes out at last.
double toneIn(const std::vector<double>& samples, double hz, int frames) {
  double re = 0.0;
  double im = 0.0;
  for (int i = 0; i < frames; ++i) {
    const double x = samples[samples.size() - static_cast<std::size_t>(frames - i)];
    const double angle = 2 * std::numbers::pi * hz * i / 48000.0;
    re += x * std::cos(angle);
    im += x * std::sin(angle);
  }
  return 2.0 * std::hypot(re, im) / frames;
}

TEST(DynamicsLawTest, SourcesOfTheSidechain) {
  // A steady level in the low band, a faint tone in the high one, which alone may change.
  constexpr double kTone = 1e-4;
  constexpr double kHz = 8000;
  const struct {
    const char* what;
    Settings settings;
    double gain;
  } cases[] = {
      {"its own band", {}, 0},
      {"all of the signal", {{"kB2SCSrc", 0}}, -6},
      {"what comes from outside", {{"kB2SCSrc", 2}}, -4},
      {"its neighbour", {{"kB2SCSBand", 0}}, -6},
      {"its neighbour, whatever the source", {{"kB2SCSBand", 0}, {"kB2SCSrc", 2}}, -6},
      {"itself by name", {{"kB2SCSBand", 1}}, 0},
      {"a band that is not there", {{"kB2SCSBand", 4}}, 0},
      {"its neighbour, through a high-pass",
       {{"kB2SCSBand", 0}, {"kB2SCLF", 1}, {"kB2SCLFF", 90}},
       0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PlugRig rig;
    rig.set({{"kB1Frequency", 200}, {"kB2State", 1}, {"kB2Frequency", 5000}, {"kB2Ratio", 0.5}});
    rig.set({{"kB2Lookahead", 0}, {"kB2Threshold", -20}});
    prepare(rig, {{"kB1Type", 0}}, c.settings);
    const auto output = run(rig, 24000, [&](int frame, int pin) {
      if (pin >= 2) return linear(-12);
      return linear(-8) + kTone * std::sin(2 * std::numbers::pi * kHz * frame / 48000.0);
    });
    EXPECT_NEAR(decibels(toneIn(output.channels[0], kHz, 4800) / kTone), c.gain, kTolerance);
    double mean = 0.0;
    for (std::size_t i = 19200; i < 24000; ++i) mean += output.channels[0][i] / 4800;
    EXPECT_NEAR(decibels(mean), -8, kTolerance) << "the low band stays";
  }
}

TEST(DynamicsLawTest, AFilteredSidechainHearsItsRegion) {
  // An analog band-pass of Q 2 at 1 kHz; at 192 kHz the tones' peaks are met well enough.
  for (const double hz : {250.0, 500.0, 1000.0, 2000.0, 4000.0}) {
    SCOPED_TRACE(hz);
    PlugRig rig({}, 192000);
    rig.set({{"kB1Ratio", 0.5}, {"kB1SCSrc", 2}, {"kB1SCMF", 1}, {"kB1SCMFType", 1}});
    rig.set({{"kB1SCMFF", 1000}, {"kB1SCMFQ", 2}, {"kB1SCTrim", 12}, {"kB1Crest", 0}});
    prepare(rig, {{"kB1Lookahead", 10}});
    const auto output = run(rig, 48000, [hz](int frame, int pin) {
      if (pin < 2) return 0.5;
      return linear(-12) * std::sin(2 * std::numbers::pi * hz * frame / 192000.0);
    });
    const double detune = 2.0 * (hz / 1000.0 - 1000.0 / hz);
    const double heard = -10.0 * std::log10(1.0 + detune * detune);
    EXPECT_NEAR(decibels(output.channels[0].back() / 0.5), -0.5 * std::max(0.0, heard + 20),
                kTolerance);
  }
}

TEST(DynamicsLawTest, ListeningLetsOneBeHeard) {
  const double x = linear(-8);
  const double outside = linear(-30);
  const struct {
    const char* what;
    Settings settings;
    double out;
  } cases[] = {
      {"both bands work", {}, x * linear(-6 + 3)},
      {"the first alone", {{"kB1Solo", 1}}, x * linear(-6)},
      {"the second alone", {{"kB2Solo", 1}}, x * linear(3)},
      {"both alone", {{"kB1Solo", 1}, {"kB2Solo", 1}}, x * linear(-6 + 3)},
      {"a band that is off does not count", {{"kB3Solo", 1}}, x * linear(-6 + 3)},
      {"the first's sidechain", {{"kSCListen", 0}, {"kB1SCTrim", 4}}, x * linear(4)},
      {"the second's sidechain, from outside", {{"kSCListen", 1}, {"kB2SCSrc", 2}}, outside},
      {"that goes before solo", {{"kSCListen", 1}, {"kB2SCSrc", 2}, {"kB1Solo", 1}}, outside},
      {"the difference a soloed band makes", {{"kB2Solo", 1}, {"kListen", 1}}, x * linear(3) - x},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PlugRig rig({{"kB1Ratio", 0.5}, {"kB2State", 1}, {"kB2Type", 1}, {"kB2SubType", 7}});
    rig.set({{"kB2Lookahead", 0}, {"kB2Gain", 3}});
    const Pair out = steady(prepare(rig, c.settings), {x, x, outside, outside});
    for (const double sample : out) EXPECT_NEAR(decibels(sample / c.out), 0.0, kTolerance);
  }
}

}  // namespace
