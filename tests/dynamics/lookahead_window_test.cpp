#include "dynamics/lookahead_window.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>
#include <string>
#include <vector>

#include "tests/support/data_rows.h"
#include "tests/support/known_numbers.h"
#include "tests/support/real_time.h"

namespace {

TEST(LookaheadWindowTest, TurnsMillisecondsIntoWholeSamplesAtAnyRate) {
  for (const DataRow& row : dataRows(TEST_DATA "/lookaheads.txt", 2)) {
    const double rate = std::stod(row[0]);
    LookaheadWindow windows[2];
    windows[0].setSampleRate(rate);
    for (LookaheadWindow& window : windows) window.setLookahead(std::stof(row[1]));
    windows[1].setSampleRate(rate);
    for (const LookaheadWindow& window : windows) {
      EXPECT_EQ(std::to_string(window.lookaheadSamples()), row.back())
          << row[1] << " ms at " << rate;
    }
  }
}

TEST(LookaheadWindowTest, IsTheMaximumOfNSamplesUnderTwoAveragesInAnyBlocks) {
  LookaheadWindow window;
  window.setSampleRate(1000.0);
  std::mt19937 random(7);
  for (const int samples : {0,  1,  2,  3,   4,   5,   6,   7,    8,    9,    15,   16,   17,
                            63, 64, 65, 480, 511, 512, 513, 1025, 4095, 4096, 4097, 8191, 9000}) {
    SCOPED_TRACE(testing::Message() << samples << " samples");
    const auto n = static_cast<std::size_t>(std::min(samples, 8191));
    // Peaks of all sizes, with long stretches below them.
    std::vector<double> levels(2 * n + 700);
    for (double& x : levels) x = std::pow(std::uniform_real_distribution<double>()(random), 12.0);
    std::vector<double> out = levels;
    for (double& x : out) x = random() % 2 == 0 ? x : -x;
    window.setLookahead(static_cast<float>(samples) + 0.25F);
    window.clear();
    for (std::size_t done = 0; done < out.size();) {
      const std::size_t frames = std::min(random() % 600, out.size() - done);
      processInRealTime(window, out.data() + done, static_cast<int>(frames));
      done += frames;
    }
    const std::size_t length1 = n > 3 ? 3 * n / 4 : 1;
    const std::size_t length2 = n > 3 ? n / 4 : 1;
    std::vector<double> total1{0.0};  // of all maxima up to a sample, which begins with 0
    std::vector<double> total2{0.0};
    const auto mean = [](const std::vector<double>& total, std::size_t length) {
      const std::size_t last = total.size() - 1;
      return (total[last] - total[last - std::min(last, length)]) / static_cast<double>(length);
    };
    constexpr std::size_t one = 1;
    auto loudest = levels.begin();
    for (std::size_t i = 0; i < levels.size(); ++i) {
      const auto first =
          levels.begin() + static_cast<long>(i + 1 - std::min(std::max(n, one), i + 1));
      if (loudest < first) loudest = std::max_element(first, first + static_cast<long>(n));
      if (levels[i] >= *loudest) loudest = levels.begin() + static_cast<long>(i);
      const double maximum = *loudest;
      total1.push_back(total1.back() + maximum);
      total2.push_back(total2.back() + mean(total1, length1));
      // Both sides add up thousands of values of at most 1.
      ASSERT_NEAR(out[i], n > 3 ? mean(total2, length2) : maximum, n > 3 ? 1e-10 : 0.0) << i;
    }
  }
}

// Was compared with the law, each level of the maximum in a ring of its own, when it was recorded.
TEST(LookaheadWindowTest, GoesOnFromWhatItRemembersWhenItChanges) {
  KnownNumbers known(TEST_DATA "/windows.txt");
  LookaheadWindow window;
  window.setSampleRate(1000.0);
  std::mt19937 random(9);
  constexpr std::array kSamples = {0, 1, 2, 3, 4, 7, 33, 64, 86, 257, 480, 2400};
  for (int block = 0; block < 150; ++block) {
    const int samples = kSamples[random() % kSamples.size()];
    window.setLookahead(static_cast<float>(samples) + 0.25F);
    std::vector<double> levels(1 + random() % 700);
    for (double& x : levels) x = std::pow(std::uniform_real_distribution<double>()(random), 6.0);
    processInRealTime(window, levels.data(), static_cast<int>(levels.size()));
    known.expect(std::to_string(block) + ", " + std::to_string(samples) + " samples",
                 {levels.front(), std::accumulate(levels.begin(), levels.end(), 0.0)});
  }
}

}  // namespace
