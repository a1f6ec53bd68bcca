#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <memory>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

#include "filters/crossover_bank.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

constexpr int kBands = CrossoverBank::kBands;
constexpr double kRate = 44100.0;
constexpr double kMinus280Db = 1e-14;

/// A bank and its output: band b's left and right at 2b, 2b + 1.
class Bank {
 public:
  explicit Bank(bool blocked = true) : bank(std::make_unique<CrossoverBank>()) {
    bank->useBlocked = blocked;
    bank->setSampleRate(kRate);
  }
  void set(const std::vector<double>& centres, const std::vector<double>& slopes) const {
    bank->setSplits(centres, slopes);
    bank->buildKernels();
  }
  /// Appends the bands of `frames` samples of `left` and `right` from `at` on.
  void run(const Signal& left, const Signal& right, std::size_t at, int bands, int frames) {
    std::array<double*, kBands> toLeft{};
    std::array<double*, kBands> toRight{};
    for (std::size_t b = 0; b < kBands; ++b) {
      out[2 * b].resize(at + static_cast<std::size_t>(frames));
      out[2 * b + 1].resize(at + static_cast<std::size_t>(frames));
      toLeft[b] = out[2 * b].data() + at;
      toRight[b] = out[2 * b + 1].data() + at;
    }
    const double* const inputs[] = {left.data() + at, right.data() + at};
    inRealTime([&] { bank->processBlock(inputs, toLeft.data(), toRight.data(), bands, frames); });
  }
  /// The largest difference between the sum of all bands and the delayed input.
  [[nodiscard]] double deviation(const Signal& input, std::size_t channel) const {
    const auto latency = static_cast<std::size_t>(bank->latency());
    double worst = 0.0;
    for (std::size_t n = 0; n < out[0].size(); ++n) {
      double sum = 0.0;
      for (std::size_t b = 0; b < kBands; ++b) sum += out[2 * b + channel][n];
      worst = std::max(worst, std::abs(sum - (n < latency ? 0.0 : input[n - latency])));
    }
    return worst;
  }

  std::unique_ptr<CrossoverBank> bank;
  std::array<Signal, 2 * static_cast<std::size_t>(kBands)> out;
};

struct Splits {
  std::vector<double> centres, slopes;
};

Splits randomSplits(std::mt19937& random, int bands) {
  std::uniform_real_distribution<double> octave(0.3, 1.6);
  Splits splits;
  double centre = 30.0 * std::exp2(octave(random));
  for (int b = 0; b < bands; ++b) {
    splits.centres.push_back(centre);
    splits.slopes.push_back(6.0 + static_cast<double>(random() % 900) / 10.0);
    centre *= std::exp2(octave(random));
  }
  return splits;
}

/// The low-pass kernel of a split by its definition.
Signal lowpassOf(double splitHz, double exponent) {
  Signal kernel(1024);
  for (int j = 0; j < 1024; ++j) {
    const int k = (j + 512) % 1024;
    double sum = 0.0;
    for (int i = 0; i < 1024; ++i) {
      const int bin = std::min(i, 1024 - i);
      const double magnitude = 1.0 / (1.0 + std::pow(bin / (1024 * splitHz / kRate), exponent));
      sum += magnitude / 1024 * std::cos(2 * std::numbers::pi * (i * k % 1024) / 1024.0);
    }
    const double u = 2.0 * j / 1024 - 1.0;
    kernel[static_cast<std::size_t>(j)] =
        sum * std::cyl_bessel_i(0.0, 12 * std::sqrt(1 - u * u)) / std::cyl_bessel_i(0.0, 12.0);
  }
  return kernel;
}

std::vector<Signal> kernelsOf(const Splits& splits) {
  std::vector<Signal> kernels;
  Signal below(1024);
  for (std::size_t b = 0; b < splits.centres.size(); ++b) {
    Signal upTo(1024);
    upTo[512] = 1.0;
    if (b + 1 < splits.centres.size()) {
      upTo = lowpassOf(std::sqrt(splits.centres[b] * splits.centres[b + 1]), splits.slopes[b] / 6);
    }
    kernels.push_back(upTo);
    for (std::size_t i = 0; i < 1024; ++i) kernels.back()[i] -= below[i];
    below.swap(upTo);
  }
  return kernels;
}

TEST(Crossover, IsTheOneBurstFormAndTheDirectOneLater) {
  std::mt19937 random(11);
  const Signal left = noiseOf(5000, 1);
  const Signal right = noiseOf(5000, 2);
  for (int bands = 1; bands <= kBands; ++bands) {
    SCOPED_TRACE(testing::Message() << bands << " bands");
    const Splits splits = randomSplits(random, bands);
    Bank blocked;
    Bank direct(false);
    for (const Bank* bank : {&blocked, &direct}) bank->set(splits.centres, splits.slopes);
    PlainCrossover plain;
    plain.setKernels(kernelsOf(splits));
    const int blocks[] = {1, 64, 63, 500, 7, 200, 1024};
    std::size_t turn = 0;
    for (std::size_t at = 0; at < left.size();) {
      const int frames = std::min(blocks[turn++ % 7], static_cast<int>(left.size() - at));
      blocked.run(left, right, at, bands, frames);
      direct.run(left, right, at, bands, frames);
      at += static_cast<std::size_t>(frames);
    }
    for (std::size_t n = 0; n < left.size(); ++n) {
      std::array<double, kBands> plainLeft{};
      std::array<double, kBands> plainRight{};
      plain.processSample(left[n], right[n], plainLeft.data(), plainRight.data());
      for (std::size_t b = 0; b < static_cast<std::size_t>(bands); ++b) {
        // The engine's window is good to 2e-7, as are its kernels: some 1e-6 of the signal.
        ASSERT_NEAR(blocked.out[2 * b][n], plainLeft[b], 1e-6) << n << ", band " << b;
        ASSERT_NEAR(blocked.out[2 * b + 1][n], plainRight[b], 1e-6) << n << ", band " << b;
        if (n < 1023) continue;
        ASSERT_NEAR(blocked.out[2 * b][n], direct.out[2 * b][n - 1023], kMinus280Db) << n;
        ASSERT_NEAR(blocked.out[2 * b + 1][n], direct.out[2 * b + 1][n - 1023], kMinus280Db) << n;
      }
    }
    EXPECT_LT(blocked.deviation(left, 0), kMinus280Db);
    EXPECT_LT(blocked.deviation(right, 1), kMinus280Db);
    EXPECT_LT(direct.deviation(left, 0), kMinus280Db);
  }
}

TEST(Crossover, SumsToTheDelayedInputWhileSplitsAndBandsChange) {
  std::mt19937 random(12);
  const Signal left = noiseOf(60000, 3);
  const Signal right = noiseOf(60000, 4);
  Bank bank;
  int bands = 1;
  for (std::size_t at = 0; at < left.size(); at += 120) {
    if (random() % 3 == 0) {
      const int wanted = 1 + static_cast<int>(random() % 8);
      const Splits splits = randomSplits(random, wanted);
      bank.set(splits.centres, splits.slopes);
      // The caller's count may be ahead of the kernels or behind them.
      bands = random() % 4 == 0 ? 1 + static_cast<int>(random() % 8) : wanted;
    }
    bank.run(left, right, at, bands, 120);
  }
  EXPECT_LT(bank.deviation(left, 0), kMinus280Db);
  EXPECT_LT(bank.deviation(right, 1), kMinus280Db);
}

TEST(Crossover, WhatCameBeforeAChangeRingsOutThroughTheOldKernels) {
  const Splits after{{300, 2500, 9000}, {48, 6, 24}};
  const Signal left = noiseOf(6 * 512, 7);
  // The first sample of a block completes the one before, which still takes the old kernels.
  const std::size_t change = 3 * 512 + 1;
  Signal old = left;
  std::fill(old.begin() + static_cast<std::ptrdiff_t>(change), old.end(), 0.0);
  Signal young = left;
  std::fill_n(young.begin(), change, 0.0);
  for (const Splits& before : {Splits{{200, 1000, 4000}, {24, 12, 48}}, Splits{{200, 1000}, {9, 6}},
                               Splits{{500}, {24}}}) {
    SCOPED_TRACE(testing::Message() << "from " << before.centres.size() << " bands");
    Bank bank;
    bank.set(before.centres, before.slopes);
    bank.run(left, left, 0, static_cast<int>(before.centres.size()), change + 63);
    bank.set(after.centres, after.slopes);
    bank.run(left, left, change + 63, 3, static_cast<int>(left.size() - change) - 63);
    std::vector<Signal> oldKernels = kernelsOf(before);
    oldKernels.resize(3, Signal(1024));
    const std::vector<Signal> newKernels = kernelsOf(after);
    for (std::size_t b = 0; b < 3; ++b) {
      for (std::size_t n = 1023; n < left.size(); n += 7) {
        const double expected =
            convolvedAt(oldKernels[b], old, n - 1023) + convolvedAt(newKernels[b], young, n - 1023);
        ASSERT_NEAR(bank.out[2 * b][n], expected, 1e-6) << n << ", band " << b;
      }
    }
    EXPECT_LT(bank.deviation(left, 0), kMinus280Db);
  }
}

TEST(Crossover, CurvesAreTheLawAndAreWorkedOutAnewWhenTheyMust) {
  CrossoverBank bank;
  const auto curve = [&bank](std::vector<float> at, int band) {
    std::vector<float> out(at.size(), -1.0F);
    bank.crossoverCurve(at.data(), static_cast<int>(at.size()), out.data(), band);
    return out;
  };
  const auto split = [](double ratio, double exponent) {
    return static_cast<float>(1 / (1 + std::pow(ratio, exponent)));
  };
  EXPECT_EQ(curve({100, 1000}, 0), (std::vector<float>{1, 1})) << "no bands yet";
  bank.setSplits(std::array{500.0, 2000.0}, std::array{24.0, 24.0});
  EXPECT_EQ(curve({500, 1000}, 0), (std::vector<float>{split(0.5, 4), 0.5F}));
  EXPECT_EQ(curve({600, 1000}, 0)[0], split(0.6, 4)) << "the first frequency";
  EXPECT_EQ(curve({600, 3000}, 0)[1], split(3, 4)) << "the last frequency";
  EXPECT_EQ(curve({600, 700, 3000}, 1).size(), 3U);
  EXPECT_NEAR(curve({600, 700, 3000}, 1)[1], 1 - split(0.7, 4), 1e-7);
  bank.setSplits(std::array{500.0, 2000.0}, std::array{48.0, 24.0});
  EXPECT_EQ(curve({600, 3000}, 0)[1], split(3, 8)) << "the slope";
  EXPECT_EQ(bank.bandMagnitude(2, 100), 1.0) << "a band not in use";
  EXPECT_EQ(bank.bandMagnitude(-1, 100), 1.0);
}

// Run under the thread sanitizer: kernels come at full speed from one thread while another works.
TEST(Crossover, TakesKernelsFromAnotherThreadWithoutAllocatingOrLocking) {
  const Signal left = noiseOf(40000, 5);
  Bank bank;
  bank.set({100, 1000, 8000}, {12, 24, 48});
  for (Signal& out : bank.out) out.reserve(left.size());
  std::atomic<bool> done{false};
  std::thread designer([&] {
    std::mt19937 random(13);
    while (!done.load()) {
      const Splits splits = randomSplits(random, 1 + static_cast<int>(random() % 8));
      bank.set(splits.centres, splits.slopes);
    }
  });
  for (std::size_t at = 0; at < left.size(); at += 64) {
    bank.run(left, left, at, 1 + static_cast<int>(at / 640 % 8), 64);
  }
  done = true;
  designer.join();
  EXPECT_LT(bank.deviation(left, 0), kMinus280Db);
  bank.bank->reset();
  const Signal silence(4000);
  for (Signal& out : bank.out) out.clear();
  bank.run(silence, silence, 0, 8, 4000);
  EXPECT_EQ(bank.deviation(silence, 0), 0.0) << "nothing left after a reset";
}

}  // namespace
