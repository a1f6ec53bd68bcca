#include "dynamics/loudness_meter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

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

/// One channel's weighting by tables 1 and 2 of ITU-R BS.1770, for 48 kHz.
struct PlainWeighting {
  double x1 = 0, x2 = 0, y1 = 0, y2 = 0, z1 = 0, z2 = 0;

  double next(double x) {
    const double y = 1.53512485958697 * x - 2.69169618940638 * x1 + 1.19839281085285 * x2 +
                     1.69065929318241 * y1 - 0.73248077421585 * y2;
    const double z = y - 2 * y1 + y2 + 1.99004745483398 * z1 - 0.99007225036621 * z2;
    x2 = x1, x1 = x, y2 = y1, y1 = y, z2 = z1, z1 = z;
    return z;
  }
};

/// One side of a measurement.
struct PlainSide {
  std::array<PlainWeighting, 2> filters;
  int channels = 2, count = 0;
  double mean = 0.0;

  void measure(const std::array<Signal, 2>& signal, int channelsNow) {
    if (channelsNow > channels) filters[1] = {};
    channels = channelsNow;
    for (std::size_t i = 0; i < signal[0].size(); ++i, ++count) {
      double power = std::pow(filters[0].next(signal[0][i]), 2);
      if (channels == 2) power += std::pow(filters[1].next(signal[1][i]), 2);
      mean += (power - mean) * (1 - std::exp(-2.0 / (45.0 * 48000.0)));
    }
  }
};

struct Walk {
  Walk() { meter.setSampleRate(48000.0); }

  void toggle() {
    if (random() % 12 != 0) return;
    const bool wanted = random() % 3 != 0;  // again what it is changes nothing
    meter.setMeasuring(wanted);
    if (wanted && !on) fresh = true, shown = false;
    on = wanted;
  }
  void measure(std::size_t side, int channels, double seconds) {
    std::array<Signal, 2> signal;
    for (Signal& s : signal) {
      const double hz = std::array{30.0, 60.0, 200.0, 1000.0, 4000.0, 15000.0}[random() % 6];
      s = sine(hz, 48000.0, seconds, static_cast<double>(1 + random() % 100) / 50.0);
    }
    inRealTime([&] {
      meter.measure(signal[0].data(), channels == 1 ? nullptr : signal[1].data(), side == 0,
                    static_cast<int>(signal[0].size()), channels);
    });
    if (!on || (fresh && side == 1)) return;
    if (fresh) sides = {PlainSide{{}, sides[0].channels}, PlainSide{{}, sides[1].channels}};
    fresh = false;
    sides[side].measure(signal, channels);
    shown = shown || side == 1;
  }

  std::mt19937 random;
  LoudnessMeter meter;
  std::array<PlainSide, 2> sides;
  bool on = false, fresh = false, shown = false;
};

// Measurements begin and end at any moment, between the two sides of a block too.
TEST(LoudnessMeterTest, IsTheStandardsWeightingOfEachChannelAndSideThroughAllStarts) {
  Walk walk;
  for (int block = 0; block < 2000; ++block) {
    SCOPED_TRACE(block);
    const int channels = walk.random() % 4 == 0 ? 1 : 2;
    const double seconds = static_cast<double>(walk.random() % 300) / 48000.0;
    for (const std::size_t side : {0U, 1U}) {
      walk.toggle();
      walk.measure(side, channels, seconds);
    }
    walk.toggle();
    ASSERT_EQ(walk.meter.measuring(), walk.on);
    const auto result = walk.meter.result();
    const bool visible = walk.on && walk.shown;
    const auto& [dry, wet] = walk.sides;
    ASSERT_EQ(result.dryCount, visible ? dry.count : 0);
    ASSERT_EQ(result.wetCount, visible ? wet.count : 0);
    ASSERT_NEAR(result.dryMeanSquare, visible ? dry.mean : 0, 1e-6 * dry.mean);
    ASSERT_NEAR(result.wetMeanSquare, visible ? wet.mean : 0, 1e-6 * wet.mean);
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
