#include "filters/section_match.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "filters/match_fit.h"
#include "filters/quartic.h"
#include "tests/support/data_rows.h"
#include "tests/support/known_numbers.h"

namespace {

using filters::RowShape;

constexpr double kRate = 48000.0;

/// At an angle in rad per sample.
double gainAt(const DigitalSection& s, double omega) {
  const auto z = std::polar(1.0, omega);
  return std::abs(((s[0] * z + s[1]) * z + s[2]) / ((z + s[3]) * z + s[4]));
}

TEST(SectionMatchTest, ClosedFormsHaveTheAnalogGainAtTheEndsAndTheCentre) {
  for (const DataRow& data : dataRows(TEST_DATA "/analog_rows.txt", 3)) {
    AnalogRow prototype{};
    std::istringstream numbers(data[0]);
    for (double& number : prototype) numbers >> number;
    const double hz = std::stod(data[1]);
    const auto shape = static_cast<RowShape>(std::stoi(data[2]));
    for (const double rate : {44100.0, 48000.0}) {
      SCOPED_TRACE(testing::Message() << data[0] << " at " << hz << " of " << rate);
      AnalogRow row = prototype;
      scaleSections(&row, 1, 2.0 * std::numbers::pi * hz);
      auto match = filters::matchRow(row, rate);
      EXPECT_EQ(match.shape, shape);
      EXPECT_EQ(match.unity, data.back() == "unity");
      if (match.inverted) match.section = filters::reciprocalSection(match.section);
      EXPECT_TRUE(filters::isStable(match.section[3], match.section[4]));
      // The notch is a peak of -120 dB: met to its depth.
      const double tolerance = shape == RowShape::kNotch ? 1e-5 : 2e-7;
      const auto expectAt = [&](double at, double share) {
        const double turn = 2.0 * std::numbers::pi * at;
        const double wanted = analogMagnitude(&row, 1, turn);
        EXPECT_NEAR(gainAt(match.section, turn / rate), wanted, share * wanted + tolerance) << at;
      };
      expectAt(0.0, 0.0);
      if (shape != RowShape::kBandPass) expectAt(rate / 2.0, 0.0);
      const bool closed = shape != RowShape::kNotch && shape != RowShape::kBandPass;
      if (data.back() != "ends") expectAt(hz, closed ? 2e-6 : 1e-3);
    }
  }
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

// What a fit ends at, with and without a reason to leave it as it was.
TEST(MatchFitTest, ImprovesASectionUnlessItIsGoodEnoughOrCannotBeSaved) {
  KnownNumbers known(TEST_DATA "/fits.txt");
  std::mt19937 random(4);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  MatchFit fit(44100.0);
  fit.prepare(kRate);
  for (int i = 0; i < 40; ++i) {
    // Zeros and poles of both kinds, and poles outside the circle.
    DigitalSection sections[2];
    for (DigitalSection& s : sections) {
      s = {1.0, 1.5 * unit(random), 0.8 * unit(random), 2.0 * unit(random), 1.6 * unit(random)};
    }
    MatchFit::Points wanted;
    for (std::size_t k = 0; k < wanted.size(); ++k) {
      wanted[k] = gainAt(sections[0], fit.radiansPerSecond(k) / kRate);
    }
    fit.start(sections[1], wanted);
    const double error = fit.errorOf();
    std::vector<double> numbers = {error};
    const auto& [b1, b2, a1, a2] = fit.parameters();
    numbers.insert(numbers.end(), {b1, b2, a1, a2});
    const double huge = std::numeric_limits<double>::infinity();
    constexpr std::array kTries = {3, 1, 2, 3, 3};
    for (const std::size_t c : {0U, 1U, 2U, 3U, 4U}) {
      DigitalSection fitted = sections[1];
      fit.fitSection(fitted, wanted, c == 3 ? 1e-30 : huge, kTries[c], c == 4 ? 1.01 * error : 0.0);
      EXPECT_EQ(fitted == sections[1], c == 1 || c >= 3) << i << ", kind " << c;
      numbers.insert(numbers.end(), fitted.begin(), fitted.end());
    }
    known.expect(std::to_string(i), numbers, 1e-6);
  }
  DigitalSection silent{0.0, 1.0, 0.0, 0.0, 0.0};
  fit.fitSection(silent, {}, 1.0, 100, 0.0);
  EXPECT_EQ(silent, (DigitalSection{0.0, 1.0, 0.0, 0.0, 0.0}));
}

}  // namespace
