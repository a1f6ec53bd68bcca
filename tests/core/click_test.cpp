// What must not be heard when it moves, and how what may be heard moves.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

/// Two dynamic EQ bands, three crossover bands and one more dynamic EQ band; two bands are off.
constexpr int kOn = 6;

const std::string kChain =
    "B1Type=1 B1Frequency=150 B2Type=1 B2State=1 B3Frequency=120 B4Frequency=900 B5Frequency=6000 "
    "B3State=1 B4State=1 B5State=1 B6Type=1 B6SubType=5 B6State=1 ";

template <typename Disturb>
Stereo<double> renderDisturbed(PlugRig& rig, const Stereo<double>& input, int block,
                               Disturb disturb) {
  std::mt19937 random(1);
  Disturbance disturbance([&](int /*step*/) { disturb(random); });
  auto output = render(rig.plug, input, block);
  EXPECT_GT(disturbance.end(), 20);
  return output;
}

int below(std::mt19937& random, int end) {
  return static_cast<int>(random() % static_cast<unsigned>(end));
}

float share(std::mt19937& random) { return static_cast<float>(below(random, 1001)) * 0.001F; }

/// Rows that a band without a ratio and without a gain lets through, if only as another delay.
constexpr int kHeard[] = {kB1State, kB1Type,    kB1Solo,      kB1Ratio,
                          kB1Gain,  kB1DryGain, kB1Lookahead, kB1RatioB};
constexpr int kUnheardGlobals[] = {kWetDry,         kBypass,         kOversampleOL, kLogBehaviour,
                                   kExtendedRanges, kExtendedRatios, kAutoGain};

void turnUnheard(PlugRig& rig, std::mt19937& random) {
  const float value = share(random);
  if (below(random, 8) == 0) {
    rig.plug.setParameter(kUnheardGlobals[random() % std::size(kUnheardGlobals)], value);
    return;
  }
  const int row = kB1State + below(random, kB1SCHFType - kB1State + 1);
  if (std::ranges::find(kHeard, row) != std::end(kHeard)) return;
  const int index = bandParameterId(below(random, kNumBands), row);
  if (row == kB1SubType) {
    rig.set(index, below(random, kFlat));
  } else {
    rig.plug.setParameterAutomated(index, value);
  }
}

TEST(ClickTest, WhatHasNothingToDoIsNotHeardWhateverMoves) {
  PlugRig rig;
  rig.setText(kChain);
  rig.plug.resume();
  const std::size_t latency = latencyOf(rig);
  const auto input = noise<double>(96000);
  const auto output =
      renderDisturbed(rig, input, 64, [&rig](std::mt19937& random) { turnUnheard(rig, random); });
  EXPECT_LT(deviation(input, output, latency), 1e-13);
}

TEST(ClickTest, WetAndDryAddUpWhileTheyMove) {
  for (const int block : {64, 1024}) {
    SCOPED_TRACE(block);
    PlugRig rig({{"kB1State", 0}});
    rig.clockStep = 0;
    const auto input = noise<double>(block * 4000);
    const auto output = renderDisturbed(rig, input, block, [&rig](std::mt19937& random) {
      rig.plug.setParameter(below(random, 4) == 0 ? kBypass : kWetDry, share(random));
    });
    EXPECT_LT(deviation(input, output, 0), 1e-13);
  }
}

/// All bands at work on the gain, their sidechains filtered.
void setWork(PlugRig& rig) {
  std::string work = kChain;
  for (int band = 1; band <= kOn; ++band) {
    std::istringstream rows(
        "Threshold=-30 Ratio=.5 RatioB=-.3 Gain=3 SCTrim=2 SCMF=1 SCMFG=6 SCLFF=300");
    for (std::string row; rows >> row;) work += "B" + std::to_string(band) + row + ' ';
  }
  rig.setText(work + "B2SCLF=1 B4SCLF=1 B6SCLF=1");
}

/// Writes again what is there; the filters that are off, and bands that are, anywhere else.
void repeatOne(PlugRig& rig, std::mt19937& random) {
  Plug& plug = rig.plug;
  const int index = below(random, kNumParams);
  plug.setParameter(index, plug.getParameter(index));
  const int off[] = {bandParameterId(below(random, kOn), kB1SCHFF),
                     bandParameterId(below(random, kOn), kB1SCHFSlope),
                     bandParameterId(below(random, kOn), kB1SCHFQ),
                     bandParameterId(2 * below(random, kOn / 2), kB1SCLFF),
                     bandParameterId(below(random, kOn), kB1SCLFG),  // of a pass filter
                     bandParameterId(kOn, kB1Frequency),
                     bandParameterId(kOn + 1, kB1SCMFF),
                     bandParameterId(kOn, kB1Solo),
                     bandParameterId(kOn + 1, kB1Lookahead)};
  plug.setParameterAutomated(off[random() % std::size(off)], share(random));
  if (below(random, 10) == 0) plug.updateDsp(true);
  if (below(random, 10) == 0) plug.onIdle();
}

TEST(ClickTest, EqualValuesAndEqualDesignsChangeNoBit) {
  std::array<PlugRig, 2> rigs;
  for (PlugRig& rig : rigs) {
    setWork(rig);
    // A default goes through its knob's curve when it is written, which may round it.
    for (int id = 0; id < kNumParams; ++id) rig.plug.setParameter(id, rig.plug.getParameter(id));
    rig.plug.resume();
  }
  const auto input = noise<double>(96000);
  const auto alone = render(rigs[0].plug, input, 64);
  const auto disturbed = renderDisturbed(
      rigs[1], input, 64, [&rigs](std::mt19937& random) { repeatOne(rigs[1], random); });
  for (std::size_t c = 0; c < 2; ++c) {
    const auto& a = alone.channels[c];
    const auto& b = disturbed.channels[c];
    const auto differs = std::mismatch(a.begin(), a.end(), b.begin()).first;
    EXPECT_EQ(differs - a.begin(), 96000) << "the first sample that differs";
  }
}

/// The largest fourth difference from sample `from` on: what a step leaves of a smooth signal.
double roughness(std::vector<double> signal, std::size_t from) {
  for (int order = 0; order < 4; ++order) {
    for (std::size_t i = signal.size() - 1; i > 0; --i) signal[i] -= signal[i - 1];
  }
  double worst = 0.0;
  for (std::size_t i = from; i < signal.size(); ++i) worst = std::max(worst, std::abs(signal[i]));
  return worst;
}

/// A band of +6 dB whose frequency moves about the tone that goes through it.
struct Glide {
  const char* what;
  int band;  // the upper of two crossover bands, or the first as a dynamic EQ band
  int shape;
  double from, to, tone;  // Hz
};

/// What a rig of `glide` makes of its tone: with the band standing at `hertz`, or, where that is 0,
/// moving to and fro between its ends, with a new design before every `every`th frame.
std::vector<double> played(const Glide& glide, double hertz, int every = 64) {
  PlugRig rig({{"kB1Lookahead", 0}, {"kB2Lookahead", 0}, {"kB1Frequency", 100}});
  const auto id = [&glide](int row) { return bandParameterId(glide.band, row); };
  rig.set(id(kB1Type), glide.band == 0 ? 1 : 0);
  rig.set(id(kB1SubType), glide.shape);
  rig.set(id(kB1Gain), 6);
  rig.set(id(kB1State), 1);
  rig.set(id(kB1Frequency), hertz > 0.0 ? hertz : glide.from);
  rig.plug.resume();
  Stereo<double> input(48000);
  for (int i = 0; double& x : input.channels[0]) {
    x = std::sin(2.0 * std::numbers::pi * glide.tone * i++ / 48000.0);
  }
  const auto output = render(rig.plug, input, 64, [&](int frame) {
    if (hertz > 0.0 || frame % every != 0) return;
    const double share = 0.5 - 0.5 * std::cos(frame * 1e-3);
    rig.set(id(kB1Frequency), glide.from * std::pow(glide.to / glide.from, share));
  });
  return output.channels[0];
}

TEST(ClickTest, ABandThatMovesGlides) {
  const Glide cases[] = {{"a band-pass", 0, kBandPass, 200, 400, 300},
                         {"a low-pass", 0, kLowPass, 200, 400, 300},
                         {"a high-pass", 0, kHighPass, 200, 400, 300},
                         {"a crossover band", 1, kBandPass, 400, 1600, 300}};
  constexpr std::size_t kSettled = 9000;
  constexpr double kMost = 20.0;  // times the roughness at rest; by far the most is 8
  for (const Glide& glide : cases) {
    SCOPED_TRACE(glide.what);
    const auto low = played(glide, glide.from);
    const auto high = played(glide, glide.from * std::pow(glide.to / glide.from, 0.05));
    const double atRest = std::max(roughness(low, kSettled), roughness(high, kSettled));
    for (const int every : {64, 512, 4096}) {
      EXPECT_LT(roughness(played(glide, 0.0, every), kSettled), kMost * atRest) << every;
    }
    // What steps from one standing band to another, a twentieth of the way apart, is seen.
    auto cut = low;
    for (std::size_t i = 0; i < cut.size(); ++i) cut[i] = i / 512 % 2 == 0 ? low[i] : high[i];
    EXPECT_GT(roughness(cut, kSettled), 100.0 * kMost * atRest);
  }
}

}  // namespace
