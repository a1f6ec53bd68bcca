#include "filters/match_fit.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <random>

namespace {

constexpr double kRate = 48000.0;
constexpr double kNoCeiling = std::numeric_limits<double>::infinity();

double gainAt(const DigitalSection& s, double omega) {
  const auto z = std::polar(1.0, omega);
  return std::abs(((s[0] * z + s[1]) * z + s[2]) / ((z + s[3]) * z + s[4]));
}

MatchFit::Points pointsOf(const MatchFit& fit, const DigitalSection& s) {
  MatchFit::Points points;
  for (std::size_t i = 0; i < points.size(); ++i) {
    points[i] = gainAt(s, fit.radiansPerSecond(i) / kRate);
  }
  return points;
}

DigitalSection randomSection(std::mt19937& random) {
  const auto uniform = [&](double low, double high) {
    return std::uniform_real_distribution<double>(low, high)(random);
  };
  const double pole = uniform(0.3, 0.9);
  const double zero = uniform(0.3, 0.9);
  return {uniform(0.5, 2.0), -2 * zero * std::cos(uniform(0.5, 2.5)), zero * zero,
          -2 * pole * std::cos(uniform(0.5, 2.5)), pole * pole};
}

TEST(MatchFitTest, PointsAreEvenInPitchFromTwentyHertzToNyquist) {
  MatchFit fit(44100.0);
  fit.prepare(kRate);
  const double toHz = 0.5 / std::acos(-1.0);
  EXPECT_NEAR(fit.radiansPerSecond(0) * toHz, 20.0, 1e-9);
  EXPECT_NEAR(fit.radiansPerSecond(127) * toHz, 24000.0, 1e-7);
  EXPECT_NEAR(std::pow(fit.radiansPerSecond(1) / fit.radiansPerSecond(0), 127), 1200.0, 1e-6);
}

TEST(MatchFitTest, GradientIsTheSlopeOfTheError) {
  std::mt19937 random(1);
  MatchFit fit(kRate);
  for (int i = 0; i < 50; ++i) {
    const auto wanted = pointsOf(fit, randomSection(random));
    DigitalSection at = randomSection(random);
    at[1] /= at[0];
    at[0] = 1.0;
    // Plainly: the error by its definition, at the best gain.
    const auto errorAt = [&](const DigitalSection& s) {
      const auto m = pointsOf(fit, s);
      double tm = 0.0;
      double mm = 0.0;
      double sum = 0.0;
      for (std::size_t k = 0; k < m.size(); ++k) tm += wanted[k] * m[k], mm += m[k] * m[k];
      for (std::size_t k = 0; k < m.size(); ++k) sum += std::pow(tm / mm * m[k] - wanted[k], 2);
      return sum;
    };
    fit.start(at, wanted);
    EXPECT_NEAR(fit.errorOf(), errorAt(at), 1e-10 * (1.0 + errorAt(at)));
    for (std::size_t k = 0; k < 4; ++k) {
      constexpr double kStep = 1e-6;
      DigitalSection above = at;
      DigitalSection below = at;
      above[k + 1] += kStep;
      below[k + 1] -= kStep;
      const double slope = (errorAt(above) - errorAt(below)) / (2.0 * kStep);
      EXPECT_NEAR(fit.errorGradient()[k], slope, 1e-4 * (1.0 + std::abs(slope))) << i << ' ' << k;
    }
  }
}

TEST(MatchFitTest, KeepsASectionThatIsGoodEnoughOrCannotBeSaved) {
  std::mt19937 random(4);
  MatchFit fit(kRate);
  const DigitalSection wanted = randomSection(random);
  const auto points = pointsOf(fit, wanted);
  DigitalSection off = wanted;
  off[3] += 0.05;
  fit.start({1.0, off[1] / off[0], off[2] / off[0], off[3], off[4]}, points);
  const double error = fit.errorOf();
  const struct {
    double ceiling;
    int tries;
    double floor;
    bool kept;
  } cases[] = {{kNoCeiling, 100, 1.01 * error, true},
               {kNoCeiling, 100, 0.99 * error, false},
               {1e-30, 100, 0.0, true},
               {kNoCeiling, 1, 0.0, true},
               {kNoCeiling, 2, 0.0, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.ceiling << ' ' << c.tries << ' ' << c.floor);
    DigitalSection section = off;
    fit.fitSection(section, points, c.ceiling, c.tries, c.floor);
    EXPECT_EQ(section == off, c.kept);
  }
  DigitalSection silent{0.0, 1.0, 0.0, 0.0, 0.0};
  fit.fitSection(silent, points, kNoCeiling, 100, 0.0);
  EXPECT_EQ(silent, (DigitalSection{0.0, 1.0, 0.0, 0.0, 0.0}));
}

TEST(MatchFitTest, PolesOutsideTheCircleAreReflectedIntoIt) {
  MatchFit fit(kRate);
  const struct {
    double a1, a2, reflectedA1, reflectedA2;
  } cases[] = {{-2.5, 1.0, -1.0, 0.25},                // 2 and 0.5
               {-1.0, -0.75, -1.0 / 6.0, -1.0 / 3.0},  // 1.5 and -0.5
               {-5.0, 6.0, -5.0 / 6.0, 1.0 / 6.0},     // 2 and 3
               {-1.2, 1.6, -0.75, 0.625},              // a pair
               {-1.2, 0.6, -1.2, 0.6}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.a1 << ' ' << c.a2);
    const DigitalSection section{1.0, 0.3, 0.2, c.a1, c.a2};
    const auto points = pointsOf(fit, section);
    fit.start(section, points);
    EXPECT_NEAR(fit.parameters()[2], c.reflectedA1, 1e-12);
    EXPECT_NEAR(fit.parameters()[3], c.reflectedA2, 1e-12);
    EXPECT_NEAR(fit.errorOf(), 0.0, 1e-18) << "the same curve but for its gain";
  }
}

}  // namespace
