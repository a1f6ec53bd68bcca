#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "dynamics/band_meters.h"
#include "dynamics/loudness_meter.h"
#include "dynamics/meter_peaks.h"
#include "dynamics/output_levels.h"
#include "dynamics/output_peak.h"
#include "tests/support/known_numbers.h"
#include "tests/support/real_time.h"

namespace {

// Selectors are reduction left, right, left, right, input and output. The numbers were compared
// with the furthest value of the channel since the last call when they were recorded.
TEST(MeterPeaksTest, EachSelectorReadsTheFurthestValueOfItsChannelSinceItsLastCall) {
  KnownNumbers known(TEST_DATA "/meters.txt");
  std::mt19937 random;
  std::uniform_real_distribution<double> gain(0.0, 4.0);
  MeterPeaks peaks;
  GainReductionReader own(peaks), another(peaks);
  for (int block = 0; block < 340; ++block) {
    const std::size_t frames = 1 + random() % 2000;
    for (const int channel : {0, 1}) {
      std::vector<double> input(frames), output(frames);
      std::vector<float> reduction(frames);
      for (std::size_t i = 0; i < frames; ++i) {
        reduction[i] = static_cast<float>(random() % 500 == 0 ? 0.0 : 0.2 + gain(random));
        input[i] = 20 - 10 * gain(random);
        output[i] = 20 - 10 * gain(random);
      }
      const auto count = static_cast<int>(frames);
      peaks.writeInput(channel, random() % 3 == 0 ? nullptr : input.data(), count);
      peaks.writeReduction(channel, reduction.data(), count);
      peaks.writeOutput(channel, output.data(), count);
    }
    peaks.endBlock();
    if (block == 330) peaks.reset();
    std::vector<double> shown;
    for (int s = -1; s <= 8; ++s) {
      if (random() % 4 != 0) shown.push_back(own.getGainReduction(s));
    }
    known.expect(std::to_string(block), shown);
    // Who takes each peak at once leaves it to the others, and hears of none from before its time.
    for (int s = 0; s < 8; ++s) static_cast<void>(another.getGainReduction(s));
    EXPECT_EQ(GainReductionReader(peaks).getGainReduction(block % 8), 1.0);
  }
}

TEST(BandMetersTest, ShowBothChannelsWeightedPeaksAndDecayThem) {
  KnownNumbers known(TEST_DATA "/band_meters.txt");
  std::mt19937 random(2);
  std::uniform_real_distribution<double> db(-20.0, 20.0);
  BandMeters meter;
  for (int block = 0; block < 60; ++block) {
    for (const std::size_t c : {0U, 1U})
      meter.dynPeak[c] = db(random), meter.tranPeak[c] = db(random);
    meter.envPeak = std::abs(db(random));
    meter.fastLamp = 0.01 * block;
    meter.slowLamp = 1.0 - 0.001 * block;
    const BandMeters::Peaks weights = {std::abs(db(random)) / 20, std::abs(db(random)) / 20};
    meter.endBlock(weights, std::array{0.0, 0.25, 1.0}[random() % 3]);
    if (block == 59) meter.reset();
    std::vector<double> shown;
    for (int parts = 0; parts < 4; ++parts) {
      for (const int c : {0, 1}) shown.push_back(meter.shownGain(parts, c));
    }
    shown.insert(shown.end(), {meter.graphGain(), meter.shownEnv(), meter.lamp(true),
                               meter.lamp(false), meter.envPeak, meter.fastLamp, meter.slowLamp});
    for (const BandMeters::Peaks* p : {&meter.dynPeak, &meter.tranPeak}) {
      shown.insert(shown.end(), p->begin(), p->end());
    }
    known.expect(std::to_string(block), shown);
  }
}

/// A block of a channel, at times with what is no number.
std::vector<float> randomBlock(std::mt19937& random) {
  std::normal_distribution<float> normal(0.0F, random() % 3 == 0 ? 1e-9F : 1.0F);
  std::vector<float> block(200);
  for (float& x : block) x = normal(random);
  if (random() % 10 == 0) block[50] = std::numeric_limits<float>::infinity();
  if (random() % 10 == 0) block[60] = std::numeric_limits<float>::quiet_NaN();
  return block;
}

// The numbers were compared with the definitions of the ballistics when they were recorded.
TEST(OutputPeakTest, FollowsEachChannelByItsBallisticAtEveryRate) {
  KnownNumbers known(TEST_DATA "/output_peaks.txt");
  std::mt19937 random(3);
  OutputPeak meter;
  for (int block = 0; block < 360; ++block) {
    const int choice = block / 10 % 6 - 1;  // an unknown one is digital
    const int rate = block / 60 % 2 == 0 ? 44100 : 96000;
    meter.setBallistic(choice, rate);
    if (block % 70 == 69) meter.reset();
    const int channels = random() % 5 == 0 ? 1 : 2;
    const std::vector<float> narrow[2] = {randomBlock(random), randomBlock(random)};
    std::vector<double> wide[2];
    const float* narrowPointers[2] = {};  // a missing signal leaves its channel
    const double* widePointers[2] = {};
    for (int c = 0; c < channels; ++c) {
      wide[c].assign(narrow[c].begin(), narrow[c].end());
      if (random() % 6 == 0) continue;
      narrowPointers[c] = narrow[c].data();
      widePointers[c] = wide[c].data();
    }
    block % 2 == 0 ? meter.follow(narrowPointers, channels, 200)
                   : meter.follow(widePointers, channels, 200);
    known.expect(std::to_string(block) + ", ballistic " + std::to_string(choice) + " at " +
                     std::to_string(rate),
                 {meter.peak(0), meter.peak(1)});
    for (const int bad : {-1, 2}) EXPECT_EQ(meter.peak(bad), 0.0);
  }
}

using Signal = std::vector<double>;

Signal sine(double hz, double rate, double seconds, double level) {
  Signal out(static_cast<std::size_t>(rate * seconds));
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i] = level * std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(i) / rate);
  }
  return out;
}

// Measurements begin and end at any moment, between the two sides of a block too. The numbers were
// compared with tables 1 and 2 of ITU-R BS.1770 when they were recorded.
TEST(LoudnessMeterTest, WeighsEachChannelAndSideThroughAllStarts) {
  KnownNumbers known(TEST_DATA "/loudness.txt");
  std::mt19937 random;
  LoudnessMeter meter;
  meter.setSampleRate(48000.0);
  bool measuring = false;
  const auto toggle = [&] {
    if (random() % 12 == 0) meter.setMeasuring(measuring = random() % 3 != 0);
  };
  for (int block = 0; block < 300; ++block) {
    const int channels = random() % 4 == 0 ? 1 : 2;
    const double seconds = static_cast<double>(random() % 300) / 48000.0;
    for (const bool dry : {true, false}) {
      toggle();
      std::array<Signal, 2> signal;
      for (Signal& s : signal) {
        const double hz = std::array{30.0, 60.0, 200.0, 1000.0, 4000.0, 15000.0}[random() % 6];
        s = sine(hz, 48000.0, seconds, static_cast<double>(1 + random() % 100) / 50.0);
      }
      const double* const right = channels == 1 ? nullptr : signal[1].data();
      const auto frames = static_cast<int>(signal[0].size());
      inRealTime([&] { meter.measure(signal[0].data(), right, dry, frames, channels); });
    }
    toggle();
    ASSERT_EQ(meter.measuring(), measuring);
    const auto result = meter.result();
    known.expect(std::to_string(block) + (measuring ? ", on" : ", off"),
                 {static_cast<double>(result.dryCount), static_cast<double>(result.wetCount),
                  result.dryMeanSquare, result.wetMeanSquare});
  }
}

TEST(LoudnessMeterTest, MeetsTheStandardsReferenceToneAtEveryRateAndEndsInSilence) {
  for (const double rate : {4000.0, 44100.0, 48000.0, 96000.0, 192000.0}) {
    SCOPED_TRACE(rate);
    LoudnessMeter meter;
    meter.setSampleRate(rate);
    meter.setMeasuring(true);
    constexpr double kSeconds = 4.0;
    const auto measure = [&](const Signal& left, const Signal& right) {
      for (const bool dry : {true, false}) {
        inRealTime([&] {
          meter.measure(left.data(), right.data(), dry, static_cast<int>(left.size()), 2);
        });
      }
      return meter.result().wetMeanSquare;
    };
    if (rate == 4000.0) {
      EXPECT_GT(measure(Signal(64, 1e-40), Signal(64)), 0.0);
      EXPECT_EQ(measure(Signal(4'000'000), Signal(4'000'000)), 0.0) << "no denormal is left";
      continue;
    }
    // A full-scale sine at 997 Hz in one channel is -3.01 LKFS; the mean has come this far. The
    // high-pass is not normalised: its gain moves by 0.04 dB over the rates.
    const double share = 1.0 - std::exp(-2.0 * kSeconds / 45.0);
    const auto tone = sine(997.0, rate, kSeconds, 1.0);
    EXPECT_NEAR(10 * std::log10(measure(tone, Signal(tone.size())) / share) - 0.691, -3.01, 0.04);
    EXPECT_EQ(meter.result().dryCount, static_cast<int>(rate * kSeconds));
  }
}

TEST(OutputLevelsTest, AreThoseOfTheStandardsReferenceToneForWhoeverAsks) {
  for (const double rate : {44100.0, 48000.0, 96000.0, 192000.0}) {
    SCOPED_TRACE(rate);
    OutputFeed feed;
    feed.setSampleRate(rate);
    feed.reset();
    OutputLevels often(feed), late(feed);
    const auto play = [&](const Signal& left, int channels, bool both = false) {
      for (std::size_t at = 0; at < left.size(); at += 441) {
        const std::size_t frames = std::min<std::size_t>(441, left.size() - at);
        const double* const signals[] = {left.data() + at, both ? left.data() + at : nullptr};
        inRealTime([&] { feed.write(signals, channels, static_cast<int>(frames)); });
        often.update();
      }
    };
    const auto expect = [&](double rms, double lufs) {
      late.update();
      for (const OutputLevels* levels : {&often, &late}) {
        EXPECT_NEAR(levels->rms(0), rms, 2e-4);
        EXPECT_EQ(levels->rms(1) + levels->rms(2) + levels->rms(-1), 0.0);
        EXPECT_TRUE(lufs == levels->momentaryLufs() ||
                    std::abs(levels->momentaryLufs() - lufs) < 0.04)
            << levels->momentaryLufs();
      }
    };
    Signal tone = sine(997.0, rate, 2.0, 1.0);
    tone[tone.size() - 100] = std::numeric_limits<double>::quiet_NaN();
    play(tone, 2, true);
    play(tone, 2);
    expect(std::sqrt(0.5), -3.01);
    play(Signal(static_cast<std::size_t>(std::lround(rate * 0.15))), 1);
    expect(0.5, -3.01 + 10.0 * std::log10(0.25 / 0.4));
    OutputLevels another(feed);
    another.update();
    EXPECT_EQ(another.rms(0), 0.0) << "what was before its time";
    feed.reset();
    often.update();
    expect(0.0, OutputLevels::kSilent);
  }
}

}  // namespace
