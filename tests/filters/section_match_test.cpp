#include "filters/section_match.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

#include "filters/least_squares.h"
#include "filters/match_fit.h"
#include "filters/prototypes.h"
#include "filters/quartic.h"

namespace {

constexpr double kRate = 48000.0;

/// At an angle in rad per sample.
double gainAt(const DigitalSection& s, double omega) {
  const auto z = std::polar(1.0, omega);
  return std::abs(((s[0] * z + s[1]) * z + s[2]) / ((z + s[3]) * z + s[4]));
}

TEST(SectionMatchTest, ClosedFormsHaveTheAnalogGainAtTheEndsAndTheCentre) {
  using filters::RowShape;
  constexpr double kNowhere = 0.0;
  const struct {
    AnalogRow prototype;
    double hz;
    RowShape shape;
    double centre = kNowhere;  // gain at `hz`, which is met as well
    bool unity = false;
  } cases[] = {{filters::peak(12, 1.0), 3000, RowShape::kPeak, 3.98107},
               {filters::peak(-12, 0.5), 12000, RowShape::kPeak, 0.251189},
               {filters::peak(3, 5.0), 20000, RowShape::kPeak, 1.412538},
               {filters::peak(0.009, 2.0), 4000, RowShape::kPeak, 1.001037, true},
               {filters::peak(-0.009, 2.0), 4000, RowShape::kPeak, 0.998964, true},
               {filters::peak(0.011, 2.0), 4000, RowShape::kPeak, 1.001267},
               {filters::peak(9, 2.0), 25000, RowShape::kHighPeak},
               {filters::notch(2.0), 4000, RowShape::kNotch, 1e-6},
               {filters::bandPass(6, 2.0), 4000, RowShape::kBandPass, 1.995262},
               {filters::lowShelf(9, 1.2, 0.5F), 700, RowShape::kGeneral},
               {filters::lowShelf(-9, 0.6, 0.5F), 7000, RowShape::kGeneral},
               {filters::highShelf(15, 2.0, 0.5F), 300, RowShape::kGeneral},
               {filters::highShelf(-15, 0.7, 0.5F), 15000, RowShape::kGeneral},
               {{0, 0, 2, 1, 1.1, 1}, 500, RowShape::kLowPass},
               {{0, 0, 2, 1, 1.1, 1}, 15000, RowShape::kLowPass},
               {{0, 0, 1, 1, 1.8, 1}, 9000, RowShape::kLowPass},
               {{3, 0, 0, 1, 0.6, 1}, 100, RowShape::kHighPass},
               {{1, 0, 0, 1, 1.9, 1}, 9000, RowShape::kHighPass},
               {{0, 1, 0, 1, 1, 0}, 4000, RowShape::kFirstOrder},
               {{1, 0, 0, 1, 1, 0}, 4000, RowShape::kFirstOrder},
               {{2, 0.5, 0, 1, 1, 0}, 9000, RowShape::kFirstOrder},
               {{0.5, 3, 0, 1, 1, 0}, 9000, RowShape::kFirstOrder},
               {filters::allpass(0.7), 5000, RowShape::kGeneral, 1.0},
               {{2, 0, 0, 1, 0, 0}, 1000, RowShape::kConstant, 2.0}};
  for (const auto& c : cases) {
    for (const double rate : {44100.0, 48000.0}) {
      SCOPED_TRACE(testing::Message()
                   << "shape " << static_cast<int>(c.shape) << " at " << c.hz << " of " << rate);
      AnalogRow row = c.prototype;
      scaleSections(&row, 1, 2.0 * std::numbers::pi * c.hz);
      auto match = filters::matchRow(row, rate);
      EXPECT_EQ(match.shape, c.shape);
      EXPECT_EQ(match.unity, c.unity);
      if (match.inverted) match.section = filters::reciprocalSection(match.section);
      EXPECT_TRUE(filters::isStable(match.section[3], match.section[4]));
      // The notch is a peak of -120 dB: met to its depth.
      const double tolerance = c.shape == RowShape::kNotch ? 1e-5 : 2e-7;
      const auto analog = [&](double hz) {
        return analogMagnitude(&row, 1, 2.0 * std::numbers::pi * hz);
      };
      EXPECT_NEAR(gainAt(match.section, 0.0), analog(0.0), tolerance);
      if (c.shape != RowShape::kBandPass) {
        EXPECT_NEAR(gainAt(match.section, std::numbers::pi), analog(rate / 2.0), tolerance);
      }
      if (c.centre == kNowhere) continue;
      const double centre = gainAt(match.section, 2.0 * std::numbers::pi * c.hz / rate);
      const bool closed = c.shape != RowShape::kNotch && c.shape != RowShape::kBandPass;
      EXPECT_NEAR(centre / c.centre, 1.0, closed ? 2e-6 : 1e-3);
    }
  }
}

TEST(LeastSquaresTest, LeavesTheLeastSumOfSquares) {
  std::mt19937 random(3);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (int i = 0; i < 600; ++i) {
    // Two independent unknowns, rank 1 with the second column three times the first, or one alone.
    const int kind = i % 3;
    std::vector<std::array<double, 3>> rows(
        static_cast<std::size_t>((kind == 0 ? 2 : 1) + i / 3 % 3));
    LeastSquares equations;
    for (auto& [a, b, y] : rows) {
      a = unit(random), b = unit(random), y = unit(random);
      if (kind > 0) b = kind == 1 ? 3.0 * a : 0.0;
      equations.addRow(a, b, y);
    }
    const auto x = equations.solve();
    // The residual is perpendicular to both columns.
    double first = 0.0, second = 0.0;
    for (const auto& [a, b, y] : rows) {
      first += a * (a * x[0] + b * x[1] - y), second += b * (a * x[0] + b * x[1] - y);
    }
    EXPECT_NEAR(std::abs(first) + std::abs(second), 0.0, 1e-9 * (1 + std::abs(x[0]))) << i;
    if (kind > 0) {
      EXPECT_NEAR(x[1], kind == 1 ? 3.0 * x[0] : 0.0, 1e-9) << "the shortest of all";
    }
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
    if (i % 8 == 4) {
      const auto [a, b, d] = std::array{c[0], c[1], c[2]};
      c = {a, 2 * a * b, a * (b * b + 2 * d), 2 * a * b * d, a * d * d};
    }
    const auto [first, second] = filters::splitPolynomial(c);
    std::array<double, 5> product{};
    double size = 0.0;
    for (std::size_t j = 0; j < 9; ++j) {
      product[j / 3 + j % 3] += first[j / 3] * second[j % 3];
      size = std::max(size, std::abs(first[j / 3] * second[j % 3]));
    }
    for (std::size_t k = 0; k < 5; ++k) ASSERT_NEAR(product[k], c[k], 1e-7 * size) << i << ' ' << k;
  }
}

MatchFit::Points pointsOf(const MatchFit& fit, const DigitalSection& s) {
  MatchFit::Points points;
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i] = gainAt(s, fit.radiansPerSecond(i) / kRate);
  }
  return points;
}

DigitalSection randomSection(std::mt19937& random) {
  std::uniform_real_distribution<double> radius(0.3, 0.9);
  std::uniform_real_distribution<double> angle(0.5, 2.5);
  const double zero = radius(random), pole = radius(random);
  return {1.0, -2 * zero * std::cos(angle(random)), zero * zero,
          -2 * pole * std::cos(angle(random)), pole * pole};
}

/// The error of a section by its definition, at the best gain.
double errorOf(const MatchFit& fit, const DigitalSection& s, const MatchFit::Points& wanted) {
  const auto m = pointsOf(fit, s);
  double tm = 0.0, mm = 0.0, sum = 0.0;
  for (std::size_t k = 0; k < m.size(); ++k) tm += wanted[k] * m[k], mm += m[k] * m[k];
  for (std::size_t k = 0; k < m.size(); ++k) sum += std::pow(tm / mm * m[k] - wanted[k], 2);
  return sum;
}

TEST(MatchFitTest, FollowsTheSlopeOfTheErrorOverPointsEvenInPitch) {
  std::mt19937 random(1);
  MatchFit fit(44100.0);
  fit.prepare(kRate);
  const double toHz = 0.5 / std::numbers::pi;
  for (std::size_t i = 0; i < MatchFit::kPoints; ++i) {
    const double hz = 20.0 * std::pow(1200.0, static_cast<double>(i) / 127);
    ASSERT_NEAR(fit.radiansPerSecond(i) * toHz / hz, 1.0, 1e-11) << i;
  }
  for (int i = 0; i < 50; ++i) {
    const auto wanted = pointsOf(fit, randomSection(random));
    const DigitalSection at = randomSection(random);
    fit.start(at, wanted);
    const double error = errorOf(fit, at, wanted);
    EXPECT_NEAR(fit.errorOf(), error, 1e-10 * (1.0 + error));
    for (std::size_t k = 0; k < 4; ++k) {
      DigitalSection around[2] = {at, at};
      around[0][k + 1] -= 1e-6;
      around[1][k + 1] += 1e-6;
      const double rise = errorOf(fit, around[1], wanted) - errorOf(fit, around[0], wanted);
      const double slope = rise / 2e-6;
      EXPECT_NEAR(fit.errorGradient()[k], slope, 1e-4 * (1.0 + std::abs(slope))) << i << ' ' << k;
    }
  }
}

TEST(MatchFitTest, KeepsASectionThatIsGoodEnoughOrCannotBeSavedAndElseImprovesIt) {
  constexpr double kNoCeiling = std::numeric_limits<double>::infinity();
  std::mt19937 random(4);
  MatchFit fit(kRate);
  const DigitalSection wanted = randomSection(random);
  const auto points = pointsOf(fit, wanted);
  DigitalSection off = wanted;
  off[3] += 0.05;
  const double error = errorOf(fit, off, points);
  const struct {
    double ceiling;
    int tries;
    double floor;
    double left;  // at most, of the error
  } cases[] = {{kNoCeiling, 100, 1.01 * error, 1},
               {kNoCeiling, 100, 0.99 * error, 1e-6},
               {1e-30, 100, 0.0, 1},
               {kNoCeiling, 1, 0.0, 1},
               {kNoCeiling, 2, 0.0, 0.9}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.ceiling << ' ' << c.tries << ' ' << c.floor);
    DigitalSection section = off;
    fit.fitSection(section, points, c.ceiling, c.tries, c.floor);
    EXPECT_EQ(section == off, c.left == 1);
    EXPECT_LE(errorOf(fit, section, points), c.left * error);
  }
  const DigitalSection silent{0.0, 1.0, 0.0, 0.0, 0.0};
  DigitalSection fitted = silent;
  fit.fitSection(fitted, points, kNoCeiling, 100, 0.0);
  EXPECT_EQ(fitted, silent);
  // Poles outside the circle are reflected into it: the same curve but for its gain.
  const struct {
    double a1, a2, reflectedA1, reflectedA2;
  } poles[] = {{-2.5, 1.0, -1.0, 0.25},                // 2 and 0.5
               {-1.0, -0.75, -1.0 / 6.0, -1.0 / 3.0},  // 1.5 and -0.5
               {-5.0, 6.0, -5.0 / 6.0, 1.0 / 6.0},     // 2 and 3
               {-1.2, 1.6, -0.75, 0.625},              // a pair
               {-1.2, 0.6, -1.2, 0.6}};
  for (const auto& c : poles) {
    SCOPED_TRACE(testing::Message() << c.a1 << ' ' << c.a2);
    const DigitalSection section{1.0, 0.3, 0.2, c.a1, c.a2};
    fit.start(section, pointsOf(fit, section));
    EXPECT_NEAR(fit.parameters()[2], c.reflectedA1, 1e-12);
    EXPECT_NEAR(fit.parameters()[3], c.reflectedA2, 1e-12);
    EXPECT_NEAR(fit.errorOf(), 0.0, 1e-18);
  }
}

}  // namespace
