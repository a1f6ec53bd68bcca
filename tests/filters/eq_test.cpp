#include "filters/eq.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include "filters/blt_eq.h"

namespace {

constexpr double kCorner = 250.0;
constexpr double kRatios[] = {0.01, 0.3, 0.8, 1.0, 1.7, 5.0, 60.0};

double decibels(double magnitude) { return 20.0 * std::log10(magnitude); }

/// A filter out of bypass at `kCorner`, designed.
struct Designed : BLTEQ {
  Designed(int kind, float db, float quality, float percent = 0.5F, int shape = 0, int steps = 2) {
    setBypass(0);
    setType(kind);
    setSubtype(shape);
    setOrder(steps);
    setFrequency(static_cast<float>(kCorner));
    setGain(db);
    setQ(quality);
    setParameterA(percent);
    refreshSections();
  }
  double at(double ratio) const { return analogMagnitude(*this, ratio * kCorner); }
  const AnalogRow& row(std::size_t i) const { return activeSections().rows[i]; }
};

// The corner u = (1 / w)^2 of a stack of h shifted rows: where h u^2 + odd u = 1.
double shiftOf(int h, int odd) {
  double low = 0.0;
  double high = 1.0;
  for (int i = 0; i < 60; ++i) {
    const double u = 0.5 * (low + high);
    (h * u * u + odd * u < 1.0 ? low : high) = u;
  }
  return h == 0 ? 1.0 : low;
}

double lowPassPower(int shape, int order, double q, double x) {
  const int h = order / 2;
  const int odd = order % 2;
  if (order == 0) return 1.0;
  if (shape == 2) return 1.0 / (1.0 + std::pow(x, 2 * order));
  const double u = shape == 1 ? shiftOf(h, odd) : 1.0;
  const double pair =
      shape == 1 ? 1.0 + std::pow(x * x * u, 2) : std::pow(1.0 - x * x, 2) + std::pow(x / q, 2);
  return 1.0 / (std::pow(pair, h) * std::pow(1.0 + x * x * u, odd));
}

TEST(EQTest, PassFiltersMeetTheirClosedForms) {
  for (const int shape : {0, 1, 2, 6}) {
    for (const int asked : {-3, 1, 2, 3, 4, 7, 16, 40}) {
      for (const float db : {0.0F, -7.5F}) {
        SCOPED_TRACE(testing::Message() << shape << " order " << asked << " at " << db);
        const int order = std::clamp(asked, 0, 32);
        const double q = shape == 6 ? 0.6 : 1.5;
        const Designed low(EQ::kLpf, db, static_cast<float>(q), 0.5F, shape, asked);
        const Designed high(EQ::kHpf, db, static_cast<float>(q), 0.5F, shape, asked);
        ASSERT_EQ(low.activeSections().count, (order + 1) / 2);
        const double height = order == 0 ? 1.0 : std::pow(10.0, db / 20.0);
        for (const double x : kRatios) {
          const double power =
              lowPassPower(shape % 6, order, static_cast<double>(static_cast<float>(q)), x);
          const double expected = height * std::sqrt(power);
          ASSERT_NEAR(low.at(x) / expected, 1.0, 1e-11) << x;
          ASSERT_NEAR(high.at(1.0 / x) / expected, 1.0, 1e-11) << x;
        }
        if (order % 2 == 1 && order > 1) {
          const auto last = static_cast<std::size_t>(order / 2);
          EXPECT_EQ(low.row(last)[1], low.row(last)[4]) << "no gain in the odd row";
        }
      }
    }
  }
  // -3.01 dB at the corner at every order of the Butterworth shape, whatever Q.
  EXPECT_NEAR(decibels(Designed(EQ::kHpf, 0, 9, 0, 2, 5).at(1.0)), -3.0102999566, 1e-9);
}

TEST(EQTest, ShelvesReachTheirGainAndTheirShape) {
  // q1 and q2 with the power e of Q written as roots: 16 dB gives Q, 8 dB its square root.
  const double k = 0.707106781;
  const double root = 1.41421356;
  const double spread = 0.22999998927116394;  // 23 % multiplied in single precision
  const struct {
    float db, q, percent;
    double q1, q2;
  } cases[] = {{16, 2, 23, (2 - (2 - k) * spread) * root * k, (2 + (2 - k) * spread) * root * k},
               {8, 2, 50, std::sqrt((2 - (2 - k) * 0.5) * root) * k,
                std::sqrt((2 + (2 - k) * 0.5) * root) * k},
               {-16, 0.5F, 50, 0.5 * root * k, 0.5 * root * k},
               {-8, 2, 0, std::sqrt(2 * root) * k, std::sqrt(2 * root) * k},
               {0, 30, 80, k, k}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.db << " dB, Q " << c.q);
    const Designed low(EQ::kLowShelf, c.db, c.q, c.percent);
    const Designed high(EQ::kHighShelf, c.db, c.q, c.percent);
    EXPECT_NEAR(decibels(low.at(0)), c.db, 1e-12);
    EXPECT_NEAR(decibels(low.at(1e9)), 0.0, 1e-6);
    EXPECT_NEAR(decibels(high.at(0)), 0.0, 1e-12);
    EXPECT_NEAR(decibels(high.at(1e9)), c.db, 1e-6);
    const double x = std::pow(10.0, std::abs(c.db) / 20.0);
    const bool cut = c.db < 0;
    for (const Designed* shelf : {&low, &high}) {
      EXPECT_NEAR(shelf->row(0)[cut ? 4 : 1] * c.q1 / (std::sqrt(x) * kCorner), 1.0, 1e-13);
      EXPECT_NEAR(shelf->row(0)[cut ? 1 : 4] * c.q2 / kCorner, 1.0, 1e-13);
      if (c.db != 0.0F) continue;
      EXPECT_EQ(shelf->row(0)[1], shelf->row(0)[4]);
    }
  }
}

TEST(EQTest, PeaksNotchAndAllpassMeetTheirClosedForms) {
  for (const float db : {-18.0F, -0.25F, 0.0F, 1e-14F, 3.0F, 24.0F}) {
    for (const float percent : {0.0F, 0.5F, 40.0F}) {
      SCOPED_TRACE(testing::Message() << db << " dB, " << percent << " %");
      const Designed peak(EQ::kPeak, db, 2.5F, percent);
      const Designed band(EQ::kBpf, db, 2.5F, percent);
      EXPECT_NEAR(decibels(peak.at(1)), db, 1e-9);
      EXPECT_NEAR(peak.at(0), 1.0, 1e-12);
      EXPECT_NEAR(peak.at(1e8), 1.0, 1e-12);
      EXPECT_NEAR(decibels(band.at(1)), db, 1e-9);
      EXPECT_EQ(band.at(0), 0.0);
      // (1 - t^-2) / Qe^2 = (1 - B^-2) / Q^2 with t = B^(1/p).
      const double b = std::pow(10.0, std::abs(db) / 40.0);
      const double raised = std::pow(b, 2.0 * std::pow(10.0, percent * 0.006));
      const double ratio = db < 0 || db > 1e-6F ? (1.0 - raised) / (1.0 - b * b) : 1.0;
      EXPECT_NEAR(peak.effectiveQ() / (2.5 * std::sqrt(ratio)), 1.0, 1e-7);
      EXPECT_EQ(band.row(0)[4], kCorner * (1.0 / static_cast<double>(band.effectiveQ())));
      EXPECT_NEAR(peak.row(0)[1] * peak.row(0)[4],
                  std::pow(kCorner / static_cast<double>(peak.effectiveQ()), 2), 1e-6);
    }
  }
  const Designed notch(EQ::kNotch, 6, 3);
  const Designed allpass(EQ::kAllpass, 6, 3);
  EXPECT_EQ(notch.at(1), 0.0);
  EXPECT_EQ(notch.effectiveQ(), 3.0F);
  EXPECT_LT(allpass.row(0)[1], 0.0);
  for (const double x : kRatios) {
    const double lost = std::pow(x / 3.0, 2) / std::pow(1.0 - x * x, 2);
    EXPECT_NEAR(allpass.at(x), 1.0, 1e-12);
    EXPECT_NEAR(notch.at(x), 1.0 / std::sqrt(1.0 + lost), 1e-12);
  }
}

TEST(EQTest, BypassFlatAndUnknownTypes) {
  Designed filter(EQ::kLpf, 0, 1, 0.5F, 2, 5);
  AnalogSections rows;
  rows.rows.fill({5, 5, 5, 5, 5, 5});
  filter.design(&rows, false);
  // Whole records are compared, thus nothing of what was there before may be left.
  EXPECT_TRUE(rows == filter.activeSections());
  EXPECT_LT(filter.at(2), 0.1);
  filter.setFlat(1);
  EXPECT_EQ(filter.at(2), 1.0);
  filter.setFlat(0);
  filter.setBypass(1);
  EXPECT_EQ(filter.at(2), 1.0);
  filter.design(&rows, true);
  EXPECT_EQ(rows.count, 3);
  filter.design(&rows, false);
  EXPECT_TRUE(rows == kFlatSections);
  for (const int kind : {-1, 9}) EXPECT_EQ(Designed(kind, 0, 1).activeSections().count, 0);
  // All denominators 0: 1 where the numerators are 0 too.
  const AnalogRow zero{1, 0, 4, 1, 0, 4};
  const AnalogRow pole{1, 0, 9, 1, 0, 4};
  EXPECT_EQ(analogMagnitude(&zero, 1, 2.0), 1.0);
  EXPECT_EQ(analogMagnitude(&pole, 1, 2.0), 0.0);
}

TEST(EQTest, SettersReportChangesAndControlsFollowTheType) {
  Designed filter(EQ::kLowShelf, 0, 1);
  const std::function<bool()> setters[] = {
      [&] { return filter.setSampleRate(48000); },
      [&] { return filter.setBypass(3); },
      [&] { return filter.setType(EQ::kPeak); },
      [&] { return filter.setSubtype(11); },
      [&] { return filter.setFrequency(std::nextafter(250.0F, 0.0F)); },
      [&] { return filter.setOrder(7); },
      [&] { return filter.setGain(1); },
      [&] { return filter.setQ(2); },
      [&] { return filter.setParameterA(3); },
      [&] { return filter.setParameterB(3); },
      [&] { return filter.setDifferenceMode(true); }};
  for (const auto& set : setters) {
    EXPECT_TRUE(set());
    EXPECT_TRUE(filter.isDirty());
    filter.refreshSections();
    EXPECT_FALSE(set() || filter.isDirty());
  }
  filter.setType(EQ::kPeak);  // no change: the type before stays the shelf

  const struct {
    int subtype, before, flags;  // of the low shelf before, and of the peak
    std::string labelBefore, label;
  } cases[] = {{0, 15, 15, "SHIFT", "GAIN->Q"},
               {4, 11, 7, "CUT", ""},
               {5, 11, 7, "BOOST", ""},
               {11, 3, 15, "", "SOFTEN"}};
  for (const auto& c : cases) {
    filter.setSubtype(c.subtype);
    EXPECT_EQ(filter.capabilityFlags(true), c.before) << c.subtype;
    EXPECT_EQ(filter.capabilityFlags(false), c.flags) << c.subtype;
    EXPECT_EQ(filter.shapeLabel(true), c.labelBefore);
    EXPECT_EQ(filter.shapeLabel(false), c.label);
  }
  const struct {
    int type, subtype, flags;
  } others[] = {{0, 0, 2}, {1, 0, 22}, {6, 1, 18}, {6, 3, 22}, {1, 9, 22}, {6, 7, 22}, {1, 10, 18},
                {4, 2, 6}, {5, 0, 15}, {5, 4, 7},  {5, 5, 3},  {7, 0, 2},  {8, 0, 2}};
  for (const auto& c : others) {
    const Designed other(c.type, 0, 1, 0.5F, c.subtype);
    EXPECT_EQ(other.capabilityFlags(false), c.flags) << c.type << ' ' << c.subtype;
  }
}

}  // namespace
