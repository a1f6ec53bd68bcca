#include "filters/df1_cascade.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "filters/blt_eq.h"
#include "tests/support/known_numbers.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

/// A cascade given its coefficients from outside.
struct PlainCascade : DF1Cascade {
  void update() noexcept override {}
};

/// A cascade on its way through random settings and blocks.
struct Walk {
  explicit Walk(unsigned seed) : random(seed) { filter.setBypass(0); }

  double unit() { return std::uniform_real_distribution<double>(-1.0, 1.0)(random); }
  void setSections(std::size_t newCount) {
    count = newCount;
    std::vector<double> c;
    for (std::size_t i = 0; i < count; ++i) {
      const double radius = 0.8 + 0.19 * unit();
      c.insert(c.end(), {0.7 * unit(), 0.7 * unit(), 0.7 * unit(),
                         -2.0 * radius * std::cos(1.5 + 1.4 * unit()), radius * radius});
    }
    filter.setCoefficients(c.data(), static_cast<int>(count));
  }
  /// Does one thing and says which.
  std::string change() {
    const auto choice = random() % 16;
    if (choice < 6) setSections(std::array<std::size_t, 6>{1, 2, 3, 4, 16, 0}[choice]);
    if (choice == 6) filter.setFlat(1 - filter.getFlat());
    if (choice == 7) filter.setBypass(1 - filter.getBypass());
    if (choice == 8) filter.setDifferenceMode(!filter.getDifferenceMode());
    if (choice == 9) filter.resetState();
    if (choice == 10) filter.setSampleRate(44100.0F);
    if (choice == 11) filter.resetCoefficients(true);
    if (choice == 12) filter.resetCoefficients(false);
    constexpr const char* kOthers[] = {"flat", "bypass", "difference", "forget",
                                       "rate", "unity",  "to unity",   "nothing"};
    return choice < 6 ? std::to_string(count) + " sections" : kOthers[std::min(choice, 13UL) - 6];
  }
  /// Sums over what came out, with weights, and over the coefficients in force.
  template <typename Sample>
  std::vector<double> playBlock() {
    // A new ramp in the middle of one, exactly at its counter 0 and at its end.
    constexpr std::array kFrames = {999, 1, 1000, 1001, 63, 64, 300, 2500, 0};
    // Into the subnormal range and out; and once what is no number.
    constexpr std::array kLevels = {1.0, 1.0, 1.0, 1e-20, 1e-290, 1e-307, 0.0};
    std::vector<Sample> samples(static_cast<std::size_t>(kFrames[random() % kFrames.size()]));
    const double level = kLevels[random() % kLevels.size()];
    for (Sample& sample : samples) sample = static_cast<Sample>(level * unit());
    const bool wide = std::is_same_v<Sample, double>;
    if (wide && random() % 30 == 0 && !samples.empty()) samples.back() = static_cast<Sample>(NAN);
    processInRealTime(filter, samples.data(), static_cast<int>(samples.size()));
    std::vector<double> numbers(5);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      if (std::isnan(samples[i]))
        ++numbers[3];
      else
        numbers[i % 3] += (1.0 + static_cast<double>(i % 7)) * samples[i];
    }
    std::array<double, 80> inForce{};
    filter.getCoefficients(inForce.data());
    for (std::size_t i = 0; i < 5 * count; ++i) {
      numbers[4] += (1.0 + static_cast<double>(i)) * inForce[i];
    }
    return numbers;
  }

  std::mt19937 random;
  PlainCascade filter;
  std::size_t count = 1;
};

// Was compared with its definition, sample by sample, when it was recorded.
TEST(DF1CascadeTest, GoesOnAsItDidThroughAllChangesInUnevenBlocks) {
  KnownNumbers known(TEST_DATA "/cascades.txt");
  for (unsigned seed = 1; seed <= 4; ++seed) {
    Walk walk(seed);
    for (int block = 0; block < 100; ++block) {
      const std::string name = std::to_string(seed) + '.' + std::to_string(block) + ", ";
      const std::string changed = walk.change();
      if (walk.random() % 3 == 0) walk.setSections(1 + walk.random() % 3);
      const bool isWide = walk.random() % 3 != 0;
      const auto numbers = isWide ? walk.playBlock<double>() : walk.playBlock<float>();
      known.expect(name + changed + (isWide ? "" : ", single"), numbers, 1e-9, 0.0);
    }
  }
}

TEST(DF1CascadeTest, RespondsAsTheCoefficientsToCome) {
  Walk walk(5);
  for (int i = 0; i < 50; ++i) {
    std::array<double, 80> c{};
    walk.setSections(1 + walk.random() % 16);
    std::vector<double> samples(1001);
    walk.filter.process(samples.data(), 1001);
    walk.filter.getCoefficients(c.data());
    for (const double hz : {0.0, 37.5, 12345.0, 22050.0}) {
      const auto z = std::polar(1.0, -2.0 * std::numbers::pi * hz / 44100.0);
      std::complex<double> expected = 1.0;
      for (std::size_t k = 0; k < 5 * walk.count; k += 5) {
        expected *= (c[k] + z * (c[k + 1] + z * c[k + 2])) / (1.0 + z * (c[k + 3] + z * c[k + 4]));
      }
      double re = 0.0, im = 0.0, phase = 0.0;
      walk.filter.responseAt(hz, &re, &im);
      const double magnitude = walk.filter.magnitudeAt(hz, &phase);
      const double off = std::abs(std::complex(re, im) - expected) +
                         std::abs(std::polar(magnitude, phase) - expected);
      ASSERT_NEAR(off, 0.0, 2e-9 * (1.0 + std::abs(expected))) << hz;
    }
  }
}

TEST(DF1CascadeTest, ResponseOnAPoleOfTheUnitCircle) {
  const double cases[][5] = {
      {1, -1, 0, 0, 1}, {1e-11, -1, 1, 0, 1}, {1, -1 + 0x1p-35, 0, 0x1p35, 0}};
  for (const auto& [b0, a1, magnitude, real, imaginary] : cases) {  // b0 / (1 + a1 / z) at 0 Hz
    PlainCascade filter;
    const double integrator[] = {b0, 0, 0, a1, 0};
    filter.setCoefficients(integrator, 1);
    double re = 5, im = 5;
    filter.responseAt(0.0, &re, &im);
    EXPECT_EQ(filter.magnitudeAt(0.0, nullptr), magnitude);
    EXPECT_EQ(std::complex(re, im), std::complex(real, imaginary));
  }
}

// Every set is stable; the a1 of one beside the a2 of another grows by a factor per sample.
TEST(DF1CascadeTest, NeverMixesTheSetsOfAnotherThreadAndEndsWithTheLast) {
  const auto set = [](BLTEQ& filter, float hz) {
    filter.setBypass(0);
    filter.setType(EQ::kHpf);
    filter.setSubtype(2);
    filter.setOrder(4);
    filter.setFrequency(hz);
    filter.update();
  };
  BLTEQ filter, fresh;
  set(filter, 20.0F);
  set(fresh, 333.0F);
  std::atomic<bool> done{false};
  std::thread control([&] {
    std::mt19937 random(2);
    while (!done) set(filter, std::uniform_real_distribution<float>(20.0F, 400.0F)(random));
    set(filter, 333.0F);
  });
  long tooLarge = 0;
  const auto play = [&](BLTEQ& cascade, unsigned seed) {
    Signal samples = noiseOf(512, seed);
    processInRealTime(cascade, samples.data(), 512);
    for (const double sample : samples) tooLarge += std::abs(sample) < 20.0 ? 0 : 1;  // or NaN
  };
  for (unsigned block = 0; block < 5000; ++block) play(filter, block);
  done = true;
  control.join();
  for (unsigned block = 0; block < 3; ++block) play(filter, block), play(fresh, block);
  EXPECT_EQ(tooLarge, 0);
  std::array<double, 10> inForce[2];
  filter.getCoefficients(inForce[0].data());
  fresh.getCoefficients(inForce[1].data());
  EXPECT_EQ(inForce[0], inForce[1]);
}

}  // namespace
