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
    const int shape = row.shape.shape;
    const bool isB = shape == kBandPassB || shape == kLowPassB || shape == kHighPassB;
    const auto edge = isB ? butterworth : stacked;
    // The same frequencies for each: the curve of the shape before must not be shown.
    const std::vector<float> at = {300, 900, 2000, 2500, 6000, 15000, 20000};
    std::vector<float> drawn(at.size(), -1.0F);
    band.bandCurve(at.data(), static_cast<int>(at.size()), drawn.data());
    for (std::size_t i = 0; i < at.size(); ++i) {
      const auto f = static_cast<double>(at[i]);
      const double exact = row.upperHz == 0 ? butterworth(2 * (f / 2000 - 2000 / f), 1)
                                            : edge(f / row.upperHz, row.upperOrder) *
                                                  edge(row.lowerHz / f, row.lowerOrder);
      double sum = parts.band[0][1024];  // the transform of what is symmetric
      for (std::size_t n = 1; n < 1024; ++n) {
        const double turn = 2 * std::numbers::pi * f * static_cast<double>(n) / kRate;
        sum += 2 * parts.band[0][1024 + n] * std::cos(turn);
      }
      EXPECT_NEAR(sum, exact, 0.004) << f;
      EXPECT_NEAR(drawn[i], exact, 2e-5) << f;
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
  std::array<Signal, 2> sums;
  for (unsigned block = 0; block < 600; ++block) {
    // Before its first setting all that is beside the band is the input.
    const bool set = block > 0;
    const Shape moved{static_cast<int>(random() % 7), value(20, 24000), value(6, 96),
                      value(0.1, 12), value(6, 96)};
    if (set) moved.apply(band);
    const Parts parts =
        filtered(band, {noiseOf(50, block), noiseOf(50, block + 1000)}, 2, 1 + random() % 50);
    for (std::size_t i = 0; i < 100; ++i) {
      const std::size_t n = i / 2;
      sums[i % 2].push_back((set ? parts.band[i % 2][n] : 0.0) + parts.rest[i % 2][n]);
    }
  }
  for (unsigned at = 0; at + 1024 < 30000; at += 1 + at % 3) {
    for (const unsigned c : {0U, 1U}) {
      ASSERT_NEAR(sums[c][at + 1024], noiseOf(50, at / 50 + c * 1000)[at % 50], kRounding) << at;
    }
  }
}

TEST(Subband, ForgetsWhatAResetOrAPauseLeavesBehind) {
  const std::array<Signal, 2> noise = {noiseOf(3000, 4), noiseOf(3000, 5)};
  const std::array<Signal, 2> silence = {Signal(3000), Signal(3000)};
  const Shape shape{kLowPassB, 3000, 24, 1, 6};
  const Shape flat{kFlat, 3000, 24, 1, 6};
  Parts whole;
  subband band;
  const struct {
    const char* what;
    std::function<void()> act;
    bool forgetsLeft, forgetsRight;
  } rows[] = {{"nothing", [] {}, false, false},
              {"both", [&] { band.reset(96); }, true, true},
              {"the second", [&] { band.resetRight(); }, false, true},
              {"a pause", [&] { flat.apply(band), whole = filtered(band, noise); }, true, true}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.what);
    shape.apply(band);
    filtered(band, noise);
    row.act();
    shape.apply(band);
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
  EXPECT_EQ(whole.band, noise) << "flat takes everything";
  EXPECT_EQ(whole.rest, silence);
  flat.apply(band);
  EXPECT_EQ(band.latency(), 0);
}

}  // namespace
