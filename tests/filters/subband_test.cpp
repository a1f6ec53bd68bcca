#include "filters/subband.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <random>
#include <vector>

#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

constexpr double kRate = 48000.0;
constexpr double kRounding = 1e-14;

struct Shape {
  int shape;
  float frequency, slope, q, slope2;
};

std::unique_ptr<subband> bandOf(const Shape& s) {
  auto band = std::make_unique<subband>();
  band->setSampleRate(kRate);
  band->configureFilters(s.shape, s.frequency, s.slope, s.q, s.slope2);
  band->rebuildKernel();
  return band;
}

/// What a band gives for an input: itself and what is beside it.
struct Parts {
  Signal band, rest;
};

Parts filtered(subband& filter, const Signal& left, int block = 100) {
  Parts parts{left, Signal(left.size())};
  Signal right(left.size());
  std::transform(left.begin(), left.end(), right.begin(), [](double x) { return -0.5 * x; });
  Signal rightRest(left.size());
  for (std::size_t at = 0; at < left.size(); at += static_cast<std::size_t>(block)) {
    double* const band[] = {parts.band.data() + at, right.data() + at};
    double* const rest[] = {parts.rest.data() + at, rightRest.data() + at};
    const auto frames = std::min(block, static_cast<int>(left.size() - at));
    inRealTime([&] { return filter.filter(band, rest, frames, 2); });
  }
  for (std::size_t n = 0; n < left.size(); ++n) {
    EXPECT_NEAR(right[n], -0.5 * parts.band[n], kRounding) << "the right channel, " << n;
  }
  return parts;
}

double deviation(const Parts& parts, const Signal& input, std::size_t latency) {
  double worst = 0.0;
  for (std::size_t n = 0; n < input.size(); ++n) {
    const double wanted = n < latency ? 0.0 : input[n - latency];
    worst = std::max(worst, std::abs(parts.band[n] + parts.rest[n] - wanted));
  }
  return worst;
}

std::complex<double> responseAt(const Signal& response, double hz) {
  std::complex<double> sum = 0.0;
  for (std::size_t n = 0; n < response.size(); ++n) {
    sum += response[n] *
           std::polar(1.0, -2 * std::numbers::pi * hz * (static_cast<double>(n) - 1024) / kRate);
  }
  return sum;
}

double butterworth(double ratio, int order) {
  return 1 / std::sqrt(1 + std::pow(ratio, 2 * order));
}

// Stacks of equal sections whose corner is kept where one section has it.
double stacked(double ratio, int order) {
  const int pairs = order / 2;
  const int odd = order % 2;
  const double w2 = 2.0 * pairs / (std::sqrt(odd + 4.0 * pairs) - odd);
  const double section = 1 / std::sqrt(1 + std::pow(ratio, 4) / (w2 * w2));
  const double single = 1 / std::sqrt(1 + ratio * ratio / w2);
  return std::pow(section, pairs) * (odd == 1 ? single : 1.0);
}

TEST(Subband, LiftsTheAnalogMagnitudeOutInLinearPhase) {
  constexpr double kEdge = 1.92729;     // of a Q of 0.71
  constexpr double kOther = 1.2807763;  // of a Q of 2
  const struct {
    const char* what;
    Shape shape;
    double (*magnitude)(double hz);
  } cases[] = {
      {"low-pass", {kLowPass, 2000, 24, 1, 6}, [](double f) { return stacked(f / 2000, 4); }},
      {"low-pass, odd", {kLowPass, 2000, 20, 1, 6}, [](double f) { return stacked(f / 2000, 3); }},
      {"low-pass B",
       {kLowPassB, 3000, 36, 1, 6},
       [](double f) { return butterworth(f / 3000, 6); }},
      {"high-pass", {kHighPass, 900, 12, 1, 6}, [](double f) { return stacked(900 / f, 2); }},
      {"high-pass B",
       {kHighPassB, 900, 41, 1, 6},
       [](double f) { return butterworth(900 / f, 6); }},
      {"band-pass",
       {kBandPass, 2500, 24, 0.71F, 6},
       [](double f) { return stacked(f / (2500 * kEdge), 4) * stacked(2500 / kEdge / f, 4); }},
      {"band-pass B",
       {kBandPassB, 2500, 24, 2, 36},
       [](double f) {
         return butterworth(f / (2500 * kOther), 4) * butterworth(2500 / kOther / f, 6);
       }},
      {"band-pass EE",
       {kBandPassEE, 2000, 24, 2, 6},
       [](double f) {
         const double x = 2 * (f / 2000 - 2000 / f);
         return 1 / std::sqrt(1 + x * x);
       }},
      {"upper edge held below Nyquist",
       {kBandPassB, 20000, 24, 0.71F, 36},
       [](double f) { return butterworth(f / 24000, 4) * butterworth(20000 / kEdge / f, 6); }},
  };
  Signal impulse(4096);
  impulse[0] = 1.0;
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const auto band = bandOf(c.shape);
    EXPECT_EQ(band->latency(), 1024);
    const Parts parts = filtered(*band, impulse);
    EXPECT_LT(deviation(parts, impulse, 1024), kRounding);
    for (std::size_t n = 1; n < 1024; ++n) {
      ASSERT_NEAR(parts.band[1024 + n], parts.band[1024 - n], 1e-15) << "symmetric";
    }
    for (const float hz : {300.0F, 900.0F, 2000.0F, 2500.0F, 6000.0F, 15000.0F, 20000.0F}) {
      const double exact = c.magnitude(static_cast<double>(hz));
      EXPECT_NEAR(std::abs(responseAt(parts.band, static_cast<double>(hz))), exact, 0.004) << hz;
      float drawn = -1.0F;
      band->bandCurve(&hz, 1, &drawn);
      EXPECT_NEAR(static_cast<double>(drawn), exact, 2e-5) << hz;
    }
  }
}

TEST(Subband, FlatTakesEverythingUndelayedAndBeforeItIsSetUpNothing) {
  const Signal input = noiseOf(3000, 1);
  const auto flat = bandOf({kFlat, 1000, 24, 1, 6});
  EXPECT_EQ(flat->latency(), 0);
  const Parts whole = filtered(*flat, input);
  EXPECT_EQ(whole.band, input);
  EXPECT_EQ(whole.rest, Signal(3000));
  subband fresh;
  const Parts before = filtered(fresh, input);
  EXPECT_LT(deviation({Signal(3000), before.rest}, input, 1024), kRounding);
}

TEST(Subband, BandAndRestAddUpWhileEverythingMoves) {
  const Signal input = noiseOf(40000, 2);
  subband band;
  band.setSampleRate(kRate);
  std::mt19937 random(3);
  Parts parts{input, Signal(input.size())};
  Signal right = input;
  Signal rightRest(input.size());
  for (std::size_t at = 0; at < input.size(); at += 50) {
    const auto value = [&random](double low, double high) {
      return static_cast<float>(std::uniform_real_distribution<double>(low, high)(random));
    };
    band.configureFilters(static_cast<int>(random() % 7), value(20, 24000), value(6, 96),
                          value(0.1, 12), value(6, 96));
    band.rebuildKernel();
    double* const bands[] = {parts.band.data() + at, right.data() + at};
    double* const rest[] = {parts.rest.data() + at, rightRest.data() + at};
    ASSERT_EQ(inRealTime([&] { return band.filter(bands, rest, 50, 2); }), 1024);
  }
  EXPECT_LT(deviation(parts, input, 1024), 3 * kRounding);
}

TEST(Subband, CurvesAreWorkedOutAnewWhenTheyMust) {
  const auto band = bandOf({kLowPassB, 1000, 12, 1, 6});
  const auto curve = [&band](std::vector<float> at) {
    std::vector<float> out(at.size());
    band->bandCurve(at.data(), static_cast<int>(at.size()), out.data());
    return out;
  };
  const auto expected = [](double ratio) { return static_cast<float>(butterworth(ratio, 2)); };
  EXPECT_FLOAT_EQ(curve({500, 1000})[0], expected(0.5));
  EXPECT_FLOAT_EQ(curve({600, 1000})[0], expected(0.6)) << "the first frequency";
  EXPECT_FLOAT_EQ(curve({600, 2000})[1], expected(2)) << "the last frequency";
  EXPECT_FLOAT_EQ(curve({600, 800, 2000})[1], expected(0.8)) << "their number";
  band->configureFilters(kLowPassB, 2000, 12, 1, 6);
  EXPECT_FLOAT_EQ(curve({600, 800, 2000})[1], expected(0.4)) << "the filter";
}

}  // namespace
