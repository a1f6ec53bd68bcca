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

#include "tests/support/real_time.h"

namespace {

constexpr double kRates[] = {44100.0, 48000.0, 96000.0};

struct Settings {
  int type;
  int order;
  float hz;
  float q;
  float db;
  double rate;
};

void apply(LanthornEQ& filter, const Settings& s) {
  filter.setBypass(0);
  filter.setType(s.type);
  filter.setOrder(s.order);
  filter.setFrequency(s.hz);
  filter.setQ(s.q);
  filter.setGain(s.db);
  filter.setSampleRate(static_cast<float>(s.rate));
  filter.update();
}

/// The sections of the last update, its ramp over; none is 7 throughout.
std::vector<DigitalSection> sectionsOf(LanthornEQ& filter) {
  std::vector<double> silence(1001, 0.0);
  processInRealTime(filter, silence.data(), 1001);
  std::vector<DigitalSection> all(16, DigitalSection{7, 7, 7, 7, 7});
  filter.getCoefficients(all[0].data());
  all.erase(std::find(all.begin(), all.end(), DigitalSection{7, 7, 7, 7, 7}), all.end());
  return all;
}

bool finiteAndStable(const std::vector<DigitalSection>& sections) {
  return std::all_of(sections.begin(), sections.end(), [](const DigitalSection& s) {
    return std::all_of(s.begin(), s.end(), [](double c) { return std::isfinite(c); }) &&
           filters::isStable(s[3], s[4]);
  });
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
double distanceDb(LanthornEQ& filter, const std::vector<DigitalSection>& sections, double rate) {
  constexpr int kPoints = 200;
  double worst = 0.0;
  for (int i = 0; i < kPoints; ++i) {
    const double hz = 20.0 * std::pow(0.45 * rate / 20.0, i / (kPoints - 1.0));
    const double wanted = analogMagnitude(filter, hz);
    if (wanted < 0.01) continue;
    worst = std::max(worst, std::abs(20.0 * std::log10(magnitude(sections, hz, rate) / wanted)));
  }
  return worst;
}

TEST(LanthornEQTest, FollowsItsAnalogCurveAsCloseAsTheMatchGoesAndNoCloser) {
  const struct {
    const char* name;
    EQ::Type type;
    std::vector<int> orders;
    std::vector<float> gains;
    std::array<double, 3> median, worst;  // dB, at the three rates
  } cases[] = {{"high-pass",
                EQ::kHpf,
                {1, 2, 3, 4, 8, 12, 16},
                {0},
                {0.00928, 0.00919, 0.00233},
                {11.317, 7.218, 3.581}},
               {"low-pass",
                EQ::kLpf,
                {1, 2, 3, 4, 8, 12, 16},
                {0},
                {0.02318, 0.0182, 0.0082},
                {3.26, 2.997, 0.767}},
               {"low shelf",
                EQ::kLowShelf,
                {2},
                {-18, -6, -1, 1, 6, 18},
                {0.00123, 0.00079, 0.00034},
                {1.528, 1.277, 1.651}},
               {"high shelf",
                EQ::kHighShelf,
                {2},
                {-18, -6, -1, 1, 6, 18},
                {0.00047, 0.00039, 0.00018},
                {3.054, 3.422, 0.562}},
               {"peak",
                EQ::kPeak,
                {2},
                {-18, -6, -1, 1, 6, 18},
                {0.00268, 0.00219, 0.00072},
                {1.314, 0.957, 0.42}},
               {"notch", EQ::kNotch, {2}, {0}, {0.01216, 0.0097, 0.00202}, {4.059, 2.328, 3.159}},
               {"band-pass",
                EQ::kBpf,
                {2},
                {-6, 0, 6},
                {0.47943, 0.52986, 0.59923},
                {12.992, 12.992, 12.989}}};
  for (const auto& c : cases) {
    for (std::size_t r = 0; r < 3; ++r) {
      std::vector<double> distances;
      for (const int order : c.orders) {
        for (const float db : c.gains) {
          for (const float hz :
               {30.0F, 80.0F, 200.0F, 600.0F, 1500.0F, 4000.0F, 9000.0F, 16000.0F}) {
            for (const float q : {0.5F, 0.71F, 1.0F, 2.0F, 4.0F}) {
              SCOPED_TRACE(testing::Message() << c.name << ' ' << order << ' ' << db << ' ' << hz
                                              << ' ' << q << " at " << kRates[r]);
              LanthornEQ filter;
              apply(filter, {c.type, order, hz, q, db, kRates[r]});
              const auto sections = sectionsOf(filter);
              ASSERT_EQ(static_cast<int>(sections.size()),
                        (order + 1) / 2 * (c.orders.size() > 1) + (c.orders.size() == 1));
              ASSERT_TRUE(finiteAndStable(sections));
              distances.push_back(distanceDb(filter, sections, kRates[r]));
            }
          }
        }
      }
      std::sort(distances.begin(), distances.end());
      const double median = distances[distances.size() / 2];
      std::printf("%-10s at %5.0f Hz: median %.5f dB, worst %.3f dB\n", c.name, kRates[r], median,
                  distances.back());
      EXPECT_NEAR(median, c.median[r], 0.05 * c.median[r]);
      EXPECT_NEAR(distances.back(), c.worst[r], 0.1 * c.worst[r]);
    }
  }
}

TEST(LanthornEQTest, IsFiniteAndStableWhateverItIsSetTo) {
  constexpr unsigned kSeed = 11;
  std::mt19937 random(kSeed);
  const auto uniform = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  for (int i = 0; i < 6000; ++i) {
    Settings s{};
    s.type = static_cast<int>(uniform(1.0, 9.0));
    s.order = static_cast<int>(uniform(0.0, 17.0));
    s.rate = std::round(22050.0 * std::pow(192000.0 / 22050.0, uniform(0.0, 1.0)));
    s.hz = static_cast<float>(i % 8 == 0 ? 0.5 * s.rate : 10.0 * std::pow(3000.0, uniform(0, 1)));
    s.q = static_cast<float>(i % 5 == 0 ? 0.70710678 : 0.025 * std::pow(800.0, uniform(0.0, 1.0)));
    s.db = i % 7 == 0 ? 0.0F : static_cast<float>(uniform(-36.0, 36.0));
    SCOPED_TRACE(testing::Message()
                 << "seed " << kSeed << ", " << i << ": type " << s.type << ' ' << s.hz << " Hz of "
                 << s.rate << ", Q " << s.q << ", " << s.db << " dB, order " << s.order);
    LanthornEQ filter;
    apply(filter, s);
    ASSERT_TRUE(finiteAndStable(sectionsOf(filter)));
  }
}

/// A filter told to bypass goes on in single precision as long as a ramp runs: a probe for one.
bool ramps(LanthornEQ& filter) {
  filter.setBypass(1);
  std::vector<float> probe(4, 1.0F);
  processInRealTime(filter, probe.data(), 4);
  filter.setBypass(0);
  return probe != std::vector<float>(4, 1.0F);
}

TEST(LanthornEQTest, RampsOnlyWhenItsCurveChanges) {
  LanthornEQ filter;
  apply(filter, {EQ::kPeak, 2, 1000, 1, 6, 44100});
  EXPECT_TRUE(ramps(filter));
  filter.update();
  const auto first = sectionsOf(filter);
  filter.update();
  EXPECT_FALSE(ramps(filter)) << "nothing changed";
  filter.update();
  EXPECT_FALSE(ramps(filter)) << "the same anew";
  filter.setFrequency(1001);
  filter.refreshSections();
  filter.update();
  EXPECT_TRUE(ramps(filter)) << "rows designed for a curve are taken";
  // The points of the fit go with the rate, there and back.
  apply(filter, {EQ::kPeak, 2, 1000, 1, 6, 96000});
  LanthornEQ fresh;
  apply(fresh, {EQ::kPeak, 2, 1000, 1, 6, 96000});
  EXPECT_EQ(sectionsOf(filter), sectionsOf(fresh));
  apply(filter, {EQ::kPeak, 2, 1000, 1, 6, 44100});
  EXPECT_EQ(sectionsOf(filter), first);
}

TEST(LanthornEQTest, IsFlatWhereNothingIsToBeDone) {
  const struct {
    Settings settings;
    int flat;
  } cases[] = {{{EQ::kPeak, 2, 1000, 1, 0.0F, 48000}, 1},
               {{EQ::kPeak, 2, 1000, 1, 0.009F, 48000}, 1},
               {{EQ::kPeak, 2, 1000, 1, -0.011F, 48000}, 0},
               {{EQ::kPeak, 2, 10000, 1, 0, 16000}, 1},
               {{EQ::kPeak, 2, 10000, 1, 6, 16000}, 0},
               {{EQ::kLowShelf, 2, 100, 3, 0, 48000}, 1},
               {{EQ::kLowShelf, 2, 100, 3, -0.009F, 48000}, 1},
               {{EQ::kHighShelf, 2, 100, 0.5F, 0.009F, 48000}, 1},
               {{EQ::kHighShelf, 2, 100, 0.5F, 0.02F, 48000}, 0},
               {{EQ::kLpf, 0, 100, 1, 0, 48000}, 1},
               {{EQ::kLpf, 2, 100, 1, 0, 48000}, 0},
               {{EQ::kBpf, 2, 100, 1, 0, 48000}, 0},
               {{EQ::kOff, 2, 100, 1, 0, 48000}, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message()
                 << "type " << c.settings.type << ", " << c.settings.db << " dB");
    LanthornEQ filter;
    apply(filter, c.settings);
    EXPECT_EQ(filter.getFlat(), c.flat);
    const auto sections = sectionsOf(filter);
    if (c.flat == 1) {
      EXPECT_EQ(magnitude(sections, 5000.0, 48000.0), 1.0);
    }
    // Above half the rate what lies below is met all the same.
    if (c.settings.rate == 16000) {
      EXPECT_NEAR(magnitude(sections, 7000.0, 16000.0), analogMagnitude(filter, 7000.0), 0.05);
    }
  }
}

TEST(LanthornEQTest, InDifferenceModeIsTheRestOfTheSameFilter) {
  const Settings cases[] = {{EQ::kPeak, 2, 3000, 1, 9, 48000},    {EQ::kBpf, 2, 500, 2, -3, 48000},
                            {EQ::kHpf, 4, 1000, 0.71F, 0, 48000}, {EQ::kHpf, 3, 200, 2, 3, 48000},
                            {EQ::kLpf, 4, 5000, 1, 0, 48000},     {EQ::kLpf, 4, 300, 4, 6, 48000}};
  for (const auto& s : cases) {
    SCOPED_TRACE(testing::Message() << "type " << s.type << " at " << s.hz);
    LanthornEQ whole;
    LanthornEQ rest;
    rest.setDifferenceMode(true);
    apply(whole, s);
    apply(rest, s);
    ASSERT_TRUE(finiteAndStable(sectionsOf(rest)));
    sectionsOf(whole);
    for (const double hz : {30.0, 400.0, 2500.0, 11000.0, 23500.0}) {
      double re = 0.0;
      double im = 0.0;
      double restRe = 0.0;
      double restIm = 0.0;
      whole.responseAt(hz, &re, &im);
      rest.responseAt(hz, &restRe, &restIm);
      EXPECT_NEAR(restRe, re - 1.0, 1e-6) << hz;
      EXPECT_NEAR(restIm, im, 1e-6) << hz;
    }
    rest.setBypass(1);
    rest.update();
    std::vector<double> block(1200, 1.0);
    processInRealTime(rest, block.data(), 1200);
    processInRealTime(rest, block.data(), 1200);
    EXPECT_EQ(block, std::vector<double>(1200, 0.0)) << "out, the rest of nothing";
  }
}

}  // namespace
