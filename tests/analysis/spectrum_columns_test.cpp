#include "analysis/spectrum_columns.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <limits>
#include <numbers>
#include <vector>

#include "tests/support/all_kernels.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/plain_spectrum.h"
#include "tests/support/real_time.h"

namespace {

/// A display and its heights.
struct Display {
  explicit Display(const SpectrumSettings& settings) { set(settings); }
  void set(const SpectrumSettings& settings) {
    spectrum.set(settings);
    for (auto& channel : heights) channel.resize(static_cast<std::size_t>(settings.columns));
  }
  void update(Signal left, Signal right) {
    const RealTimeCheck check;
    spectrum.update({left, right}, {heights[0], heights[1]});
  }
  SpectrumColumns spectrum;
  std::array<Signal, 2> heights;
};

Signal tone(double amplitude, double cycles) {
  Signal signal(SpectrumColumns::kSamples);
  for (std::size_t i = 0; i < signal.size(); ++i) {
    signal[i] =
        amplitude * std::cos(2.0 * std::numbers::pi * cycles * static_cast<double>(i) / 8192.0);
  }
  return signal;
}

TEST(SpectrumColumns, EqualTheirDefinitionBitByBitWithEachSetting) {
  const SpectrumSettings cases[] = {
      {627, 10.0, 22050.0, 22050.0F, 0.0, 96.0, 0.0, 0.0, 1},
      {627, 10.0, 22050.0, 24000.0F, -12.0, 80.0, 3.0, 0.95, 2},
      {1201, 10.0, 48000.0, 22050.0F, -36.0, 48.0, 4.5, 0.99, 4},  // past the last bin
      {300, 900.0, 1100.0, 96000.0F, -24.0, 64.0, 6.0, 0.999, 8},  // columns inside of a bin
      {5, 10.0, 22050.0, 22050.0F, 0.0, 96.0, 3.0, 0.95, 8},       // fewer than are averaged
      {400, 0.5, 22050.0, 22050.0F, 0.0, 96.0, 3.0, 0.95, 1},      // bin 0
      {400, 0.5, 22050.0, 22050.0F, -12.0, 96.0, 0.0, 0.95, 1},
  };
  withAllKernels([&] {
    Display display(cases[0]);
    for (const SpectrumSettings& settings : cases) {
      SCOPED_TRACE(settings.columns);
      display.set(settings);
      for (const double gain : {0.5, 0.001, 0.0}) {
        Signal left = noiseOf(8192, 1);
        Signal right = tone(1.0, 400.3);
        for (double& x : left) x *= gain;
        for (double& x : right) x *= gain;
        const Signal wantedLeft = plainHeights(settings, left, display.heights[0]);
        const Signal wantedRight = plainHeights(settings, right, display.heights[1]);
        display.update(left, right);
        ASSERT_EQ(display.heights[0], wantedLeft) << gain;
        ASSERT_EQ(display.heights[1], wantedRight) << gain;
      }
    }
    display.set({});
    display.update(Signal(8192), Signal(8192));
  });
}

TEST(SpectrumColumns, ATonesHeightIsItsLevelAndFallsByTheDecay) {
  // A cosine on a bin: half its amplitude times the window's mean.
  double mean = 0.0;
  for (int i = 0; i < 8192; ++i) {
    const double u = i / 4096.0 - 1.0;
    mean += std::cyl_bessel_i(0.0, 12.0 * std::sqrt(1.0 - u * u)) / 8192.0;
  }
  mean /= std::cyl_bessel_i(0.0, 12.0);
  SpectrumSettings settings = {300, 20.0, 20000.0, 24000.0F, -12.0, 80.0, 3.0, 0.5, 1};
  Display display(settings);
  for (const int bin : {20, 341, 3000}) {
    SCOPED_TRACE(bin);
    const double hertz = bin * 48000.0 / 8192.0;
    const double level = 20.0 * std::log10(0.05 * mean / 2.0) + 3.0 * std::log2(hertz / 1000.0);
    display.update(tone(0.05, bin), Signal(8192));
    const auto column = static_cast<std::size_t>(300.0 * std::log(hertz / 20.0) / std::log(1000.0));
    const double high = std::max(display.heights[0][column], display.heights[0][column + 1]);
    // Below the tone a column reads between two bins, at most 0.5 dB from its top here.
    EXPECT_NEAR(high, 1.0 + (level + 12.0) / 80.0, bin < 100 ? 0.007 : 1e-6);
    const double before = display.heights[0][column];
    Signal broken(8192, std::numeric_limits<double>::quiet_NaN());
    display.update(broken, Signal(8192));
    EXPECT_EQ(display.heights[0][column], before / 2.0);
    EXPECT_EQ(display.heights[1][column], 0.0);
    for (int i = 0; i < 700; ++i) display.update(Signal(8192), Signal(8192));
    EXPECT_EQ(display.heights[0][column], 0.0) << "not a denormal";
  }
}

}  // namespace
