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
  const struct {
    std::int32_t curve;
    float min, max, step;
  } cases[] = {{kCurveLinear, -60, 6, 0},
               {kCurveExponential, 10, 30000, 0},
               {kCurveSquare, 1, 50, 0},
               {kCurveCube, -3, 3, 0},
               {kCurveCentredCube, -24, 24, 0},
               {kCurveFourthPower, 0, 9, 0},
               {kCurveWhole, -1, 7, 1},
               {kCurveWhole, 6, 96, 1},
               {kCurveWhole, 0, 100, 1},
               {kCurveMultipleOf6, 6, 96, 6},
               {kCurveSwitch, 0, 1, 1},
               {kCurveFloor, 0, 64, 1},
               // Without a nudge only a division without remainder leads back.
               {kCurveMultipleOf12, 12, 75, 12}};
  for (const auto& c : cases) {
    // The steepest curves multiply the rounding of a normalised value, 6e-8, by up to 8 ranges;
    // whole values come back exactly.
    const float tolerance = c.step > 0 ? 0.0F : 1e-6F * (c.max - c.min);
    const float step = c.step > 0 ? c.step : (c.max - c.min) / 1000.0F;
    for (int i = 0; c.min + step * static_cast<float>(i) <= c.max; ++i) {
      const float plain = c.min + step * static_cast<float>(i);
      const float there = plainToNormalised(plain, c.min, c.max, c.curve);
      ASSERT_NEAR(normalisedToPlain(there, c.min, c.max, c.curve), plain, tolerance) << c.curve;
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
