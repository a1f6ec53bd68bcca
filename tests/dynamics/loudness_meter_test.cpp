#include "dynamics/loudness_meter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "tests/support/real_time.h"

namespace {

constexpr double kLoudnessOffset = -0.691;  // dB, ITU-R BS.1770

std::vector<double> sine(double hz, double rate, double seconds, double level) {
  std::vector<double> out(static_cast<std::size_t>(rate * seconds));
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i] = level * std::sin(2.0 * std::numbers::pi * hz * static_cast<double>(i) / rate);
  }
  return out;
}

/// Measures `signal` on both sides in blocks of `frames`, the wet side 6 dB down.
LoudnessMeter::Result measured(LoudnessMeter& meter, const std::vector<double>& signal, int frames,
                               int channels) {
  std::vector<double> half(signal);
  for (double& x : half) x *= 0.5;
  const int length = static_cast<int>(signal.size());
  for (int at = 0; at < length; at += frames) {
    const int count = std::min(frames, length - at);
    inRealTime(
        [&] { meter.measure(signal.data() + at, signal.data() + at, true, count, channels); });
    inRealTime([&] { meter.measure(half.data() + at, half.data() + at, false, count, channels); });
  }
  return meter.result();
}

TEST(LoudnessMeterTest, MeetsTheStandardsReferenceToneAtEveryRate) {
  for (const double rate : {44100.0, 48000.0, 96000.0, 192000.0}) {
    SCOPED_TRACE(rate);
    LoudnessMeter meter;
    meter.setSampleRate(rate);
    meter.setMeasuring(true);
    constexpr double kSeconds = 4.0;
    const auto result = measured(meter, sine(997.0, rate, kSeconds, 1.0), 1024, 1);
    // A full-scale sine at 997 Hz in one channel is -3.01 LKFS; the running mean has come this far.
    const double share = 1.0 - std::exp(-2.0 * kSeconds / 45.0);
    EXPECT_NEAR(10.0 * std::log10(result.dryMeanSquare / share) + kLoudnessOffset, -3.01, 0.04)
        << "the high-pass is not normalised: its gain moves by 0.04 dB over the rates";
    EXPECT_NEAR(10.0 * std::log10(result.dryMeanSquare / result.wetMeanSquare), 6.0206, 1e-3);
    EXPECT_EQ(result.dryCount, static_cast<int>(rate * kSeconds));
    EXPECT_EQ(result.wetCount, result.dryCount);
  }
}

TEST(LoudnessMeterTest, WeightsFrequenciesAsTheStandardsCoefficientsAt48kHz) {
  // Table 1 and 2 of the standard, evaluated on the unit circle.
  const auto standard = [](double hz) {
    const std::complex<double> z = std::polar(1.0, -2.0 * std::numbers::pi * hz / 48000.0);
    const std::complex<double> shelf =
        (1.53512485958697 + z * (-2.69169618940638 + z * 1.19839281085285)) /
        (1.0 + z * (-1.69065929318241 + z * 0.73248077421585));
    const std::complex<double> highPass =
        (1.0 + z * (-2.0 + z)) / (1.0 + z * (-1.99004745483398 + z * 0.99007225036621));
    return std::abs(shelf * highPass);
  };
  for (const double hz : {30.0, 60.0, 200.0, 1000.0, 4000.0, 15000.0}) {
    KWeighting filter;
    filter.design(48000.0);
    double power = 0.0;  // over the second half, whole cycles
    int n = 0;
    for (const double x : sine(hz, 48000.0, 2.0, 1.0)) {
      const double y = processInRealTime(filter, x);
      if (++n > 48000) power += y * y / 24000.0;
    }
    EXPECT_NEAR(10.0 * std::log10(power), 20.0 * std::log10(standard(hz)), 0.001) << hz << " Hz";
  }
}

TEST(LoudnessMeterTest, StereoAddsPowersAndBlocksDoNotMatter) {
  const auto signal = sine(500.0, 48000.0, 1.0, 0.25);
  LoudnessMeter mono;
  LoudnessMeter stereo;
  for (LoudnessMeter* meter : {&mono, &stereo}) {
    meter->setSampleRate(48000.0);
    meter->setMeasuring(true);
  }
  const auto one = measured(mono, signal, 1000, 1);
  const auto two = measured(stereo, signal, 77, 2);
  EXPECT_NEAR(two.dryMeanSquare, 2.0 * one.dryMeanSquare, 1e-15);
}

TEST(LoudnessMeterTest, SilenceEndsAtZeroAndAChannelComesBackFromIt) {
  const std::vector<double> silence(4'000'000);
  LoudnessMeter meter;
  meter.setSampleRate(4000.0);
  meter.setMeasuring(true);
  EXPECT_GT(measured(meter, sine(500.0, 4000.0, 0.1, 1e-40), 64, 2).dryMeanSquare, 0.0);
  EXPECT_EQ(measured(meter, silence, 4000, 2).dryMeanSquare, 0.0);
  const std::vector<double> none(64);
  meter.measure(none.data(), std::vector<double>(64, 1.0).data(), true, 64, 2);
  const double before = measured(meter, none, 64, 1).dryMeanSquare;
  EXPECT_LE(measured(meter, none, 64, 2).dryMeanSquare, before) << "its filters held nothing";
}

TEST(LoudnessMeterTest, EachMeasurementStartsAfreshAndShowsNothingBeforeItsFirstBlock) {
  const auto signal = sine(1000.0, 48000.0, 0.1, 1.0);
  LoudnessMeter meter;
  meter.setSampleRate(48000.0);
  EXPECT_EQ(measured(meter, signal, 64, 1).dryCount, 0) << "off: nothing is measured";

  meter.setMeasuring(true);
  const auto first = measured(meter, signal, 64, 1);
  meter.setMeasuring(true);  // running already: goes on
  EXPECT_EQ(measured(meter, signal, 64, 1).dryCount, 2 * first.dryCount);

  meter.setMeasuring(false);
  EXPECT_EQ(meter.result().dryCount, 0);
  meter.setMeasuring(true);
  EXPECT_EQ(meter.result().dryCount, 0) << "the last measurement is not this one's";
  EXPECT_EQ(meter.result().dryMeanSquare, 0.0);
  EXPECT_EQ(measured(meter, signal, 64, 1).dryMeanSquare, first.dryMeanSquare);
}

TEST(LoudnessMeterTest, StartedInTheMiddleOfABlockItWaitsForTheNext) {
  const std::vector<double> block(64, 0.5);
  LoudnessMeter meter;
  meter.setSampleRate(48000.0);
  inRealTime([&] { meter.measure(block.data(), block.data(), true, 64, 1); });
  meter.setMeasuring(true);
  inRealTime([&] { meter.measure(block.data(), block.data(), false, 64, 1); });
  EXPECT_EQ(meter.result().wetCount, 0);
  EXPECT_EQ(measured(meter, block, 64, 1).wetCount, 64);
}

}  // namespace
