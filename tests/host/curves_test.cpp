#include "host/curves.h"

#include <gtest/gtest.h>

#include <limits>

#include "host/parameter_record.h"

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr std::int32_t kUnknown = 12;

TEST(Curves, GiveTheirPlainValues) {
  const struct {
    std::int32_t curve;
    float min, max, normalised, plain;
  } cases[] = {{kCurveLinear, -24, 24, 0.25F, -12},
               {kCurveExponential, 20, 20000, 0.5F, 632.45553F},
               {kCurveExponential, 0.1F, 100, 0.75F, 17.782794F},
               {kCurveSquare, 10, 110, 0.3F, 19},
               {kCurveCube, 10, 110, 0.3F, 12.7F},
               {kCurveFourthPower, 10, 110, 0.3F, 10.81F},
               {kCurveCentredCube, -12, 12, 0.25F, -1.5F},
               // Nine whole numbers from -1 to 7: each owns a ninth, counted from its lower edge.
               {kCurveWhole, -1, 7, 0.0F, -1},
               {kCurveWhole, -1, 7, 0.1110F, -1},
               {kCurveWhole, -1, 7, 0.1112F, 0},
               {kCurveWhole, -1, 7, 0.8888F, 6},
               {kCurveWhole, -1, 7, 0.8890F, 7},
               {kCurveWhole, -1, 7, 1.0F, 7},
               // Where the ninth of 91 slices begins, less than the nudge below it and more.
               {kCurveWhole, 6, 96, 9.0F / 91.0F - 5e-8F, 15},
               {kCurveWhole, 6, 96, 9.0F / 91.0F - 5e-7F, 14},
               {kCurveMultipleOf6, 6, 96, 5.4F / 91.0F, 6},
               {kCurveMultipleOf6, 6, 96, 5.6F / 91.0F, 12},
               {kCurveMultipleOf6, 6, 96, 0.5F, 48},
               {kCurveMultipleOf6, 6, 96, 1.0F, 96},
               {kCurveMultipleOf12, 12, 96, 11.9F / 85.0F, 12},
               {kCurveMultipleOf12, 12, 96, 12.1F / 85.0F, 24},
               {kCurveSwitch, 0, 1, 0.99F, 0},
               {kCurveSwitch, 0, 1, 1.0F, 1},
               {kCurveFloor, 0, 8, 0.49F, 3},
               {kCurveFloor, 0, 8, 0.5F, 4},
               {kCurveOctaves, 32, 1024, 0.19F, 32},
               {kCurveOctaves, 32, 1024, 0.99F, 512},
               {kUnknown, -5, 5, 0.9F, 0},
               {kUnknown, 2, 5, 0.9F, 2}};
  for (const auto& c : cases) {
    EXPECT_FLOAT_EQ(normalisedToPlain(c.normalised, c.min, c.max, c.curve), c.plain)
        << "curve " << c.curve << " at " << c.normalised;
  }
  EXPECT_FLOAT_EQ(plainToNormalised(7, -1, 7, kCurveWhole), 8.0F / 9.0F) << "its lower edge";
  // Floors the natural logarithm of 128 / 32, 1.386, although the other way counts octaves: kept.
  EXPECT_FLOAT_EQ(plainToNormalised(128, 32, 1024, kCurveOctaves), 0.28853901F);
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
  for (std::int32_t curve = -1; curve <= kUnknown; ++curve) {
    SCOPED_TRACE(testing::Message() << "curve " << curve);
    const float lowest = normalisedToPlain(0.0F, 6, 96, curve);
    const float highest = normalisedToPlain(1.0F, 6, 96, curve);
    EXPECT_EQ(normalisedToPlain(-1.0F, 6, 96, curve), lowest);
    EXPECT_EQ(normalisedToPlain(kNan, 6, 96, curve), lowest);
    EXPECT_EQ(normalisedToPlain(kInfinity, 6, 96, curve), highest);
    EXPECT_EQ(plainToNormalised(5.0F, 6, 96, curve), plainToNormalised(6.0F, 6, 96, curve));
    EXPECT_EQ(plainToNormalised(kNan, 6, 96, curve), plainToNormalised(6.0F, 6, 96, curve));
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
