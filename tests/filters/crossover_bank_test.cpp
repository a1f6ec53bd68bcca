#include "filters/crossover_bank.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "tests/support/known_numbers.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

constexpr std::size_t kBands = CrossoverBank::kBands;
constexpr double kMinus280Db = 1e-14;

struct Splits {
  std::vector<double> centres, slopes;
};

Splits randomSplits(std::mt19937& random, int bands) {
  std::uniform_real_distribution<double> octave(0.3, 1.6);
  Splits splits;
  double centre = 30.0 * std::exp2(octave(random));
  for (int b = 0; b < bands; ++b) {
    splits.centres.push_back(centre);  // NOLINT(performance-inefficient-vector-operation): few
    splits.slopes.push_back(6.0 + static_cast<double>(random() % 900) / 10.0);
    centre *= std::exp2(octave(random));
  }
  return splits;
}

/// The bands of a block: band b's left and right at 2b, 2b + 1.
using Bands = std::array<Signal, 2 * kBands>;

Bands run(CrossoverBank& bank, const std::array<Signal, 2>& input, std::size_t bands) {
  Bands out;
  std::array<std::array<double*, kBands>, 2> to{};
  for (std::size_t i = 0; i < out.size(); ++i) {
    out[i].resize(input[0].size());
    to[i % 2][i / 2] = out[i].data();
  }
  const double* const inputs[] = {input[0].data(), input[1].data()};
  inRealTime([&] {
    bank.processBlock(inputs, to[0].data(), to[1].data(), static_cast<int>(bands),
                      static_cast<int>(input[0].size()));
  });
  return out;
}

/// Both channels of each band are its kernel, and all together the delayed input.
void expectKernels(CrossoverBank& bank, std::size_t bands, KnownNumbers& known,
                   const std::string& name) {
  const auto start = static_cast<std::size_t>(bank.latency()) - 512;
  constexpr std::size_t kAt[] = {7, 300};  // impulses
  constexpr double kHigh[] = {1.0, -0.5};
  std::array<Signal, 2> input = {Signal(4000), Signal(4000)};
  for (const std::size_t c : {0U, 1U}) input[c][kAt[c]] = kHigh[c];
  const Bands out = run(bank, input, bands);
  std::vector<double> taps;
  for (std::size_t b = 0; b < bands; ++b) {
    for (std::size_t k = 0; k < 1024; ++k) {
      const double tap = out[2 * b][start + kAt[0] + k];
      ASSERT_NEAR(out[2 * b + 1][start + kAt[1] + k], kHigh[1] * tap, kMinus280Db) << b << ' ' << k;
      if (k % 96 == 32) taps.push_back(tap);
    }
  }
  known.expect(name, taps);
  for (std::size_t n = 0; n < 8000; ++n) {
    const std::size_t c = n % 2;
    double sum = n / 2 == start + 512 + kAt[c] ? -kHigh[c] : 0.0;
    for (std::size_t b = 0; b < bands; ++b) sum += out[2 * b + c][n / 2];
    ASSERT_NEAR(sum, 0.0, kMinus280Db) << n / 2;
  }
}

/// What a reset of one or both channels leaves of the past.
void expectForgotten(CrossoverBank& bank, bool both) {
  run(bank, {noiseOf(3000, 1), noiseOf(3000, 2)}, 3);
  inRealTime([&] { both ? bank.reset() : bank.resetRight(); });
  const Bands out = run(bank, {Signal(3000), Signal(3000)}, 3);
  for (const std::size_t right : {1U, 3U, 5U}) {
    // Of the spectra kept the other channel's part leaves its rounding.
    for (const double x : out[right]) ASSERT_NEAR(x, 0.0, both ? 0.0 : kMinus280Db);
    EXPECT_EQ(out[right - 1] == Signal(3000), both);
  }
}

TEST(CrossoverBank, HasTheKernelsOfItsSplitsAndSumsToTheDelayedInput) {
  KnownNumbers known(TEST_DATA "/crossover_taps.txt");
  for (const bool isBlocked : {true, false}) {
    CrossoverBank bank;
    bank.useBlocked = isBlocked;
    ASSERT_EQ(bank.latency(), isBlocked ? 1535 : 512);
    std::mt19937 random(11);
    for (const int bands : {8, 1, 2, 5, 3}) {
      const Splits splits = randomSplits(random, bands);
      for (const int rate : {44100, 96000}) {
        bank.setSampleRate(rate);
        bank.setSplits(splits.centres, splits.slopes);
        bank.buildKernels();
        bank.reset();
        const char* const engine = isBlocked ? "blocked, " : "direct, ";
        expectKernels(bank, splits.centres.size(), known,
                      engine + std::to_string(bands) + " bands at " + std::to_string(rate));
      }
    }
    for (const bool both : {false, true}) expectForgotten(bank, both);
  }
}

TEST(CrossoverBank, CurvesAreTheLawAndAreWorkedOutAnewWhenTheyMust) {
  KnownNumbers known(TEST_DATA "/crossover_curves.txt");
  CrossoverBank bank;  // with no bands yet
  std::mt19937 random(12);
  for (int i = 0; i < 150; ++i) {
    // Of bands and frequencies of which often only one end, or their number, is another.
    std::vector<float> at(2 + random() % 2);
    at.front() = random() % 2 == 0 ? 500.0F : 600.0F;
    at[1] = 800.0F;
    at.back() = random() % 2 == 0 ? 2000.0F : 3000.0F;
    const int band = static_cast<int>(random() % 10) - 1;
    std::vector<float> out(at.size(), -1.0F);
    bank.crossoverCurve(at.data(), static_cast<int>(at.size()), out.data(), band);
    std::vector<double> numbers;
    for (std::size_t k = 0; k < at.size(); ++k) {
      numbers.push_back(bank.bandMagnitude(band, static_cast<double>(at[k])));
      EXPECT_NEAR(out[k], numbers.back(), 1e-7) << i << ": band " << band;
    }
    known.expect(std::to_string(i), numbers);
    if (random() % 3 != 0) continue;
    const Splits splits = randomSplits(random, 1 + static_cast<int>(random() % 8));
    bank.setSplits(splits.centres, splits.slopes);
  }
}

}  // namespace
