// What must not be heard when it moves, and how what may be heard moves.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

using Random = std::mt19937;

int below(Random& random, int end) {
  return static_cast<int>(random() % static_cast<unsigned>(end));
}
float share(Random& random) { return static_cast<float>(below(random, 1001)) * 0.001F; }

#ifdef NDEBUG
constexpr int kFrames = 96000;
#else
constexpr int kFrames = 24000;  // where sanitizers take their time
#endif

/// Two dynamic EQ bands, three crossover bands and one more dynamic EQ band; two bands are off.
constexpr int kOn = 6;
const std::string kChain =
    "B1Type=1 B1Frequency=150 B2Type=1 B2State=1 B3Frequency=120 B4Frequency=900 B5Frequency=6000 "
    "B3State=1 B4State=1 B5State=1 B6Type=1 B6SubType=5 B6State=1 ";

/// What a band without a ratio and without a gain lets through, if only as another delay.
constexpr std::array kHeard = {kB1State, kB1Type,    kB1Solo,      kB1Ratio,
                               kB1Gain,  kB1DryGain, kB1Lookahead, kB1RatioB};
constexpr std::array kUnheardGlobals = {kWetDry,         kBypass,         kOversampleOL, kAutoGain,
                                        kExtendedRanges, kExtendedRatios, kLogBehaviour};

void turnUnheard(PlugRig& rig, Random& random) {
  const float value = share(random);
  const int row = kB1State + below(random, kBandRows);
  const int index = bandParameterId(below(random, kNumBands), row);
  if (below(random, 8) == 0) {
    rig.plug.setParameter(kUnheardGlobals[random() % kUnheardGlobals.size()], value);
  } else if (row == kB1SubType) {
    rig.set(index, below(random, kFlat));
  } else if (std::ranges::find(kHeard, row) == kHeard.end()) {
    rig.plug.setParameterAutomated(index, value);
  }
}

void turnMix(PlugRig& rig, Random& random) {
  rig.plug.setParameter(below(random, 4) == 0 ? kBypass : kWetDry, share(random));
}

void moveFilter(PlugRig& rig, Random& random) {
  const int band = below(random, kOn);
  const double spread = 1.0 + below(random, 1000) / 2000.0;
  const double centres[] = {500, 500, 120, 900, 6000, 500, 500, 500};
  const double centre = centres[band];
  const std::pair<int, double> moves[] = {{kB1Frequency, centre * spread},
                                          {kB1Slope, 6.0 * (1 + below(random, 16))},
                                          {kB1Slope2, 6.0 * (1 + below(random, 16))},
                                          {kB1Q, 0.2 * spread * spread}};
  const auto& [row, plain] = moves[random() % 4];
  rig.set(bandParameterId(band, row), plain);
  if (band < 2 || band > 4) rig.set(bandParameterId(band, kB1SubType), below(random, kFlat));
}

/// Bands come and go about band 1, a crossover band. Those beside the crossover are flat and late
/// by nothing, so that the delay of the whole stays.
void rearrange(PlugRig& rig, Random& random) {
  if (below(random, 7) != 0) return;
  const int list = below(random, 4);
  if (below(random, 3) == 0) rig.plug.addBand(list, 60.0 * std::pow(2.0, below(random, 8)));
  rig.plug.setBandPosition(1 + below(random, 7), list);
  for (int other = 1; other < kNumBands; ++other) {
    const bool crossover = rig.plug.getPlainValue(bandParameterId(other, kB1Type)) == 0.0F;
    rig.set(bandParameterId(other, kB1SubType), kFlat);
    rig.set(bandParameterId(other, kB1Lookahead), crossover ? 10 : 0);
  }
}

/// Writes again what is there; what is off goes anywhere else.
void repeatOne(PlugRig& rig, Random& random) {
  const int index = below(random, kNumParams);
  rig.plug.setParameter(index, rig.plug.getParameter(index));
  const int band = below(random, kNumBands);
  const int rows[] = {kB1SCHFF, kB1SCHFSlope, kB1SCHFQ, kB1SCLFG};  // the last of a pass filter
  const int row = band < kOn ? rows[random() % 4] : kB1Bypass + below(random, kBandRows - 1);
  rig.plug.setParameterAutomated(bandParameterId(band, row), share(random));
  if (below(random, 10) == 0) rig.plug.updateDsp(true);
}

/// All of the chain's bands at work on the gain, their sidechains filtered.
std::string working() {
  std::string all = kChain;
  for (int band = 1; band <= kOn; ++band) {
    all += ofBand(band,
                  "Threshold=-30 Ratio=.5 RatioB=-.3 Gain=3 SCTrim=2 SCMF=1 SCMFG=6 "
                  "SCLFF=300 SCLF=" +
                      std::to_string(band % 2));
  }
  return all;
}

enum class Heard { kInput, kSidechain, kSameAsUndisturbed };

const struct Unheard {
  std::string settings;
  void (*move)(PlugRig&, Random&);
  bool elsewhere;  // also from another thread
  Heard heard;
} kUnheard[] = {{kChain, turnUnheard, true, Heard::kInput},
                {kChain, moveFilter, true, Heard::kInput},
                {"B1State=0", turnMix, true, Heard::kInput},
                {working(), repeatOne, true, Heard::kSameAsUndisturbed},
                {"Bypass=1", rearrange, false, Heard::kInput},
                {"SCListen=0 B1SCSrc=0", rearrange, false, Heard::kInput},
                {"SCListen=0 B1SCSrc=2", rearrange, false, Heard::kSidechain}};

/// Whether nothing is heard of a case's moves, which come between blocks or at any time. By the
/// clock many redesigns have to wait.
void expectUnheard(const Unheard& c, std::int64_t clockStep, bool elsewhere) {
  SCOPED_TRACE(testing::Message() << c.settings << (elsewhere ? " elsewhere " : " ") << clockStep);
  const bool itself = c.heard == Heard::kSameAsUndisturbed;
  PlugRig rig, alone;
  for (PlugRig* const each : {&rig, &alone}) {
    each->setText(c.settings);
    // A default goes through its knob's curve when it is written, which may round it.
    for (int id = 0; itself && id < kNumParams; ++id) {
      each->plug.setParameter(id, each->plug.getParameter(id));
    }
    each->plug.resume();
    each->clockStep = clockStep;
  }
  const std::size_t latency = latencyOf(rig);
  const auto input = noise<double>(kFrames);
  const auto undisturbed = itself ? render(alone.plug, input, 96) : input;
  auto side = input;
  std::ranges::reverse(side.channels);
  Random random(7);
  std::optional<Disturbance> other;
  if (elsewhere) other.emplace([&](int /*step*/) { c.move(rig, random); });
  const auto between = [&](int frame) {
    if (elsewhere) return other->await(24 * frame / kFrames);
    rig.plug.onIdle();
    c.move(rig, random);
  };
  const auto output = render(rig.plug, input, 96, between, &side);
  other.reset();
  EXPECT_EQ(latencyOf(rig), latency);
  const auto& wanted = c.heard == Heard::kSidechain ? side : undisturbed;
  EXPECT_LE(deviation(wanted, output, itself ? 0 : latency), itself ? 0.0 : 5e-14);
}

TEST(ClickTest, WhatMustNotBeHeardIsNotWhateverMoves) {
  for (const Unheard& c : kUnheard) {
    for (const std::int64_t clockStep : {100, 15, 0}) expectUnheard(c, clockStep, false);
  }
}

TEST(ClickThreadsTest, WhatMustNotBeHeardIsNotWheneverItMoves) {
  for (const Unheard& c : kUnheard) {
    if (c.elsewhere) expectUnheard(c, c.move == turnMix ? 0 : 100, true);
  }
}

/// A band of +6 dB whose frequency moves about the tone that goes through it.
struct Glide {
  const char* settings;
  int frequency;
  double from, to;
};

/// The largest fourth difference, which shows steps, of a tone through a band that stands at
/// `hertz`, or, where that is 0, moves to and fro between its ends before every `every`th frame.
double roughness(const Glide& glide, double hertz, int every = 64) {
  PlugRig rig;
  rig.setText(std::string("B1Lookahead=0 B2Lookahead=0 B1Frequency=100 ") + glide.settings);
  rig.set(glide.frequency, hertz > 0.0 ? hertz : glide.from);
  rig.plug.resume();
  auto signal = render(rig.plug, tone(1.0, 300.0, 48000), 64, [&](int frame) {
                  if (hertz > 0.0 || frame % every != 0) return;
                  const double share = 0.5 - 0.5 * std::cos(frame * 1e-3);
                  rig.set(glide.frequency, glide.from * std::pow(glide.to / glide.from, share));
                }).channels[0];
  for (int order = 0; order < 4; ++order) {
    for (std::size_t i = signal.size() - 1; i > 0; --i) signal[i] -= signal[i - 1];
  }
  double worst = 0.0;
  for (std::size_t i = 9000; i < signal.size(); ++i) worst = std::max(worst, std::abs(signal[i]));
  return worst;
}

TEST(ClickTest, ABandThatMovesGlides) {
  const Glide cases[] = {{"B1Type=1 B1Gain=6 B1SubType=0", kB1Frequency, 200, 400},
                         {"B1Type=1 B1Gain=6 B1SubType=3", kB1Frequency, 200, 400},
                         {"B1Type=1 B1Gain=6 B1SubType=5", kB1Frequency, 200, 400},
                         {"B2State=1 B2Gain=6", bandParameterId(1, kB1Frequency), 400, 1600}};
  constexpr double kMost = 20.0;  // times the roughness at rest; by far the most is 8
  for (const Glide& glide : cases) {
    const double high = glide.from * std::pow(glide.to / glide.from, 0.05);
    const double atRest = std::max(roughness(glide, glide.from), roughness(glide, high));
    for (const int every : {64, 512, 4096}) {
      EXPECT_LT(roughness(glide, 0.0, every), kMost * atRest) << glide.settings << ' ' << every;
    }
  }
}

}  // namespace
