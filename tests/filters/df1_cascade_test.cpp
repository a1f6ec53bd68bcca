#include "filters/df1_cascade.h"

#include <gtest/gtest.h>

#include <algorithm>
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
#include "tests/support/real_time.h"

namespace {

/// A cascade given its coefficients from outside.
struct PlainCascade : DF1Cascade {
  PlainCascade() { setBypass(0); }
  void update() noexcept override {}
};

/// The cascade by its definition: all sections sample by sample, every sum term by term.
struct SlowCascade {
  struct Section {
    double c[5] = {1, 0, 0, 0, 0}, target[5] = {1, 0, 0, 0, 0}, step[5] = {};
    double x1 = 0, x2 = 0, y1 = 0, y2 = 0;
  } sections[16];
  int count = 1;
  int counter = -1;

  void set(const std::vector<double>& wanted) {
    bool changed = static_cast<int>(wanted.size()) / 5 != count;
    count = static_cast<int>(wanted.size()) / 5;
    for (std::size_t i = 0; i < wanted.size(); ++i) {
      Section& s = sections[i / 5];
      s.target[i % 5] = wanted[i];
      s.step[i % 5] = (wanted[i] - s.c[i % 5]) * 0.001;
      changed |= wanted[i] != s.c[i % 5];
    }
    if (changed) counter = 1000;
  }
  void flush() {
    for (Section& s : sections) {
      for (double* word : {&s.x1, &s.x2, &s.y1, &s.y2}) {
        if (std::abs(*word) < 2 * std::numeric_limits<double>::min()) *word = 0.0;
      }
    }
  }
  template <typename Sample>
  Sample next(Sample sample) {
    for (int k = 0; k < count; ++k) {
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
      sample = static_cast<Sample>(static_cast<double>(sample) + 1e-15);
      sample = static_cast<Sample>(static_cast<double>(sample) - 1e-15);
    }
    counter = std::max(counter - 1, -1);
    return sample;
  }
};

std::vector<double> randomSections(std::mt19937& random, int count) {
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::vector<double> c;
  for (int i = 0; i < count; ++i) {
    const double radius = 0.8 + 0.19 * unit(random);
    for (int k = 0; k < 3; ++k) c.push_back(0.7 * unit(random));
    c.push_back(-2.0 * radius * std::cos(1.5 + 1.4 * unit(random)));
    c.push_back(radius * radius);
  }
  return c;
}

template <typename Sample>
void compareWithDefinition(unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  // A new ramp in the middle of one, exactly at its counter 0 and at its end, and count changes.
  const struct {
    int count, frames;
  } blocks[] = {{2, 999}, {0, 1},   {0, 1},    {3, 1000}, {16, 1001}, {1, 63},   {4, 1},
                {4, 700}, {0, 299}, {0, 5000}, {5, 64},   {0, 4096},  {-1, 500}, {3, 2500}};
  PlainCascade filter;
  SlowCascade slow;
  std::vector<Sample> samples;
  for (const auto& block : blocks) {
    if (block.count != 0) {  // -1: no section at all
      const auto wanted = randomSections(random, std::max(block.count, 0));
      filter.setCoefficients(wanted.data(), static_cast<int>(wanted.size() / 5));
      slow.set(wanted);
    }
    const bool tail = block.frames == 5000;  // into the subnormal range and out
    samples.assign(static_cast<std::size_t>(block.frames), Sample{0});
    for (Sample& sample : samples) sample = static_cast<Sample>(tail ? 1e-307 : unit(random));
    const std::vector<Sample> input = samples;
    processInRealTime(filter, samples.data(), 0);
    processInRealTime(filter, samples.data(), block.frames);
    if (std::is_same_v<Sample, double>) slow.flush();
    for (std::size_t i = 0; i < input.size(); ++i) {
      ASSERT_EQ(samples[i], slow.next(input[i])) << "block of " << block.frames << " at " << i;
    }
  }
}

TEST(DF1CascadeTest, FollowsItsDefinitionThroughRampsInUnevenBlocks) {
  for (const unsigned seed : {1U, 2U, 3U}) {
    SCOPED_TRACE(testing::Message() << "seed " << seed);
    compareWithDefinition<double>(seed);
    compareWithDefinition<float>(seed);
  }
}

TEST(DF1CascadeTest, ResetsAtOnceAndNewRatesClearTheState) {
  PlainCascade filter;
  const double memory[] = {0.0, 1.0, 0.0, -0.5, 0.0};
  filter.setCoefficients(memory, 1);
  std::vector<double> samples(1001, 1.0);
  processInRealTime(filter, samples.data(), 1001);
  EXPECT_NE(samples[999], samples[1000]);
  double inForce[5];
  filter.getCoefficients(inForce);
  EXPECT_TRUE(std::equal(memory, memory + 5, inForce)) << "after 1001 samples, not before";
  filter.setSampleRate(44100);
  samples.assign(1001, 0.0);
  processInRealTime(filter, samples.data(), 1001);
  EXPECT_EQ(samples, std::vector<double>(1001, 0.0));

  // In single precision bypass lets only a ramp go on, and what is processed loses its last digits.
  filter.setBypass(1);
  const auto ramps = [&] {
    float probe = 1e-20F;
    processInRealTime(filter, &probe, 1);
    return probe != 1e-20F;
  };
  filter.resetCoefficients(true);
  EXPECT_FALSE(ramps());
  const double unity[] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0};
  filter.setCoefficients(unity, 1);
  EXPECT_FALSE(ramps());
  filter.setCoefficients(unity, 2);
  EXPECT_TRUE(ramps()) << "for the number alone";
  processInRealTime(filter, samples.data(), 999);
  EXPECT_FALSE(ramps()) << "at counter 0";
  filter.setCoefficients(unity, 1);
  filter.resetCoefficients(true);
  EXPECT_FALSE(ramps()) << "ended";
  samples.assign(1001, 0.5);
  processInRealTime(filter, samples.data(), 1001);
  EXPECT_EQ(samples, std::vector<double>(1001, 0.5));
}

TEST(DF1CascadeTest, TailsEndInSilenceBeforeTheSubnormalRange) {
  PlainCascade filter;
  const double decay[] = {1.0, 0.0, 0.0, -0.5, 0.0};
  filter.setCoefficients(decay, 1);
  std::vector<double> wide(1100, 1e-290);
  processInRealTime(filter, wide.data(), 1100);
  double last = wide.back();
  for (int block = 0; block < 100; ++block) {
    double silence = 0.0;
    processInRealTime(filter, &silence, 1);
    // Halved by each block until the state is a factor of two above the subnormal range.
    last = last < 2 * std::numeric_limits<double>::min() ? 0.0 : 0.5 * last;
    ASSERT_EQ(silence, last) << block;
  }
  EXPECT_EQ(last, 0.0);
  // In single precision all that is far below 1e-15 becomes what that number is rounded by.
  std::vector<float> narrow(1100, 1e-30F);
  processInRealTime(filter, narrow.data(), 1100);
  for (const float sample : narrow) ASSERT_EQ(sample, static_cast<float>(double{1e-15F} - 1e-15));
  narrow.assign(1100, 0.0F);
  narrow.back() = 1e-45F;
  const double small[] = {1e-3, 0.0, 0.0, -0.5, 0.0};
  filter.setCoefficients(small, 1);
  processInRealTime(filter, narrow.data(), 1100);
  double silence = 0.0;
  processInRealTime(filter, &silence, 1);
  EXPECT_EQ(silence, 0.0) << "what is far below 1e-30 does not stay in the state";
}

TEST(DF1CascadeTest, BypassRunsItsRampOutAndThenPasses) {
  for (const bool difference : {false, true}) {
    BLTEQ filter;
    filter.setDifferenceMode(difference);
    filter.setType(EQ::kHpf);
    filter.setOrder(1);
    filter.setBypass(0);
    filter.update();
    std::vector<double> samples(2000, 1.0);
    processInRealTime(filter, samples.data(), 500);
    filter.setBypass(1);
    filter.update();
    EXPECT_EQ(filter.getFlat(), 1);
    processInRealTime(filter, samples.data() + 500, 250);
    processInRealTime(filter, samples.data() + 750, 750);
    // The constant comes back as the ramp goes; counter 0 is where the block is let through.
    EXPECT_LT(samples[510], 0.99);
    EXPECT_NE(samples[1499], 1.0);
    EXPECT_NEAR(samples[1499], 1.0, 0.02);
    processInRealTime(filter, samples.data() + 1500, 500);
    const std::vector<double> passed(500, difference ? 0.0 : 1.0);
    EXPECT_TRUE(std::equal(passed.begin(), passed.end(), samples.begin() + 1500));
    std::vector<float> narrow(10, 0.3F);
    processInRealTime(filter, narrow.data(), 10);
    EXPECT_EQ(narrow, std::vector<float>(10, 0.3F));
    filter.setBypass(0);
    filter.update();
    EXPECT_EQ(filter.getFlat(), 0);
  }
}

TEST(DF1CascadeTest, ResponseIsTheTransformOfTheImpulse) {
  std::mt19937 random(7);
  for (const int count : {0, 1, 3}) {
    PlainCascade filter;
    filter.setSampleRate(48000);
    const auto wanted = randomSections(random, count);
    filter.setCoefficients(wanted.data(), count);
    std::vector<double> impulse(6000, 0.0);
    processInRealTime(filter, impulse.data(), 1001);  // the ramp, over silence
    impulse[0] = 1.0;
    processInRealTime(filter, impulse.data(), 6000);
    for (const double hz : {0.0, 37.5, 1000.0, 12345.0, 24000.0}) {
      SCOPED_TRACE(testing::Message() << count << " sections at " << hz);
      std::complex<double> sum = 0.0;
      for (std::size_t n = 0; n < impulse.size(); ++n) {
        const double turn = -2.0 * std::numbers::pi * hz / 48000 * static_cast<double>(n);
        sum += impulse[n] * std::polar(1.0, turn);
      }
      double re = 0.0, im = 0.0, phase = 0.0;
      filter.responseAt(hz, &re, &im);
      const double magnitude = filter.magnitudeAt(hz, &phase);
      EXPECT_NEAR(std::abs(std::complex(re, im) - sum), 0.0, 1e-10 * (1.0 + std::abs(sum)));
      EXPECT_NEAR(magnitude, std::abs(sum), 1e-10 * (1.0 + std::abs(sum)));
      EXPECT_NEAR(std::abs(std::polar(magnitude, phase) - sum), 0.0, 1e-9 * (1.0 + std::abs(sum)));
      EXPECT_EQ(filter.magnitudeAt(hz, nullptr), magnitude);
    }
  }
}

TEST(DF1CascadeTest, ResponseOnAPoleOfTheUnitCircle) {
  const struct {
    double b0, a1, magnitude, re, im;
  } cases[] = {{1, -1, 0, 0, 1}, {1e-11, -1, 1, 0, 1}, {1, -1 + 0x1p-35, 0, 0x1p35, 0}};
  for (const auto& c : cases) {  // b0 / (1 + a1 / z) at 0 Hz
    PlainCascade filter;
    const double integrator[] = {c.b0, 0, 0, c.a1, 0};
    filter.setCoefficients(integrator, 1);
    double re = 5, im = 5;
    filter.responseAt(0.0, &re, &im);
    EXPECT_EQ(filter.magnitudeAt(0.0, nullptr), c.magnitude);
    EXPECT_EQ(re, c.re);
    EXPECT_EQ(im, c.im);
  }
}

TEST(DF1CascadeTest, RunsBesideUpdatesOfAnotherThreadWithoutHeapOrLock) {
  const auto set = [](BLTEQ& filter, int i) {
    filter.setType(EQ::kHpf);
    filter.setSubtype(2);
    filter.setBypass(i % 5 == 0);
    filter.setOrder(i % 17);
    filter.setFrequency(200.0F + static_cast<float>(i % 7) * 50.0F);
    if (i % 100 == 0) filter.setSampleRate(i % 200 == 0 ? 44100.0F : 48000.0F);
    filter.update();
  };
  constexpr int kChanges = 3001;
  BLTEQ filter;
  std::atomic<bool> done{false};
  std::thread control([&] {
    for (int i = 0; i <= kChanges; ++i) set(filter, i);
    done = true;
  });
  std::vector<double> wide(4096, 1.0);
  std::vector<float> narrow(64, 1.0F);
  for (bool last = false; !last;) {
    last = done;  // once more after it, for the last ramp
    processInRealTime(filter, narrow.data(), 64);
    for (const int frames : {1, 63, 64, 4096}) processInRealTime(filter, wide.data(), frames);
  }
  control.join();
  BLTEQ fresh;
  fresh.setSampleRate(44100.0F);
  set(fresh, kChanges);
  processInRealTime(fresh, wide.data(), 4096);
  double inForce[80], expected[80];
  filter.getCoefficients(inForce);
  fresh.getCoefficients(expected);
  for (int i = 0; i < 5 * ((kChanges % 17 + 1) / 2); ++i) EXPECT_EQ(inForce[i], expected[i]) << i;
}

// Every set is stable; the a1 of one beside the a2 of another grows by a factor per sample.
TEST(DF1CascadeTest, NeverMixesTheSetsOfAnotherThread) {
  BLTEQ filter;
  filter.setBypass(0);
  filter.setType(EQ::kHpf);
  filter.setSubtype(2);
  filter.setOrder(4);
  filter.setFrequency(20.0F);
  filter.update();
  std::atomic<bool> done{false};
  std::thread control([&] {
    std::mt19937 random(2);
    std::uniform_real_distribution<float> hz(20.0F, 400.0F);
    while (!done) {
      filter.setFrequency(hz(random));
      filter.update();
    }
  });
  std::mt19937 random(1);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  std::vector<double> samples(512);
  long tooLarge = 0;
  for (int block = 0; block < 10000; ++block) {
    for (double& sample : samples) sample = unit(random);
    processInRealTime(filter, samples.data(), 512);
    for (const double sample : samples) tooLarge += std::abs(sample) < 20.0 ? 0 : 1;  // or NaN
  }
  done = true;
  control.join();
  EXPECT_EQ(tooLarge, 0);
}

}  // namespace
