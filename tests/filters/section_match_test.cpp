#include "filters/section_match.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>

#include "filters/least_squares.h"
#include "filters/prototypes.h"
#include "filters/quartic.h"

namespace {

double gainOf(const DigitalSection& s, double hz, double rate) {
  const auto z = std::polar(1.0, 2.0 * std::numbers::pi * hz / rate);
  return std::abs(((s[0] * z + s[1]) * z + s[2]) / ((z + s[3]) * z + s[4]));
}

AnalogRow inRadians(AnalogRow row, double hz) {
  scaleSections(&row, 1, 2.0 * std::numbers::pi * hz);
  return row;
}

TEST(SectionMatchTest, ClosedFormsHaveTheAnalogGainAtTheEndsAndTheCentre) {
  using filters::RowShape;
  const AnalogRow lowPass{0, 0, 2, 1, 1.1, 1};
  const AnalogRow highPass{3, 0, 0, 1, 0.6, 1};
  const struct {
    AnalogRow prototype;
    double hz;
    RowShape shape;
    bool centred;  // at `hz` as well
  } cases[] = {{filters::peak(12, 1.0), 3000, RowShape::kPeak, true},
               {filters::peak(-12, 0.5), 12000, RowShape::kPeak, true},
               {filters::peak(3, 5.0), 20000, RowShape::kPeak, true},
               {filters::peak(9, 2.0), 25000, RowShape::kHighPeak, false},
               {filters::notch(2.0), 4000, RowShape::kNotch, false},
               {filters::lowShelf(9, 1.2, 0.5F), 700, RowShape::kGeneral, false},
               {filters::lowShelf(-9, 0.6, 0.5F), 7000, RowShape::kGeneral, false},
               {filters::highShelf(15, 2.0, 0.5F), 300, RowShape::kGeneral, false},
               {filters::highShelf(-15, 0.7, 0.5F), 15000, RowShape::kGeneral, false},
               {lowPass, 500, RowShape::kLowPass, false},
               {lowPass, 15000, RowShape::kLowPass, false},
               {{0, 0, 1, 1, 1.8, 1}, 9000, RowShape::kLowPass, false},
               {highPass, 100, RowShape::kHighPass, false},
               {{1, 0, 0, 1, 1.9, 1}, 9000, RowShape::kHighPass, false},
               {{0, 1, 0, 1, 1, 0}, 4000, RowShape::kFirstOrder, false},
               {{1, 0, 0, 1, 1, 0}, 4000, RowShape::kFirstOrder, false},
               {{2, 0.5, 0, 1, 1, 0}, 9000, RowShape::kFirstOrder, false},
               {{0.5, 3, 0, 1, 1, 0}, 9000, RowShape::kFirstOrder, false},
               {filters::allpass(0.7), 5000, RowShape::kGeneral, true},
               {{2, 0, 0, 1, 0, 0}, 1000, RowShape::kConstant, true}};
  for (const auto& c : cases) {
    for (const double rate : {44100.0, 48000.0}) {
      SCOPED_TRACE(testing::Message()
                   << "shape " << static_cast<int>(c.shape) << " at " << c.hz << " of " << rate);
      const AnalogRow row = inRadians(c.prototype, c.hz);
      auto match = filters::matchRow(row, rate);
      EXPECT_EQ(match.shape, c.shape);
      if (match.inverted) match.section = filters::reciprocalSection(match.section);
      EXPECT_TRUE(filters::isStable(match.section[3], match.section[4]));
      // The notch is a peak of -120 dB: met to its depth.
      const double tolerance = c.shape == RowShape::kNotch ? 1e-5 : 2e-7;
      const auto analog = [&](double hz) {
        return analogMagnitude(&row, 1, 2.0 * std::numbers::pi * hz);
      };
      EXPECT_NEAR(gainOf(match.section, 0.0, rate), analog(0.0), tolerance);
      EXPECT_NEAR(gainOf(match.section, rate / 2.0, rate), analog(rate / 2.0), tolerance);
      if (!c.centred) continue;
      EXPECT_NEAR(gainOf(match.section, c.hz, rate), analog(c.hz), tolerance);
    }
  }
  auto notch = filters::matchRow(inRadians(filters::notch(2.0), 4000), 48000.0);
  EXPECT_NEAR(gainOf(notch.section, 4000, 48000), 1e-6, 1e-8);
  auto band = filters::matchRow(inRadians(filters::bandPass(6, 2.0), 4000), 48000.0);
  EXPECT_EQ(band.shape, RowShape::kBandPass);
  EXPECT_NEAR(gainOf(band.section, 0, 48000), 0.0, 1e-9);
  EXPECT_NEAR(gainOf(band.section, 4000, 48000), std::pow(10.0, 0.3), 1e-3);
  EXPECT_TRUE(filters::matchRow(inRadians(filters::peak(0.009, 2.0), 4000), 48000.0).unity);
  EXPECT_FALSE(filters::matchRow(inRadians(filters::peak(0.011, 2.0), 4000), 48000.0).unity);
}

TEST(LeastSquaresTest, LeavesTheLeastSumOfSquares) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (int i = 0; i < 500; ++i) {
    const int rows = 1 + i % 4;
    LeastSquares both;
    LeastSquares one;
    double aa = 0, ab = 0, bb = 0, ay = 0, by = 0;
    for (int r = 0; r < rows; ++r) {
      const double a = unit(random);
      // A third of them of rank 1, the second column three times the first.
      const double b = i % 3 == 0 ? 3.0 * a : unit(random);
      const double y = unit(random);
      both.addRow(a, b, y);
      one.addRow(a, 0.0, y);
      aa += a * a, ab += a * b, bb += b * b, ay += a * y, by += b * y;
    }
    const auto x = both.solve();
    const double determinant = aa * bb - ab * ab;
    if (determinant > 1e-6 * aa * bb) {
      EXPECT_NEAR(x[0], (ay * bb - by * ab) / determinant, 1e-6);
      EXPECT_NEAR(x[1], (by * aa - ay * ab) / determinant, 1e-6);
    } else if (i % 3 == 0) {
      EXPECT_NEAR(x[0], ay / (10.0 * aa), 1e-9) << "the shortest of all";
      EXPECT_NEAR(x[1], 3.0 * x[0], 1e-9);
    }
    EXPECT_NEAR(one.solve()[0], ay / aa, 1e-12 * std::abs(ay / aa));
    EXPECT_EQ(one.solve()[1], 0.0);
  }
  LeastSquares swapped;
  swapped.addRow(0.0, 2.0, 6.0);
  EXPECT_EQ(swapped.solve(), (std::array{0.0, 3.0}));
  EXPECT_EQ(LeastSquares().solve(), (std::array{0.0, 0.0}));
}

TEST(QuarticTest, SplitsIntoFactorsThatMultiplyBack) {
  std::mt19937 random(5);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (int i = 0; i < 2000; ++i) {
    std::array<double, 5> c{};
    for (double& value : c) value = unit(random);
    // Lower degrees, even ones, and products of equal factors.
    if (i % 8 == 1) c[0] = 0.0;
    if (i % 8 == 2) c[0] = c[1] = 0.0;
    if (i % 8 == 3) c[1] = c[3] = 0.0;
    if (i % 8 == 4)
      c = {c[0], 2 * c[0] * c[1], c[0] * (c[1] * c[1] + 2 * c[2]), 2 * c[0] * c[1] * c[2],
           c[0] * c[2] * c[2]};
    const auto [first, second] = filters::splitPolynomial(c);
    std::array<double, 5> product{};
    double size = 0.0;
    for (std::size_t j = 0; j < 3; ++j) {
      for (std::size_t k = 0; k < 3; ++k) {
        product[j + k] += first[j] * second[k];
        size = std::max(size, std::abs(first[j] * second[k]));
      }
    }
    for (std::size_t k = 0; k < 5; ++k) ASSERT_NEAR(product[k], c[k], 1e-7 * size) << i << ' ' << k;
  }
}

}  // namespace
