#include "filters/eq.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <numbers>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

#include "filters/blt_eq.h"
#include "tests/filters/eq_settings.h"
#include "tests/support/real_time.h"

namespace {

double gainOf(double db) { return std::pow(10.0, db / 20.0); }

/// The power of a low-pass at `x` times its corner.
double lowPassPower(const Settings& s, double x) {
  const int order = std::clamp(s.order, 0, 32);
  const int pairs = order / 2;
  const int odd = order % 2;
  if (order == 0) return 1.0;
  if (s.subtype == 2) return std::pow(gainOf(s.db), 2) / (1.0 + std::pow(x, 2 * order));
  // Shifted rows have their corners where pairs * u^2 + odd * u = 1, u the inverse of its square.
  const bool shifted = s.subtype == 1 && pairs > 0;
  const double u = shifted ? (std::sqrt(odd + 4.0 * pairs) - odd) / (2.0 * pairs) : 1.0;
  const double pair = s.subtype == 1 ? 1.0 + std::pow(x * x * u, 2)
                                     : std::pow(1.0 - x * x, 2) + std::pow(x / s.q, 2);
  return std::pow(gainOf(s.db), 2) / (std::pow(pair, pairs) * std::pow(1.0 + x * x * u, odd));
}

/// |x^2 a + jx b - c| of a second-order row's polynomial.
double size(double a, double b, double c, double x) { return std::hypot(c - x * x * a, x * b); }

double shelfMagnitude(const Settings& s, double x) {
  constexpr double kHalfRoot = 0.707106781;  // nine digits, as all shelves have it
  const double spread =
      std::max(0.0, s.q - kHalfRoot) * static_cast<double>(toFloat(s.percent) * 0.01F);
  const auto width = [&s](double q) {
    return std::pow(q * 1.41421356, std::abs(s.db) / 16.0) * kHalfRoot;
  };
  const double top = gainOf(std::abs(s.db));
  const double n1 = std::sqrt(top) / width(s.q - spread);
  const bool high = s.type == EQ::kHighShelf;
  const double boost =
      size(high ? top : 1, n1, high ? 1 : top, x) / size(1, 1 / width(s.q + spread), 1, x);
  return s.db < 0 ? 1.0 / boost : boost;
}

/// (1 - t^-2) / Qe^2 = (1 - B^-2) / Q^2 with t = B^(1/p).
double effectiveQ(const Settings& s) {
  const double b = gainOf(std::abs(s.db) / 2);
  const double t = std::pow(b, std::pow(10.0, s.percent * 0.006));
  const bool bends = (s.type == EQ::kPeak || s.type == EQ::kBpf) && b > 1.0 + 1e-7;
  return bends ? s.q * std::sqrt((1.0 - t * t) / (1.0 - b * b)) : s.q;
}

/// The analog magnitude at `x` times the corner, by closed forms.
double closedForm(const Settings& s, double x) {
  const double a = gainOf(s.db / 2);
  const double q = effectiveQ(s);
  if (s.type == EQ::kLpf) return std::sqrt(lowPassPower(s, x));
  if (s.type == EQ::kHpf) return std::sqrt(lowPassPower(s, 1 / x));
  if (s.type == EQ::kLowShelf || s.type == EQ::kHighShelf) return shelfMagnitude(s, x);
  if (s.type == EQ::kPeak) return size(1, a / q, 1, x) / size(1, 1 / (q * a), 1, x);
  if (s.type == EQ::kBpf) return x * a * a / q / size(1, 1 / q, 1, x);
  if (s.type == EQ::kNotch) return std::abs(1 - x * x) / size(1, 1 / q, 1, x);
  return 1.0;  // off, all-pass, unknown
}

TEST(EQTest, MeetsTheClosedFormsAndTheBilinearFilterThemOnItsWarpedAxis) {
  std::mt19937 random(17);
  const auto between = [&random](double low, double high) {
    const double x = std::uniform_real_distribution<double>(low, high)(random);
    return static_cast<double>(toFloat(x));
  };
  BLTEQ filter;
  for (int i = 0; i < 3000; ++i) {
    Settings s{std::array{-1, 1, 2, 3, 4, 5, 6, 7, 8, 9}[random() % 10],
               std::array{0, 1, 2, 6}[random() % 4], static_cast<int>(random() % 24) - 3};
    s.hz = random() % 2 == 0 ? between(20, 1000) : between(1000, 24000);
    s.db = random() % 4 == 0 ? 0.0 : between(-24, 24);
    s.q = random() % 2 == 0 ? between(0.1, 1) : between(1, 10);
    s.percent = random() % 4 == 0 ? 0.0 : between(0, 60);
    s.rate = std::array{44100.0, 48000.0, 192000.0}[random() % 3];
    SCOPED_TRACE(testing::Message() << i << ": type " << s.type << '/' << s.subtype << " order "
                                    << s.order << ' ' << s.hz << " Hz " << s.db << " dB Q " << s.q);
    ASSERT_TRUE(s.apply(filter));
    ASSERT_FALSE(filter.isDirty() || s.apply(filter)) << "no setter reports what is no change";
    for (const double x : {0.01, 0.3, 0.8, 1.0, 1.7, 5.0, 60.0}) {
      const double expected = closedForm(s, x);
      ASSERT_NEAR(analogMagnitude(filter, x * s.hz), expected, 1e-7 * expected + 1e-12) << x;
    }
    const AnalogSections& rows = filter.activeSections();
    const bool pass = s.type == EQ::kHpf || s.type == EQ::kLpf;
    const int one = s.type >= EQ::kHpf && s.type <= EQ::kAllpass ? 1 : 0;
    ASSERT_EQ(rows.count, pass ? (std::clamp(s.order, 0, 32) + 1) / 2 : one);
    ASSERT_EQ(rows.rows[0][1] < 0.0, s.type == EQ::kAllpass);
    ASSERT_NEAR(filter.effectiveQ() / effectiveQ(s), 1.0, 1e-5);
    for (const double share : {0.001, 0.02, 0.1, 0.25, 0.4, 0.45, 0.499}) {
      double expected = 1.0;
      for (std::size_t k = 0; k < static_cast<std::size_t>(rows.count); ++k) {
        const AnalogRow& row = rows.rows[k];
        const double pole = row[3] != 0 && row[5] != 0 ? std::sqrt(row[5] / row[3]) : s.hz;
        const double warp = std::min(0.45 * s.rate, pole);
        const double tangent = std::tan(std::numbers::pi * warp / s.rate);
        expected *= analogMagnitude(&row, 1, warp * std::tan(std::numbers::pi * share) / tangent);
      }
      double re = 0.0, im = 0.0;
      filter.responseAt(share * s.rate, &re, &im);
      // Near its zeros a filter is a difference of numbers 1e6 times as large.
      ASSERT_NEAR(std::hypot(re, im), expected, 1e-5 * expected + 1e-7) << share;
    }
  }
}

TEST(EQTest, BypassAndFlatAreUnityAndWholeRecordsAreWritten) {
  BLTEQ filter;
  Settings{EQ::kLpf, 2, 5}.apply(filter);
  AnalogSections rows;
  rows.rows.fill({5, 5, 5, 5, 5, 5});
  filter.design(&rows, false);
  EXPECT_TRUE(rows == filter.activeSections()) << "nothing of what was there before is left";
  EXPECT_LT(analogMagnitude(filter, 500), 0.1);
  filter.setFlat(1);
  EXPECT_EQ(analogMagnitude(filter, 500), 1.0);
  filter.setFlat(0);
  filter.setBypass(1);
  EXPECT_EQ(analogMagnitude(filter, 500), 1.0);
  filter.design(&rows, true);
  EXPECT_EQ(rows.count, 3);
  filter.design(&rows, false);
  EXPECT_TRUE(rows == kFlatSections);
  // All denominators 0: 1 where the numerators are 0 too.
  const AnalogRow onPole[] = {{1, 0, 4, 1, 0, 4}, {1, 0, 9, 1, 0, 4}};
  EXPECT_EQ(analogMagnitude(&onPole[0], 1, 2.0), 1.0);
  EXPECT_EQ(analogMagnitude(&onPole[1], 1, 2.0), 0.0);
}

TEST(EQTest, ControlsFollowTheTypeAndTheOneBeforeIt) {
  const struct {
    int type, subtype, flags;
    std::string label;
  } rows[] = {{0, 0, 2, ""},       {1, 0, 22, ""},        {6, 1, 18, ""},        {6, 3, 22, ""},
              {1, 9, 22, ""},      {6, 7, 22, ""},        {1, 10, 18, ""},       {4, 2, 6, ""},
              {5, 5, 3, ""},       {5, 0, 15, "SHIFT"},   {5, 4, 7, ""},         {7, 0, 2, ""},
              {8, 0, 2, ""},       {3, 0, 15, "GAIN->Q"}, {3, 11, 15, "SOFTEN"}, {3, 4, 7, ""},
              {2, 0, 15, "SHIFT"}, {2, 4, 11, "CUT"},     {2, 5, 11, "BOOST"},   {2, 11, 3, ""}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.type << '/' << row.subtype);
    BLTEQ now;
    BLTEQ before;
    for (BLTEQ* filter : {&now, &before}) filter->setSubtype(row.subtype);
    for (const int type : {7, row.type, row.type}) now.setType(type);
    for (const int type : {row.type, (row.type + 1) % 9}) before.setType(type);
    EXPECT_EQ(now.capabilityFlags(false), row.flags);
    EXPECT_EQ(now.shapeLabel(false), row.label);
    EXPECT_EQ(before.capabilityFlags(true), row.flags);
    EXPECT_EQ(before.shapeLabel(true), row.label);
  }
}

/// A filter told to bypass goes on in single precision as long as a ramp runs: a probe for one.
bool ramps(EQ& filter) {
  const int bypass = filter.getBypass();
  filter.setBypass(1);
  float probe = 1e-20F;
  processInRealTime(filter, &probe, 1);
  filter.setBypass(bypass);
  return probe != 1e-20F;
}

template <typename Filter>
void expectRampsWhereTheCurveChanges(bool difference) {
  Filter filter;
  filter.setDifferenceMode(difference);
  Settings{EQ::kLpf, 0, 4}.apply(filter);
  const bool rest = difference && !std::is_same_v<Filter, BLTEQ>;  // which has no such sections
  const struct {
    const char* what;
    std::function<void()> act;
    bool moves, out = false;
  } steps[] = {
      {"new", [] {}, true},
      {"nothing changed", [] {}, false},
      {"bypassed there and back", [&] { filter.setBypass(1), filter.setBypass(0); }, false},
      {"the first of two equal sections", [&] { filter.setOrder(2); }, rest},
      {"a curve's rows", [&] { filter.setFrequency(1002), filter.refreshSections(); }, true},
      {"out", [&] { filter.setBypass(1); }, true, true},
      {"in", [&] { filter.setBypass(0); }, true},
      {"off", [&] { filter.setType(EQ::kOff); }, true, true}};
  for (const auto& step : steps) {
    SCOPED_TRACE(testing::Message() << step.what << (difference ? ", difference" : ""));
    step.act();
    filter.update();
    EXPECT_FALSE(filter.isDirty() && !step.out);
    EXPECT_EQ(filter.getFlat(), step.out ? 1 : 0);
    EXPECT_EQ(ramps(filter), step.moves);
    filter.update();
    std::vector<double> block;
    for (const std::size_t frames : {600U, 401U, 100U}) {
      block.assign(frames, 0.25);
      processInRealTime(filter, block.data(), static_cast<int>(frames));
      if (!step.out) filter.update();  // nor does the same again start a ramp anew
    }
    EXPECT_FALSE(ramps(filter)) << "the ramp over";
    EXPECT_EQ(block == std::vector<double>(100, difference ? 0.0 : 0.25), step.out);
  }
}

TEST(EQTest, RampsOnlyWhereTheCurveChangesAndPassesWhenOut) {
  for (const bool difference : {false, true}) {
    expectRampsWhereTheCurveChanges<BLTEQ>(difference);
    expectRampsWhereTheCurveChanges<LanthornEQ>(difference);
  }
  // At 0 Hz a low-pass is silence, and nothing that is not a number gets into the state.
  BLTEQ filter;
  Settings{EQ::kLpf, 0, 2, 0}.apply(filter);
  std::vector<double> wide(1001, 0.25);
  processInRealTime(filter, wide.data(), 1001);
  EXPECT_EQ(filter.magnitudeAt(1000, nullptr), 0.0);
  EXPECT_TRUE(std::all_of(wide.begin(), wide.end(), [](double y) { return std::abs(y) < 1e3; }));
}

}  // namespace
