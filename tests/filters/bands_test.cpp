
#include <algorithm>
#include <array>
#include <atomic>
#include <numbers>
#include <numeric>
#include <random>
#include <set>
#include <thread>

#include "filters/crossover_bank.h"
#include "filters/subband.h"
#include "tests/support/known_numbers.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

constexpr double kRate = 48000.0;
constexpr double kRounding = 3e-14;

struct Shape {
  int shape;
  float frequency, slope, q, slope2;

  void apply(subband& band) const {
    band.configureFilters(shape, frequency, slope, q, slope2);
    band.rebuildKernel();
  }
};

/// What a filter gives for two channels: the bands, and what is beside them.
struct Parts {
  std::array<Signal, 2> band, rest;
};

Parts filtered(subband& filter, const std::array<Signal, 2>& input, int channels = 2,
               std::size_t block = 100) {
  Parts parts{input, {Signal(input[0].size(), 7.0), Signal(input[1].size(), 7.0)}};
  for (std::size_t at = 0; at < input[0].size(); at += block) {
    double* const band[] = {&parts.band[0][at], &parts.band[1][at]};
    double* const rest[] = {&parts.rest[0][at], &parts.rest[1][at]};
    const auto frames = static_cast<int>(std::min(block, input[0].size() - at));
    inRealTime([&] { EXPECT_EQ(filter.filter(band, rest, frames, channels), filter.latency()); });
  }
  return parts;
}

// The magnitudes were compared with the closed forms of the edges when they were recorded.
TEST(Subband, LiftsTheAnalogMagnitudeOutInLinearPhase) {
  KnownNumbers known(TEST_DATA "/bands.txt");
  const Shape rows[] = {{kLowPass, 2000, 24, 1, 6},    {kLowPass, 2000, 20, 1, 6},
                        {kLowPassB, 3000, 36, 1, 6},   {kHighPass, 900, 12, 1, 6},
                        {kHighPassB, 900, 41, 1, 6},   {kBandPass, 2500, 24, 0.71F, 6},
                        {kBandPassB, 2500, 24, 2, 36}, {kBandPassB, 20000, 24, 0.71F, 36},
                        {kBandPassEE, 2000, 24, 2, 6}};
  std::array<Signal, 2> impulses = {Signal(4096), Signal(4096)};
  impulses[0][0] = 1.0;
  impulses[1][0] = -0.5;
  subband band;
  for (const Shape& row : rows) {
    const std::string name = std::to_string(row.shape) + ", " + std::to_string(row.frequency) +
                             " Hz, " + std::to_string(row.slope) + " dB";
    for (const double rate : {44100.0, kRate}) {
      band.setSampleRate(rate);
      row.apply(band);
    }
    band.reset(0);
    EXPECT_EQ(band.latency(), 1024);
    const Parts parts = filtered(band, impulses);
    const Signal& h = parts.band[0];
    for (std::size_t n = 0; n < 4096; ++n) {
      ASSERT_NEAR(parts.band[1][n], -0.5 * h[n], kRounding) << "the right channel, " << n;
      const double mirrored = n == 0 ? h[0] : (n < 2048 ? h[2048 - n] : 0.0);
      ASSERT_NEAR(h[n], mirrored, kRounding) << "symmetric, " << n;
    }
    // The same frequencies for each: the curve of the shape before must not be shown.
    const std::vector<float> at = {300, 900, 2000, 2500, 6000, 15000, 20000};
    std::vector<float> drawn(at.size(), -1.0F);
    band.bandCurve(at.data(), static_cast<int>(at.size()), drawn.data());
    std::vector<double> heard;
    for (const float hz : at) {
      double sum = h[1024];  // the transform of what is symmetric
      const double turn = 2 * std::numbers::pi * static_cast<double>(hz) / kRate;
      for (std::size_t n = 1; n < 1024; ++n) {
        sum += 2 * h[1024 + n] * std::cos(turn * static_cast<double>(n));
      }
      heard.push_back(sum);
      EXPECT_NEAR(sum, static_cast<double>(drawn[heard.size() - 1]), 0.004) << name << ", " << hz;
    }
    known.expect("heard, " + name, heard, 1e-6);
    known.expect("drawn, " + name, {drawn.begin(), drawn.end()}, 1e-6);
  }
}

TEST(Subband, BandAndRestAddUpWhileEverythingMoves) {
  subband band;
  band.setSampleRate(kRate);
  std::mt19937 random(3);
  const auto value = [&random](double low, double high) {
    return static_cast<float>(std::uniform_real_distribution<double>(low, high)(random));
  };
  std::array<Signal, 2> sums;
  for (unsigned block = 0; block < 600; ++block) {
    const bool set = block > 0;
    const Shape moved{static_cast<int>(random() % 7), value(20, 24000), value(6, 96),
                      value(0.1, 12), value(6, 96)};
    if (set) moved.apply(band);
    const Parts parts =
        filtered(band, {noiseOf(50, block), noiseOf(50, block + 1000)}, 2, 1 + random() % 50);
    // Before its first setting it holds nothing and lets all of the input pass beside the band.
    EXPECT_TRUE(set || parts.rest[1] == noiseOf(50, 1000));
    for (std::size_t i = 0; i < 100; ++i) {
      sums[i % 2].push_back(parts.band[i % 2][i / 2] + parts.rest[i % 2][i / 2]);
    }
  }
  for (unsigned at = 50; at + 1024 < 30000; at += 1 + at % 3) {
    for (const unsigned c : {0U, 1U}) {
      ASSERT_NEAR(sums[c][at + 1024], noiseOf(50, at / 50 + c * 1000)[at % 50], kRounding) << at;
    }
  }
}

// Was shown to forget all of what a reset or a pause left behind when it was recorded.
TEST(Subband, GoesOnAsItDidThroughResetsPausesAndMono) {
  KnownNumbers known(TEST_DATA "/subbands.txt");
  std::mt19937 random(7);
  subband band;
  band.setSampleRate(kRate);
  for (unsigned step = 0; step < 80; ++step) {
    const bool isFlat = random() % 4 == 0;
    if (step % 2 == 0) Shape{isFlat ? kFlat : kLowPassB, 3000, 24, 1, 6}.apply(band);
    if (random() % 4 == 0) inRealTime([&] { band.reset(96); });
    if (random() % 4 == 0) inRealTime([&] { band.resetRight(); });
    const Parts parts = filtered(band, {noiseOf(1500, step), noiseOf(1500, step + 1000)},
                                 random() % 3 == 0 ? 1 : 2);
    std::vector<double> numbers = {static_cast<double>(band.latency())};
    for (const auto& pair : {parts.band, parts.rest}) {
      for (const Signal& each : pair) numbers.push_back(weightedSum(each.data(), each.size()));
    }
    known.expect(std::to_string(step), numbers, 1e-9, 1e-10);
  }
}

constexpr std::size_t kBands = CrossoverBank::kBands;
constexpr double kMinus280Db = 1e-14;

void setRandomSplits(CrossoverBank& bank, int bands, std::mt19937& random) {
  std::uniform_real_distribution<double> octave(0.3, 1.6);
  std::vector<double> centres, slopes;
  double centre = 30.0 * std::exp2(octave(random));
  for (int b = 0; b < bands; ++b) {
    centres.push_back(centre);  // NOLINT(performance-inefficient-vector-operation): few
    slopes.push_back(6.0 + static_cast<double>(random() % 900) / 10.0);
    centre *= std::exp2(octave(random));
  }
  bank.setSplits(centres, slopes);
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

/// All bands together are the delayed input, after a reset; one of the second channel alone
/// silences it.
void expectBands(CrossoverBank& bank, std::size_t bands, KnownNumbers& known,
                 const std::string& name) {
  const std::array<Signal, 2> input = {noiseOf(4000, 1), noiseOf(4000, 2)};
  run(bank, input, bands);
  inRealTime([&] { bank.reset(); });
  const Bands out = run(bank, input, bands);
  const auto latency = static_cast<std::size_t>(bank.latency());
  std::vector<double> sums;
  for (const Signal& each : out) sums.push_back(weightedSum(each.data(), each.size()));
  for (std::size_t n = 0; n < 8000; ++n) {
    double rest = n / 2 < latency ? 0.0 : -input[n % 2][n / 2 - latency];
    for (std::size_t b = 0; b < bands; ++b) rest += out[2 * b + n % 2][n / 2];
    ASSERT_NEAR(rest, 0.0, kMinus280Db) << n / 2;
  }
  known.expect(name, sums, 1e-9, 1e-10);
  inRealTime([&] { bank.resetRight(); });
  const Bands after = run(bank, {Signal(3000), Signal(3000)}, bands);
  for (std::size_t i = 0; i < 2 * bands; ++i) {
    // Of the spectra kept the other channel's part leaves its rounding.
    const Signal& x = after[i];
    const double energy = std::inner_product(x.begin(), x.end(), x.begin(), 0.0);
    EXPECT_EQ(energy < kMinus280Db * kMinus280Db * 3000.0, i % 2 == 1) << i;
  }
}

TEST(CrossoverBank, HasTheBandsOfItsSplitsAndSumsToTheDelayedInput) {
  KnownNumbers known(TEST_DATA "/crossover_bands.txt");
  for (const bool isBlocked : {true, false}) {
    CrossoverBank bank;
    bank.useBlocked = isBlocked;
    ASSERT_EQ(bank.latency(), isBlocked ? 1535 : 512);
    std::mt19937 random(11);
    for (const int bands : {8, 1, 2, 5, 3}) {
      setRandomSplits(bank, bands, random);
      for (const int rate : {44100, 96000}) {
        bank.setSampleRate(rate);
        bank.buildKernels();
        const char* const engine = isBlocked ? "blocked, " : "direct, ";
        expectBands(bank, static_cast<std::size_t>(bands), known,
                    engine + std::to_string(bands) + " bands at " + std::to_string(rate));
      }
    }
  }
}

// What a kernel leaves to ring out must not be freed, nor read before it is whole.
TEST(SharedKernels, ChangeOnAnotherThreadWhileTheSoundGoesOn) {
  for (const bool isBlocked : {true, false}) {
    CrossoverBank bank;
    bank.useBlocked = isBlocked;
    bank.setSampleRate(kRate);
    subband filter;
    filter.setSampleRate(kRate);
    std::mt19937 random(31);
    const auto change = [&] {
      setRandomSplits(bank, 1 + static_cast<int>(random() % 8), random);
      bank.buildKernels();
      Shape{kLowPass, 100.0F + static_cast<float>(random() % 900), 24, 1, 6}.apply(filter);
    };
    change();
    std::atomic<bool> done{false};
    std::thread control([&] {
      while (!done) change();
    });
    const auto latency = static_cast<std::size_t>(bank.latency());
    std::array<Signal, 2> in, split, lifted;
    for (unsigned block = 0; block < 300; ++block) {
      const std::array<Signal, 2> input = {noiseOf(100, block), noiseOf(100, block + 1000)};
      const Bands bands = run(bank, input, kBands);
      const Parts parts = filtered(filter, input, 2, 50);
      for (std::size_t i = 0; i < 200; ++i) {
        const std::size_t c = i % 2, n = i / 2;
        in[c].push_back(input[c][n]);
        lifted[c].push_back(parts.band[c][n] + parts.rest[c][n]);
        split[c].push_back(0.0);
        for (std::size_t b = 0; b < kBands; ++b) split[c].back() += bands[2 * b + c][n];
      }
    }
    done = true;
    control.join();
    for (std::size_t i = 0; i < 2 * (in[0].size() - 1535); ++i) {  // the longest delay
      const std::size_t c = i % 2, n = i / 2;
      ASSERT_NEAR(split[c][n + latency], in[c][n], kRounding) << n;
      ASSERT_NEAR(lifted[c][n + 1024], in[c][n], kRounding) << n;
    }
  }
}

/// Numbers of the kernels that two threads get, set by set, for `rounds` sets in the same order.
std::array<std::vector<unsigned>, 2> numbersOfTwo(unsigned rounds) {
  std::array<std::vector<unsigned>, 2> numbers;
  const auto build = [rounds](std::vector<unsigned>& into) {
    std::mt19937 random(21);
    CrossoverBank bank;
    subband filter;
    std::vector<double> taps;
    for (unsigned i = 0; i < rounds; ++i) {
      setRandomSplits(bank, 2, random);
      bank.buildKernels();
      Shape{kLowPass, 100.0F + static_cast<float>(i % 3), 24, 1, 6}.apply(filter);
      into.insert(into.end(), {bank.copyKernel(0, 0, taps), bank.copyKernel(1, 0, taps),
                               bank.copyKernel(2, 0, taps), filter.copyKernel(0, taps)});
    }
  };
  std::thread other([&] { build(numbers[1]); });
  build(numbers[0]);
  other.join();
  return numbers;
}

TEST(SharedKernels, AreTheSameForAllWhoAskAndNoOthers) {
  const auto [mine, theirs] = numbersOfTwo(6);
  EXPECT_EQ(mine, theirs) << "kept, since few";
  const std::set<unsigned> distinct(mine.begin(), mine.end());
  EXPECT_EQ(distinct.size(), 2 * 6U + 1 + 3) << "and 0 where there is no band";
  // Not kept for ever: kernels nobody uses make room, and are designed anew.
  numbersOfTwo(30);
  EXPECT_NE(numbersOfTwo(1)[0].front(), mine.front());
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
    setRandomSplits(bank, 1 + static_cast<int>(random() % 8), random);
  }
}

}  // namespace
