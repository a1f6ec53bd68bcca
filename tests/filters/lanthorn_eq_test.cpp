#include "filters/lanthorn_eq.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstdio>
#include <numbers>
#include <random>
#include <vector>

#include "tests/filters/eq_settings.h"
#include "tests/support/real_time.h"

namespace {

/// The sections of the last update, its ramp over, which are stable; none is 7 throughout.
std::vector<DigitalSection> sectionsOf(LanthornEQ& filter) {
  std::vector<double> silence(1001, 0.0);
  processInRealTime(filter, silence.data(), 1001);
  const DigitalSection none{7, 7, 7, 7, 7};
  std::vector<DigitalSection> all(16, none);
  filter.getCoefficients(all[0].data());
  all.erase(std::find(all.begin(), all.end(), none), all.end());
  for (const DigitalSection& s : all) {
    EXPECT_TRUE(std::all_of(s.begin(), s.end(), [](double c) { return std::isfinite(c); }));
    EXPECT_TRUE(filters::isStable(s[3], s[4]));
  }
  return all;
}

/// Section by section: products of squares of sixteen would get too small.
double magnitude(const std::vector<DigitalSection>& sections, double hz, double rate) {
  double product = 1.0;
  for (const auto& [b0, b1, b2, a1, a2] : sections) {
    const auto z = std::polar(1.0, 2.0 * std::numbers::pi * hz / rate);
    product *= std::abs((b0 * z + b1) * z + b2) / std::abs((z + a1) * z + a2);
  }
  return product;
}

/// Largest distance in dB between 20 Hz and 0.45 of the rate, down to -40 dB.
double distanceDb(const LanthornEQ& filter, const std::vector<DigitalSection>& sections,
                  double rate) {
  double worst = 0.0;
  for (int i = 0; i < 200; ++i) {
    const double hz = 20.0 * std::pow(0.45 * rate / 20.0, i / 199.0);
    const double wanted = analogMagnitude(filter, hz);
    if (wanted < 0.01) continue;
    worst = std::max(worst, std::abs(20.0 * std::log10(magnitude(sections, hz, rate) / wanted)));
  }
  return worst;
}

TEST(LanthornEQTest, FollowsItsAnalogCurveAsCloseAsTheMatchGoesAndNoCloser) {
  const std::vector<int> steep = {1, 2, 3, 4, 8, 12, 16};
  const std::vector<double> shelves = {-18, -6, -1, 1, 6, 18};
  const std::array<double, 3> rates = {44100, 48000, 96000};
  const struct {
    EQ::Type type;
    std::vector<int> orders;
    std::vector<double> gains;
    std::array<double, 3> median, worst;  // dB, at the three rates: printed by this test
  } rows[] = {{EQ::kHpf, steep, {0}, {0.00928, 0.00919, 0.00233}, {11.317, 7.218, 3.581}},
              {EQ::kLpf, steep, {0}, {0.02318, 0.0182, 0.0082}, {3.26, 2.997, 0.767}},
              {EQ::kLowShelf, {2}, shelves, {0.00123, 0.00079, 0.00034}, {1.528, 1.277, 1.651}},
              {EQ::kHighShelf, {2}, shelves, {0.00047, 0.00039, 0.00018}, {3.054, 3.422, 0.562}},
              {EQ::kPeak, {2}, shelves, {0.00268, 0.00219, 0.00072}, {1.314, 0.957, 0.42}},
              {EQ::kNotch, {2}, {0}, {0.01216, 0.0097, 0.00202}, {4.059, 2.328, 3.159}},
              {EQ::kBpf, {2}, {-6, 0, 6}, {0.47943, 0.52986, 0.59923}, {12.992, 12.992, 12.989}}};
  for (const auto& row : rows) {
    LanthornEQ filter;  // which moves to each of its rates
    for (std::size_t r = 0; r < 3; ++r) {
      std::vector<double> distances;
      for (const int order : row.orders) {
        for (const double db : row.gains) {
          for (const double hz : {30., 80., 200., 600., 1500., 4000., 9000., 16000.}) {
            for (const double q : {0.5, 0.71, 1.0, 2.0, 4.0}) {
              Settings{row.type, 0, order, hz, db, q, 0.5, rates[r]}.apply(filter);
              const auto sections = sectionsOf(filter);
              ASSERT_EQ(static_cast<int>(sections.size()), (order + 1) / 2);
              distances.push_back(distanceDb(filter, sections, rates[r]));
            }
          }
        }
      }
      std::sort(distances.begin(), distances.end());
      const double median = distances[distances.size() / 2];
      std::printf("type %d at %.0f Hz: median %.5f dB, worst %.3f dB\n", row.type, rates[r], median,
                  distances.back());
      EXPECT_NEAR(median, row.median[r], 0.05 * row.median[r]);
      EXPECT_NEAR(distances.back(), row.worst[r], 0.1 * row.worst[r]);
    }
  }
}

TEST(LanthornEQTest, IsFiniteAndStableWhateverItIsSetTo) {
  std::mt19937 random(11);
  const auto uniform = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  for (int i = 0; i < 3000 && !testing::Test::HasFailure(); ++i) {
    Settings s{1 + i % 8, 0, static_cast<int>(uniform(0.0, 17.0))};
    s.rate = std::round(22050.0 * std::pow(192000.0 / 22050.0, uniform(0.0, 1.0)));
    s.hz = i / 8 % 8 == 0 ? 0.5 * s.rate : 10 * std::pow(3000, uniform(0, 1));
    s.q = i % 5 == 0 ? 0.70710678 : 0.025 * std::pow(800.0, uniform(0.0, 1.0));
    s.db = i % 7 == 0 ? 0.0 : uniform(-36.0, 36.0);
    SCOPED_TRACE(testing::Message()
                 << i << ": type " << s.type << ' ' << s.hz << " Hz of " << s.rate << ", Q " << s.q
                 << ", " << s.db << " dB, order " << s.order);
    LanthornEQ filter;
    s.apply(filter);
    sectionsOf(filter);
  }
}

TEST(LanthornEQTest, IsFlatWhereNothingIsToBeDone) {
  const struct {
    int type, order;
    double db, hz, rate;
    int flat;
  } cases[] = {{EQ::kPeak, 2, 0, 1000, 48000, 1},         {EQ::kPeak, 2, 0.009, 1000, 48000, 1},
               {EQ::kPeak, 2, -0.011, 1000, 48000, 0},    {EQ::kPeak, 2, 0, 10000, 16000, 1},
               {EQ::kPeak, 2, 6, 10000, 16000, 0},        {EQ::kLowShelf, 2, 0, 100, 48000, 1},
               {EQ::kLowShelf, 2, -0.009, 100, 48000, 1}, {EQ::kHighShelf, 2, 0.02, 100, 48000, 0},
               {EQ::kHighShelf, 2, 0.009, 100, 48000, 1}, {EQ::kLpf, 0, 0, 100, 48000, 1},
               {EQ::kLpf, 2, 0, 100, 48000, 0},           {EQ::kBpf, 2, 0, 100, 48000, 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "type " << c.type << ", " << c.db);
    LanthornEQ filter;
    Settings{c.type, 0, c.order, c.hz, c.db, 1, 0.5, c.rate}.apply(filter);
    EXPECT_EQ(filter.getFlat(), c.flat);
    const auto sections = sectionsOf(filter);
    EXPECT_TRUE(c.flat == 0 || magnitude(sections, 5000.0, 48000.0) == 1.0);
    // Above half the rate what lies below is met all the same.
    if (c.rate == 16000) {
      EXPECT_NEAR(magnitude(sections, 7000.0, 16000.0), analogMagnitude(filter, 7000.0), 0.05);
    }
  }
}

TEST(LanthornEQTest, InDifferenceModeIsTheRestOfTheSameFilter) {
  const Settings cases[] = {{EQ::kPeak, 0, 2, 3000, 9, 1},  {EQ::kBpf, 0, 2, 500, -3, 2},
                            {EQ::kHpf, 0, 4, 1000, 0, 0.7}, {EQ::kHpf, 0, 3, 200, 3, 2},
                            {EQ::kLpf, 0, 4, 5000, 0, 1},   {EQ::kLpf, 0, 4, 300, 6, 4}};
  for (const auto& s : cases) {
    SCOPED_TRACE(testing::Message() << "type " << s.type << " at " << s.hz);
    LanthornEQ filters[2];  // the whole and the rest
    filters[1].setDifferenceMode(true);
    for (LanthornEQ& filter : filters) s.apply(filter), sectionsOf(filter);
    for (const double hz : {30.0, 400.0, 2500.0, 11000.0, 23500.0}) {
      double re[2] = {};
      double im[2] = {};
      for (const int i : {0, 1}) filters[i].responseAt(hz, &re[i], &im[i]);
      EXPECT_NEAR(re[1], re[0] - 1.0, 1e-6) << hz;
      EXPECT_NEAR(im[1], im[0], 1e-6) << hz;
    }
  }
}

}  // namespace
