#include "host/curves.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "host/parameter_record.h"
#include "tests/support/data_rows.h"

namespace {

constexpr std::int32_t kUnknown = 12;

TEST(Curves, GiveTheirPlainValues) {
  for (const DataRow& row : dataRows(TEST_DATA "/curves.txt")) {
    const float low = std::stof(row[1]), high = std::stof(row[2]);
    EXPECT_FLOAT_EQ(normalisedToPlain(std::stof(row[3]), low, high, std::stoi(row[0])),
                    std::stof(row[4]))
        << "curve " << row[0] << " at " << row[3];
  }
  // Floors the natural logarithm of 128 / 32, 1.386, although the other way counts octaves: kept.
  EXPECT_FLOAT_EQ(plainToNormalised(128, 32, 1024, kCurveOctaves), 0.28853901F);
  EXPECT_FLOAT_EQ(plainToNormalised(7, -1, 7, kCurveWhole), 8.0F / 9.0F) << "its lower edge";
  EXPECT_EQ(plainToNormalised(3, -5, 5, kUnknown), 0);
}

TEST(Curves, InvertEveryValue) {
  for (const DataRow& row : dataRows(TEST_DATA "/curve_ranges.txt")) {
    SCOPED_TRACE(row[0] + " from " + row[1]);
    const std::int32_t curve = std::stoi(row[0]);
    const float min = std::stof(row[1]), max = std::stof(row[2]), width = std::stof(row[3]);
    // The steepest curves multiply the rounding of a normalised value, 6e-8, by up to 8 ranges;
    // whole values come back exactly.
    const float tolerance = width > 0 ? 0.0F : 1e-6F * (max - min);
    const float step = width > 0 ? width : (max - min) / 1000.0F;
    for (int i = 0; min + step * static_cast<float>(i) <= max; ++i) {
      const float plain = min + step * static_cast<float>(i);
      const float there = plainToNormalised(plain, min, max, curve);
      ASSERT_NEAR(normalisedToPlain(there, min, max, curve), plain, tolerance);
    }
  }
}

TEST(Curves, ClampWhatIsOutOfRangeAndNeverGiveNan) {
  constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
  for (std::int32_t curve = -1; curve <= kUnknown; ++curve) {
    SCOPED_TRACE(testing::Message() << "curve " << curve);
    const float lowest = normalisedToPlain(0.0F, 6, 96, curve);
    for (const float below : {-1.0F, kNan}) {
      EXPECT_EQ(normalisedToPlain(below, 6, 96, curve), lowest);
      EXPECT_EQ(plainToNormalised(below, 6, 96, curve), plainToNormalised(6, 6, 96, curve));
    }
    EXPECT_EQ(normalisedToPlain(2.0F, 6, 96, curve), normalisedToPlain(1.0F, 6, 96, curve));
    EXPECT_EQ(plainToNormalised(99, 6, 96, curve), plainToNormalised(96, 6, 96, curve));
    // Ranges that no table holds: empty, and with a logarithm that does not exist.
    for (const float min : {3.0F, 0.0F, -3.0F}) {
      for (const float x : {0.0F, 0.5F, 1.0F}) {
        const float plain = normalisedToPlain(x, min, 3, curve);
        EXPECT_TRUE(plain >= min && plain <= 3) << plain;
        const float back = plainToNormalised(plain, min, 3, curve);
        EXPECT_TRUE(back >= 0 && back <= 1) << back;
      }
    }
  }
}

}  // namespace
