#include "dynamics/lookahead_window.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <random>
#include <thread>
#include <vector>

#include "tests/dynamics/plain_window.h"
#include "tests/support/real_time.h"

namespace {

constexpr int kBlocks[] = {1, 64, 7, 1000, 513, 2, 0, 4096, 31};

/// Peaks of all sizes, with long stretches below them.
std::vector<double> randomLevels(std::size_t length, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> uniform(0.0, 1.0);
  std::vector<double> levels(length);
  for (double& level : levels) level = std::pow(uniform(random), 12.0);
  return levels;
}

void processInBlocks(LookaheadWindow& window, std::vector<double>& signal) {
  std::size_t done = 0;
  for (int block = 0; done < signal.size(); ++block) {
    const auto frames =
        std::min<std::size_t>(static_cast<std::size_t>(kBlocks[block % 9]), signal.size() - done);
    processInRealTime(window, signal.data() + done, static_cast<int>(frames));
    done += frames;
  }
}

/// At this rate a millisecond is a sample, and the quarter keeps clear of the product's rounding.
void setSamples(LookaheadWindow& window, int samples) {
  window.setSampleRate(1000.0);
  window.setLookahead(static_cast<float>(samples) + 0.25F);
}

TEST(LookaheadWindowTest, TurnsMillisecondsIntoWholeSamplesAtAnyRate) {
  const struct {
    double rate;
    float ms;
    int samples;
  } cases[] = {{48000.0, 10.0F, 480},
               {44100.0, 0.1F, 4},
               {44100.0, 20.0F, 882},
               {48000.0, 0.0F, 0},
               {192000.0, 50.0F, 8191},
               {1000.0, 8190.5F, 8190},
               {1000.0, 8192.0F, 8191},
               {48000.0, 50.0F, 2400},
               // The float nearest to 0.7 lies below it, and 0.7 is read as given.
               {10000.0, 0.7F, 6},
               // In this order the product rounds below the whole number.
               {96000.0, 4.53125F, 434},
               {48000.0, -1.0F, 0},
               {48000.0, std::numeric_limits<float>::quiet_NaN(), 0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.ms << " ms at " << c.rate << " Hz");
    LookaheadWindow window;
    window.setSampleRate(c.rate);
    window.setLookahead(c.ms);
    EXPECT_EQ(window.lookaheadSamples(), c.samples);
    LookaheadWindow late;
    late.setLookahead(c.ms);
    late.setSampleRate(c.rate);
    EXPECT_EQ(late.lookaheadSamples(), c.samples);
  }
}

TEST(LookaheadWindowTest, IsTheMaximumOfNSamplesUnderTwoAveragesInAnyBlocks) {
  for (const int samples : {0,  1,  2,  3,   4,   5,   6,   7,    8,    9,    15,   16,   17,
                            63, 64, 65, 480, 511, 512, 513, 1025, 4095, 4096, 4097, 8191, 9000}) {
    SCOPED_TRACE(testing::Message() << samples << " samples");
    const auto n = static_cast<std::size_t>(std::min(samples, 8191));
    const std::vector<double> levels = randomLevels(2 * n + 1500, 7);
    std::vector<double> out = levels;
    LookaheadWindow window;
    setSamples(window, samples);
    processInBlocks(window, out);

    const std::size_t length1 = n > 3 ? 3 * n / 4 : 1;
    const std::size_t length2 = n > 3 ? n / 4 : 1;
    std::vector<double> total1{0.0};  // of all maxima up to a sample, which begins with 0
    std::vector<double> total2{0.0};
    const auto mean = [](const std::vector<double>& total, std::size_t length) {
      const std::size_t last = total.size() - 1;
      return (total[last] - total[last - std::min(last, length)]) / static_cast<double>(length);
    };
    for (std::size_t i = 0; i < levels.size(); ++i) {
      const std::size_t reach = std::min(std::max<std::size_t>(n, 1), i + 1);
      const double* const end = levels.data() + i + 1;
      const double maximum = *std::max_element(end - reach, end);
      total1.push_back(total1.back() + maximum);
      total2.push_back(total2.back() + mean(total1, length1));
      // Both sides add up thousands of values of at most 1.
      ASSERT_NEAR(out[i], n > 3 ? mean(total2, length2) : maximum, n > 3 ? 1e-10 : 0.0)
          << "sample " << i;
    }
  }
}

TEST(LookaheadWindowTest, FollowsItsLawToTheLastBitThroughChangesAndClears) {
  // Each comes while the traces of the ones before it still lie in the rings.
  const int changes[] = {480, 100, 8191, 3, 700, 0, 64, 65, 1, 5, 4, 6000, 2, 4096, 7, 1023, 480};
  LookaheadWindow window;
  PlainWindow plain;
  std::vector<double> levels = randomLevels(240000, 11);
  // Near silence, where what guards against denormals is what remains.
  for (std::size_t i = 0; i < 4000; ++i) levels[i] *= i < 2000 ? 1e-40 : 1e-28;
  std::size_t done = 0;
  for (int block = 0; done < levels.size(); ++block) {
    if (block % 5 == 0) setSamples(window, changes[block / 5 % 17]);
    if (block % 71 == 70) {
      window.clear();
      plain = PlainWindow();
    }
    const auto frames =
        std::min<std::size_t>(static_cast<std::size_t>(kBlocks[block % 9]), levels.size() - done);
    std::vector<double> out(levels.begin() + static_cast<std::ptrdiff_t>(done),
                            levels.begin() + static_cast<std::ptrdiff_t>(done + frames));
    processInRealTime(window, out.data(), static_cast<int>(frames));
    if (frames > 0) plain.change(static_cast<std::size_t>(window.lookaheadSamples()));
    for (std::size_t i = 0; i < frames; ++i) {
      ASSERT_EQ(out[i], plain.next(levels[done + i]))
          << "block " << block << ", sample " << i << ", window " << window.lookaheadSamples();
    }
    done += frames;
  }
}

TEST(LookaheadWindowTest, TakesChangesFromAnotherThreadWithoutHeapOrLock) {
  LookaheadWindow window;
  std::atomic<bool> done{false};
  std::thread control([&] {
    window.setSampleRate(48000.0);
    for (int i = 0; i < 4000; ++i) window.setLookahead(static_cast<float>(i * 7919 % 500) * 0.1F);
    window.setLookahead(10.0F);
    done = true;
  });
  std::vector<double> signal(4096);
  double largest = 0.0;
  for (int settled = 0; settled < 3; settled += done ? 1 : 0) {
    for (const int frames : {1, 63, 64, 4096}) {
      std::fill(signal.begin(), signal.end(), 0.5);
      processInRealTime(window, signal.data(), frames);
      for (int i = 0; i < frames; ++i) {
        largest = std::max(largest, signal[static_cast<std::size_t>(i)]);
      }
    }
  }
  control.join();
  EXPECT_NEAR(largest, 0.5, 1e-10) << "no mixture of lengths and scales";
  EXPECT_EQ(window.lookaheadSamples(), 480);
  EXPECT_NEAR(signal.back(), 0.5, 1e-10);
}

}  // namespace
