#include "filters/df1_cascade.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <random>
#include <thread>
#include <type_traits>
#include <vector>

#include "filters/blt_eq.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

/// A cascade given its coefficients from outside.
struct PlainCascade : DF1Cascade {
  void update() noexcept override {}
};

/// The cascade by its definition: all sections sample by sample, every sum term by term.
struct SlowCascade {
  struct Section {
    double c[5] = {1, 0, 0, 0, 0}, target[5] = {1, 0, 0, 0, 0}, step[5] = {};
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
  } sections[16];
  std::size_t count = 1;
  int counter = -1;
  bool flat = false, bypass = false, difference = false, forget = false;

  void set(const std::vector<double>& wanted) {
    bool changed = wanted.size() / 5 != count;
    count = wanted.size() / 5;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      Section& s = sections[i / 5];
      s.target[i % 5] = wanted[i];
      s.step[i % 5] = (wanted[i] - s.c[i % 5]) * 0.001;
      changed |= wanted[i] != s.c[i % 5];
    }
    if (changed) counter = 1000;
  }
  void toUnity() {
    for (Section& s : sections) {
      for (int i = 0; i < 5; ++i) s.c[i] = s.target[i] = i == 0 ? 1.0 : 0.0, s.step[i] = 0.0;
    }
    counter = -1;
  }
  template <typename Sample>
  void process(std::vector<Sample>& samples) {
    constexpr bool wide = std::is_same_v<Sample, double>;
    if (counter <= 0 && (flat || (bypass && !wide))) {
      if (wide && difference) std::fill(samples.begin(), samples.end(), Sample{0});
      return;
    }
    for (Section& s : sections) {
      for (double* word : {&s.x1, &s.x2, &s.y1, &s.y2}) {
        const bool tiny = std::abs(*word) < 2 * std::numeric_limits<double>::min();
        if (forget || (wide && (tiny || !std::isfinite(*word)))) *word = 0.0;
      }
    }
    forget = false;
    for (Sample& sample : samples) sample = next(sample);
  }
  template <typename Sample>
  Sample next(Sample sample) {
    for (std::size_t k = 0; k < count; ++k) {
      Section& s = sections[k];
      for (int i = 0; i < 5 && counter >= 0; ++i) s.c[i] = s.target[i] - counter * s.step[i];
      const double x = sample;
      double y = s.c[0] * x;
      y += s.c[1] * s.x1;
      y += s.c[2] * s.x2;
      y -= s.c[3] * s.y1;
      y -= s.c[4] * s.y2;
      if (std::is_same_v<Sample, float>) y += 1e-30, y -= 1e-30;
      s.x2 = s.x1, s.x1 = x, s.y2 = s.y1, s.y1 = y;
      sample = static_cast<Sample>(y);
      if (std::is_same_v<Sample, double>) continue;
      for (const double off : {1e-15, -1e-15}) sample = static_cast<Sample>(sample + off);
    }
    counter = std::max(counter - 1, -1);
    return sample;
  }
};

/// Both cascades on their way through the same settings and blocks.
struct Walk {
  explicit Walk(unsigned seed) : random(seed) { filter.setBypass(0); }

  double unit() { return std::uniform_real_distribution<double>(-1.0, 1.0)(random); }
  void setSections(std::size_t count) {
    std::vector<double> c;
    for (std::size_t i = 0; i < count; ++i) {
      const double radius = 0.8 + 0.19 * unit();
      c.insert(c.end(), {0.7 * unit(), 0.7 * unit(), 0.7 * unit(),
                         -2.0 * radius * std::cos(1.5 + 1.4 * unit()), radius * radius});
    }
    filter.setCoefficients(c.data(), static_cast<int>(count));
    slow.set(c);
  }
  void change() {
    const auto choice = random() % 16;
    if (choice < 6) setSections(std::array<std::size_t, 6>{1, 2, 3, 4, 16, 0}[choice]);
    if (choice == 6) filter.setFlat(slow.flat = !slow.flat);
    if (choice == 7) filter.setBypass(slow.bypass = !slow.bypass);
    if (choice == 8) filter.setDifferenceMode(slow.difference = !slow.difference);
    if (choice == 9) filter.resetState(), slow.forget = true;
    if (choice == 10) filter.setSampleRate(44100.0F), slow.forget = true;
    if (choice == 11) filter.resetCoefficients(true), slow.toUnity();
    if (choice != 12) return;
    filter.resetCoefficients(false);
    std::vector<double> unity;
    for (std::size_t i = 0; i < slow.count; ++i) unity.insert(unity.end(), {1, 0, 0, 0, 0});
    slow.set(unity);
  }
  template <typename Sample>
  void playBlock() {
    // A new ramp in the middle of one, exactly at its counter 0 and at its end.
    constexpr std::array kFrames = {999, 1, 1000, 1001, 63, 64, 300, 2500, 0};
    // Into the subnormal range and out; and once what is no number.
    constexpr std::array kLevels = {1.0, 1.0, 1.0, 1e-20, 1e-290, 1e-307, 0.0};
    std::vector<Sample> samples(static_cast<std::size_t>(kFrames[random() % kFrames.size()]));
    const double level = kLevels[random() % kLevels.size()];
    for (Sample& sample : samples) sample = static_cast<Sample>(level * unit());
    const bool wide = std::is_same_v<Sample, double>;
    if (wide && random() % 30 == 0 && !samples.empty()) samples.back() = static_cast<Sample>(NAN);
    std::vector<Sample> expected = samples;
    processInRealTime(filter, samples.data(), static_cast<int>(samples.size()));
    if (!samples.empty()) slow.process(expected);
    for (std::size_t i = 0; i < samples.size(); ++i) {
      const bool none = std::isnan(samples[i]) && std::isnan(expected[i]);
      ASSERT_TRUE(none || samples[i] == expected[i]) << i << " of " << samples.size();
    }
    std::array<double, 80> inForce{};
    filter.getCoefficients(inForce.data());
    for (std::size_t i = 0; i < 5 * slow.count && !samples.empty(); ++i) {
      ASSERT_EQ(inForce[i], slow.sections[i / 5].c[i % 5]) << "coefficient " << i;
    }
  }
  /// The response is that of the coefficients to come.
  void compareResponses() {
    for (const double hz : {0.0, 37.5, 12345.0, 22050.0}) {
      const auto z = std::polar(1.0, -2.0 * std::numbers::pi * hz / 44100.0);
      std::complex<double> expected = 1.0;
      for (std::size_t k = 0; k < slow.count; ++k) {
        const auto& c = slow.sections[k].target;
        expected *= (c[0] + z * (c[1] + z * c[2])) / (1.0 + z * (c[3] + z * c[4]));
      }
      double re = 0.0, im = 0.0, phase = 0.0;
      filter.responseAt(hz, &re, &im);
      const double magnitude = filter.magnitudeAt(hz, &phase);
      const auto polar = std::polar(magnitude, phase);
      const double off = std::abs(std::complex(re, im) - expected) + std::abs(polar - expected);
      ASSERT_NEAR(off, 0.0, 2e-9 * (1.0 + std::abs(expected))) << hz;
    }
  }

  std::mt19937 random;
  PlainCascade filter;
  SlowCascade slow;
};

TEST(DF1CascadeTest, FollowsItsDefinitionThroughAllChangesInUnevenBlocks) {
  for (unsigned seed = 1; seed <= 8; ++seed) {
    Walk walk(seed);
    for (int block = 0; block < 120 && !testing::Test::HasFailure(); ++block) {
      SCOPED_TRACE(testing::Message() << "seed " << seed << ", block " << block);
      walk.change();
      if (walk.random() % 3 == 0) walk.change();
      walk.random() % 3 == 0 ? walk.playBlock<float>() : walk.playBlock<double>();
      walk.compareResponses();
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
