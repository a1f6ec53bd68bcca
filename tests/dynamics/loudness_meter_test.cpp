#include "dynamics/loudness_meter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "tests/support/known_numbers.h"
#include "tests/support/real_time.h"

namespace {

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

}  // namespace
