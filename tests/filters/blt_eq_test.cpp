#include "filters/blt_eq.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "tests/support/real_time.h"

namespace {

TEST(BLTEQTest, IsItsAnalogCurveOnTheWarpedAxis) {
  const struct {
    int type, subtype, order;
    float hz, db, q, rate;
  } cases[] = {
      {EQ::kLpf, 0, 4, 1000, 0, 0.9F, 44100},     {EQ::kLpf, 1, 5, 3000, 6, 1, 48000},
      {EQ::kLpf, 2, 7, 9000, 0, 1, 48000},        {EQ::kHpf, 0, 16, 8000, 0, 0.71F, 96000},
      {EQ::kHpf, 2, 1, 500, -6, 1, 48000},        {EQ::kLpf, 2, 3, 23000, 0, 1, 44100},
      {EQ::kLowShelf, 0, 2, 300, 9, 1.2F, 44100}, {EQ::kHighShelf, 0, 2, 8000, -9, 0.6F, 44100},
      {EQ::kPeak, 0, 2, 2000, 12, 4, 44100},      {EQ::kPeak, 0, 2, 30000, 12, 1, 44100},
      {EQ::kBpf, 0, 2, 700, -3, 2, 192000},       {EQ::kNotch, 0, 2, 50, 0, 8, 48000},
      {EQ::kAllpass, 0, 2, 5000, 0, 1, 48000},    {EQ::kLpf, 0, 0, 100, 0, 1, 48000}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << "type " << c.type << " order " << c.order << " at " << c.hz);
    BLTEQ filter;
    filter.setBypass(0);
    filter.setType(c.type);
    filter.setSubtype(c.subtype);
    filter.setOrder(c.order);
    filter.setFrequency(c.hz);
    filter.setGain(c.db);
    filter.setQ(c.q);
    filter.setSampleRate(c.rate);
    filter.update();
    EXPECT_FALSE(filter.isDirty());
    const AnalogSections& rows = filter.activeSections();
    for (const double share : {0.0, 0.001, 0.02, 0.1, 0.25, 0.4, 0.45, 0.499}) {
      double expected = 1.0;
      for (std::size_t i = 0; i < static_cast<std::size_t>(rows.count); ++i) {
        const AnalogRow& row = rows.rows[i];
        const double pole = row[3] != 0 && row[5] != 0 ? std::sqrt(row[5] / row[3]) : c.hz;
        const double warp = std::min(0.45 * c.rate, pole);
        const double analogHz =
            warp * std::tan(std::numbers::pi * share) / std::tan(std::numbers::pi * warp / c.rate);
        expected *= analogMagnitude(&row, 1, analogHz);
      }
      // Near its zeros a narrow notch is a difference of numbers 1e6 times as large.
      EXPECT_NEAR(filter.magnitudeAt(share * c.rate, nullptr), expected, 1e-8) << share;
    }
  }
}

TEST(BLTEQTest, StartsARampOnlyForNewCoefficients) {
  BLTEQ filter;
  filter.setBypass(0);
  filter.setType(EQ::kLpf);
  filter.setOrder(4);
  filter.update();
  std::vector<double> wide(1001, 0.0);
  processInRealTime(filter, wide.data(), 1001);
  // In single precision a filter told to bypass goes on as long as a ramp runs: a probe for one.
  const auto ramps = [&] {
    filter.setBypass(1);
    std::vector<float> probe(4, 1.0F);
    processInRealTime(filter, probe.data(), 1);
    processInRealTime(filter, probe.data() + 1, 3);
    filter.setBypass(0);
    return probe != std::vector<float>(4, 1.0F);
  };
  filter.setFrequency(1000);
  filter.update();
  EXPECT_FALSE(ramps()) << "nothing changed";
  filter.setOrder(2);
  filter.update();
  EXPECT_FALSE(ramps()) << "the first of two equal sections stays";
  filter.setFrequency(1001);
  filter.refreshSections();
  EXPECT_FALSE(filter.isDirty());
  filter.update();
  EXPECT_TRUE(ramps()) << "rows designed for a curve are taken";
  filter.update();  // bypass there and back counts as a change
  processInRealTime(filter, wide.data(), 600);
  filter.update();
  processInRealTime(filter, wide.data(), 401);
  EXPECT_FALSE(ramps()) << "nor does the same again start it anew";
  filter.setOrder(0);
  filter.update();
  double c[80];
  std::fill(c, c + 80, 7.0);
  filter.getCoefficients(c);
  EXPECT_EQ(c[0], 7.0) << "no sections";
  wide.assign(1001, 0.25);
  processInRealTime(filter, wide.data(), 1001);
  EXPECT_EQ(wide, std::vector<double>(1001, 0.25));
  filter.setType(EQ::kOff);
  filter.update();
  EXPECT_EQ(filter.getFlat(), 1);
  // 0 Hz: a low-pass is silence, and nothing that is not a number gets into the state.
  filter.setType(EQ::kLpf);
  filter.setOrder(2);
  filter.setFrequency(0);
  filter.update();
  processInRealTime(filter, wide.data(), 1001);
  EXPECT_EQ(filter.magnitudeAt(1000, nullptr), 0.0);
  EXPECT_TRUE(std::all_of(wide.begin(), wide.end(), [](double y) { return std::abs(y) < 1e3; }));
}

}  // namespace
