// Whatever changes about the chain, nobody hears audio of a while ago, nor a gap in what stays.

#include <gtest/gtest.h>

#include <algorithm>
#include <cfenv>
#include <cmath>
#include <random>
#include <vector>

#include "tests/core/plug_rig.h"

namespace {

/// A host that keeps changing its mind about the chain, its channels and its blocks.
struct Wanderer {
  int below(int end) { return static_cast<int>(random() % static_cast<unsigned>(end)); }

  /// Plays `frames` of noise, or of silence; the loudest that comes out or that a detector hears.
  double play(bool loud, int frames) {
    double peak = 0.0;
    for (int done = 0; done < frames;) {
      const int block = 1 + below(below(4) == 0 ? 3000 : 200);
      peak = std::max(peak, playBlock(loud, block));
      done += block;
    }
    return peak;
  }
  double playBlock(bool loud, int block) {
    std::vector<double> sound(4 * static_cast<std::size_t>(block));
    for (double& x : sound) x = loud ? below(2001) * 1e-3 - 1.0 : 0.0;
    double* const start = sound.data();
    double* const right = mono ? nullptr : start + block;
    std::array<double*, 4> in = {start, start + block, start + 2 * block, start + 3 * block};
    if (mono) in[2] = in[3] = nullptr;
    if (!loud && below(2) == 0) in[mono ? 1U : 2U + random() % 2] = nullptr;
    std::array<double*, 2> out = {start, right};
    process(rig.plug, in.data(), out.data(), block);
    double peak = 0.0;
    for (int i = 0; i < (mono ? block : 2 * block); ++i) peak = std::max(peak, std::abs(start[i]));
    for (int band = 0; band < 8; ++band) {
      const double heard = rig.plug.getBandEnvelope(band);
      if (heard > 1e-6) peak = std::max(peak, heard);  // more than what a release leaves
    }
    return peak;
  }

  /// Changes one thing; half of the bands hear the external sidechain, and all let go of it soon.
  void change() {
    const int band = below(4);  // few, so that they often come back
    const int what = below(12);
    if (what == 0) rig.plug.addBand(below(3), 60.0 * std::pow(2.2, below(8)));
    if (what == 1) rig.plug.deleteBand(band);
    if (what == 2) rig.plug.switchBank(below(3));
    if (what == 3) rig.set({{"kOversample", below(3)}});
    if (what == 4) rig.set(bandParameterId(band, kB1SubType), below(2) == 0 ? kFlat : kBandPass);
    if (what == 5 || what == 6) mono = !mono;
    if (what > 6) rig.plug.setBandPosition(band, below(3));
    rig.set({{"kWetDry", 50}});  // so that both paths are heard
    for (int each = 0; each < 8; ++each) {
      const auto set = [&](int row, double plain) { rig.set(bandParameterId(each, row), plain); };
      set(kB1SCSrc, each % 2 == 0 ? 2 : 1);
      set(kB1SCLF, 1);
      set(kB1SCLFF, 200);
      set(kB1Lookahead, each % 3);
      for (const int release : {kB1RelFast, kB1RelSlow}) set(release, 1);
    }
  }

  PlugRig rig;
  std::mt19937 random{3};
  bool mono = false;
};

TEST(OldAudioTest, IsNotHeardAgainHoweverTheChainChanges) {
  constexpr int kLongest = 20000;  // samples in which silence goes through any chain here
  Wanderer wanderer;
  for (int round = 0; round < 25 && !testing::Test::HasFailure(); ++round) {
    for (int i = 0; i < 4; ++i) {
      wanderer.play(true, 1500);
      wanderer.change();
    }
    wanderer.play(false, kLongest);
    for (int i = 0; i < 7; ++i) {
      EXPECT_LT(wanderer.play(false, i == 0 ? 1 : 3000), 1e-12) << round << ", change " << i;
      wanderer.change();
    }
  }
}

/// Bands come and go about band 1, a crossover band. Those beside the crossover are flat and late
/// by nothing, so that the delay of the whole stays.
void rearrange(Wanderer& host) {
  const int list = host.below(4);
  if (host.below(3) == 0) host.rig.plug.addBand(list, 60.0 * std::pow(2.0, host.below(8)));
  host.rig.plug.setBandPosition(1 + host.below(7), list);
  for (int other = 1; other < 8; ++other) {
    const bool crossover = host.rig.plug.getPlainValue(bandParameterId(other, kB1Type)) == 0.0F;
    host.rig.set(bandParameterId(other, kB1SubType), kFlat);
    host.rig.set(bandParameterId(other, kB1Lookahead), crossover ? 10 : 0);
  }
}

TEST(OldAudioTest, WhatStaysGoesOnWithoutAGap) {
  constexpr std::size_t kLatency = 1535 + 480;
  constexpr std::size_t kBlock = 100;
  const struct {
    const char* what;
    PlugRig::Settings settings;
    std::size_t heard;  // channel of the input; the sidechain has them the other way round
  } cases[] = {{"dry", {{"kBypass", 1}}, 0},
               {"the chain's signal in a sidechain", {{"kSCListen", 0}, {"kB1SCSrc", 0}}, 0},
               {"an external sidechain", {{"kSCListen", 0}, {"kB1SCSrc", 2}}, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Wanderer host;
    host.rig.set(c.settings);
    host.rig.plug.resume();
    auto [left, right] = noise<double>(60000).channels;
    std::fill(right.begin() + 40000, right.end(), 0.0);
    for (std::size_t at = 0; at < left.size(); at += kBlock) {
      if (at % 700 == 0) rearrange(host);
      std::vector<double> sound(2 * kBlock);
      std::array<double*, 4> in = {&left[at], &right[at], &right[at], &left[at]};
      if (at >= 40000) in[2] = in[3] = nullptr;
      std::array<double*, 2> out = {sound.data(), sound.data() + kBlock};
      process(host.rig.plug, in.data(), out.data(), kBlock);
      for (std::size_t i = at; i < at + kBlock; ++i) {
        const double wanted = i < kLatency ? 0.0 : (c.heard == 0 ? left : right)[i - kLatency];
        ASSERT_NEAR(sound[i - at], wanted, 1e-13) << "sample " << i;
      }
    }
  }
}

// An impulse on its way through a band in front of the crossover, then through the crossover.
TEST(OldAudioTest, OnlyTheBandThatMovesStartsFromSilence) {
  constexpr int kStage = 1024 + 480;
  constexpr int kCrossover = 1535 + 480;
  for (const int move : {1000, kStage + 1000}) {
    PlugRig rig({{"kB1Type", 1}, {"kB2State", 1}, {"kBypass", 1}});
    Stereo<double> input(3 * kStage + kCrossover);
    input.channels[0][0] = 1.0;
    const auto output = render(rig.plug, input, 8, [&](int frame) {
      if (frame == move) rig.plug.setBandPosition(0, 2);
    });
    for (std::size_t i = 0; i < output.channels[0].size(); ++i) {
      const bool heard = move > kStage && i == 2 * kStage + kCrossover;
      ASSERT_EQ(output.channels[0][i], heard ? 1.0 : 0.0) << i;
    }
  }
}

TEST(OldAudioTest, SilenceEndsAtZeroAndNotAmongTheDenormals) {
  PlugRig rig({{"kB1Threshold", -40}, {"kB1Ratio", 1}, {"kB1Lookahead", 0}}, 8000.0);
  rig.plug.setMeterDecay(97);
  rig.set({{"kOversample", 1}, {"kB1SCLF", 1}, {"kB1RelSlow", 50}, {"kB1RelFast", 20}});
  render(rig.plug, noise<double>(8000), 200);
  render(rig.plug, Stereo<double>(60 * 8000), 200);
  std::feclearexcept(FE_UNDERFLOW);
  render(rig.plug, Stereo<double>(200), 200);
  EXPECT_EQ(std::fetestexcept(FE_UNDERFLOW), 0);
}

}  // namespace
