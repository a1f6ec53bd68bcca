#include "filters/subband.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <vector>

#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

constexpr double kRate = 48000.0;
constexpr double kRounding = 3e-14;

struct Shape {
  int shape;
  float frequency, slope, q, slope2;

  void apply(subband& band) const {
    band.configureFilters(shape, frequency, slope, q, slope2);
    band.rebuildKernel();
  }
};

/// What a filter gives for two channels: the bands, and what is beside them.
struct Parts {
  std::array<Signal, 2> band, rest;
};

Parts filtered(subband& filter, const std::array<Signal, 2>& input, int channels = 2,
               std::size_t block = 100) {
  Parts parts{input, {Signal(input[0].size(), 7.0), Signal(input[1].size(), 7.0)}};
  for (std::size_t at = 0; at < input[0].size(); at += block) {
    double* const band[] = {&parts.band[0][at], &parts.band[1][at]};
    double* const rest[] = {&parts.rest[0][at], &parts.rest[1][at]};
    const auto frames = static_cast<int>(std::min(block, input[0].size() - at));
    inRealTime([&] { EXPECT_EQ(filter.filter(band, rest, frames, channels), filter.latency()); });
  }
  return parts;
}

double butterworth(double ratio, int order) {
  return 1 / std::sqrt(1 + std::pow(ratio, 2 * order));
}

/// Equal sections whose corner is kept where one section has it.
double stacked(double ratio, int order) {
  const int pairs = order / 2;
  const int odd = order % 2;
  const double w2 = 2.0 * pairs / (std::sqrt(odd + 4.0 * pairs) - odd);
  return std::pow(1 + std::pow(ratio * ratio / w2, 2), -0.5 * pairs) *
         std::pow(1 + ratio * ratio / w2, -0.5 * odd);
}

TEST(Subband, LiftsTheAnalogMagnitudeOutInLinearPhase) {
  constexpr double kEdge = 1.92729;     // of a Q of 0.71
  constexpr double kOther = 1.2807763;  // of a Q of 2
  constexpr double kNone = 1e30;
  const struct {
    Shape shape;
    double upperHz;  // of a low-pass, and its order
    int upperOrder;
    double lowerHz = 1 / kNone;
    int lowerOrder = 2;
  } rows[] = {
      {{kLowPass, 2000, 24, 1, 6}, 2000, 4},
      {{kLowPass, 2000, 20, 1, 6}, 2000, 3},
      {{kLowPassB, 3000, 36, 1, 6}, 3000, 6},
      {{kHighPass, 900, 12, 1, 6}, kNone, 2, 900, 2},
      {{kHighPassB, 900, 41, 1, 6}, kNone, 2, 900, 6},
      {{kBandPass, 2500, 24, 0.71F, 6}, 2500 * kEdge, 4, 2500 / kEdge, 4},
      {{kBandPassB, 2500, 24, 2, 36}, 2500 * kOther, 4, 2500 / kOther, 6},
      {{kBandPassB, 20000, 24, 0.71F, 36}, 24000, 4, 20000 / kEdge, 6},  // held below Nyquist
      {{kBandPassEE, 2000, 24, 2, 6}, 0, 0}};
  std::array<Signal, 2> input = {Signal(4096), Signal(4096)};
  input[0][0] = 1.0;
  input[1][0] = -0.5;
  subband band;
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << "shape " << row.shape.shape << ", " << row.shape.slope);
    band.setSampleRate(44100.0);
    row.shape.apply(band);
    band.setSampleRate(kRate);
    row.shape.apply(band);
    band.reset(0);
    EXPECT_EQ(band.latency(), 1024);
    const Parts parts = filtered(band, input);
    for (std::size_t n = 0; n < 4096; ++n) {
      const Signal& h = parts.band[0];
      ASSERT_NEAR(h[n] + parts.rest[0][n], n == 1024 ? 1.0 : 0.0, kRounding);
      ASSERT_NEAR(parts.band[1][n] + parts.rest[1][n], n == 1024 ? -0.5 : 0.0, kRounding);
      ASSERT_NEAR(parts.band[1][n], -0.5 * h[n], kRounding) << "the right channel, " << n;
      const double mirrored = n == 0 ? h[0] : (n < 2048 ? h[2048 - n] : 0.0);
      ASSERT_NEAR(h[n], mirrored, kRounding) << "symmetric, " << n;
    }
    const bool isB = row.shape.shape == kBandPassB || row.shape.shape == kLowPassB ||
                     row.shape.shape == kHighPassB;
    const auto edge = isB ? butterworth : stacked;
    for (const float hz : {300.0F, 900.0F, 2000.0F, 2500.0F, 6000.0F, 15000.0F, 20000.0F}) {
      const auto f = static_cast<double>(hz);
      const double exact = row.upperHz == 0 ? butterworth(2 * (f / 2000 - 2000 / f), 1)
                                            : edge(f / row.upperHz, row.upperOrder) *
                                                  edge(row.lowerHz / f, row.lowerOrder);
      double sum = parts.band[0][1024];  // the transform of what is symmetric
      for (int n = 1; n < 1024; ++n) {
        sum += 2 * parts.band[0][static_cast<std::size_t>(1024 + n)] *
               std::cos(2 * std::numbers::pi * f * n / kRate);
      }
      EXPECT_NEAR(sum, exact, 0.004) << hz;
      float drawn = -1.0F;
      band.bandCurve(&hz, 1, &drawn);
      EXPECT_NEAR(static_cast<double>(drawn), exact, 2e-5) << hz;
    }
  }
}

TEST(Subband, BandAndRestAddUpWhileEverythingMoves) {
  subband band;
  band.setSampleRate(kRate);
  std::mt19937 random(3);
  const auto value = [&random](double low, double high) {
    return static_cast<float>(std::uniform_real_distribution<double>(low, high)(random));
  };
  std::array<Signal, 2> input = {noiseOf(30000, 1), noiseOf(30000, 2)};
  Signal sums[2];
  for (std::size_t at = 0; at < 30000; at += 50) {
    const Shape moved{static_cast<int>(random() % 7), value(20, 24000), value(6, 96),
                      value(0.1, 12), value(6, 96)};
    if (at > 0) moved.apply(band);  // before its first setting the band is what a unit passes
    const auto begin = static_cast<long>(at);
    const auto part = [&](std::size_t c) {
      return Signal(input[c].begin() + begin, input[c].begin() + begin + 50);
    };
    const Parts parts = filtered(band, {part(0), part(1)}, 2, 1 + random() % 50);
    for (const std::size_t c : {0U, 1U}) {
      for (std::size_t n = 0; n < 50; ++n) {
        sums[c].push_back((at > 0 ? parts.band[c][n] : 0.0) + parts.rest[c][n]);
      }
    }
  }
  for (std::size_t n = 0; n < 30000; ++n) {
    for (const std::size_t c : {0U, 1U}) {
      ASSERT_NEAR(sums[c][n], n < 1024 ? 0.0 : input[c][n - 1024], kRounding) << c << " at " << n;
    }
  }
}

TEST(Subband, ForgetsWhatAResetOrAPauseLeavesBehind) {
  const std::array<Signal, 2> noise = {noiseOf(3000, 4), noiseOf(3000, 5)};
  const std::array<Signal, 2> silence = {Signal(3000), Signal(3000)};
  const Shape shape{kLowPassB, 3000, 24, 1, 6};
  subband band;
  const struct {
    const char* what;
    std::function<void()> act;
    bool forgetsLeft, forgetsRight;
  } rows[] = {{"nothing", [] {}, false, false},
              {"both", [&] { band.reset(96); }, true, true},
              {"the second", [&] { band.resetRight(); }, false, true},
              {"out of use and back",
               [&] {
                 Shape{kFlat, 3000, 24, 1, 6}.apply(band);
                 EXPECT_EQ(band.latency(), 0);
                 const Parts whole = filtered(band, noise);
                 EXPECT_EQ(whole.band, noise) << "flat takes everything";
                 EXPECT_EQ(whole.rest, silence);
                 shape.apply(band);
               },
               true, true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    shape.apply(band);
    filtered(band, noise);
    row.act();
    const Parts left = filtered(band, silence);
    const auto isSilent = [](const Signal& s) {
      return std::all_of(s.begin(), s.end(), [](double x) { return std::abs(x) < 1e-14; });
    };
    for (const auto* part : {&left.band, &left.rest}) {
      EXPECT_EQ(isSilent((*part)[0]), row.forgetsLeft);
      EXPECT_EQ(isSilent((*part)[1]), row.forgetsRight);
    }
    const Parts mono = filtered(band, noise, 1);
    EXPECT_EQ(mono.rest[1], Signal(3000, 7.0)) << "not touched in mono";
    EXPECT_EQ(mono.band[1], noise[1]);
  }
}

TEST(Subband, CurvesAreWorkedOutAnewWhenTheyMust) {
  subband band;
  std::mt19937 random(6);
  for (int i = 0; i < 200; ++i) {
    // Of a filter and frequencies of which often only one end, or their number, is another.
    const double corner = random() % 4 == 0 ? 2000 : 1000;
    band.configureFilters(kLowPassB, static_cast<float>(corner), 12, 1, 6);
    std::vector<float> at(2 + random() % 2);
    at.front() = random() % 2 == 0 ? 500.0F : 600.0F;
    at[1] = 800.0F;
    at.back() = random() % 2 == 0 ? 2000.0F : 3000.0F;
    std::vector<float> out(at.size());
    band.bandCurve(at.data(), static_cast<int>(at.size()), out.data());
    for (std::size_t k = 0; k < at.size(); ++k) {
      EXPECT_NEAR(out[k], butterworth(static_cast<double>(at[k]) / corner, 2), 1e-6) << i;
    }
  }
}

}  // namespace
