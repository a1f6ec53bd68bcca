#include "dynamics/sidechain_filters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "tests/support/known_numbers.h"
#include "tests/support/real_time.h"

namespace {

constexpr double kRate = 96000.0;
using Signal = std::vector<double>;
using Filter = SidechainFilterSettings::Filter;

/// One channel, in place or from another array.
void process(SidechainFilters& filters, std::size_t channel, Signal& signal) {
  const Signal input = signal;
  const bool inPlace = signal.size() % 2 == 0;
  if (!inPlace) std::fill(signal.begin(), signal.end(), 7.0);
  processInRealTime(filters, channel, inPlace ? signal.data() : input.data(), signal.data(),
                    static_cast<int>(signal.size()));
}

// The numbers were compared with the gains of the analog curves when they were recorded.
TEST(SidechainFiltersTest, AreTheTrimAndTheCurvesOfTheirSettingsInBothChannels) {
  KnownNumbers known(TEST_DATA "/sidechains.txt");
  const struct {
    std::string what;
    SidechainFilterSettings settings;
  } rows[] = {{"off", {6.0, {}, {}, {}}},
              {"high-pass", {0, {true, 1000, 9, 0.71F, 12}, {}, {}}},
              {"low shelf", {0, {true, 1000, 9, 0.71F, 12, true}, {}, {}}},
              {"peak", {-6, {}, {true, 1000, 9, 1}, {}}},
              {"band-pass", {0, {}, {true, 1000, 9, 1, 24, true}, {}}},
              {"low-pass", {0, {}, {}, {true, 1000, 9, 0.71F, 12}}},
              {"high shelf", {0, {}, {}, {true, 1000, -9, 0.71F, 12, true}}},
              {"both", {3, {true, 1000, 0, 0.71F, 24}, {}, {true, 1000, 0, 0.71F, 6}}}};
  SidechainFilters filters;
  filters.setSampleRate(static_cast<float>(kRate));
  for (const auto& row : rows) {
    filters.set(row.settings);
    for (const std::size_t channel : {0U, 1U}) {
      Signal response(9000 + channel);
      process(filters, channel, response);
      response[0] = 1.0;
      process(filters, channel, response);
      known.expect(row.what + (channel == 0 ? ", left" : ", right"),
                   {response[0], response[1], response[10], response[100], response[300]});
    }
  }
  // A reset of one channel is one of all its filters and of no other's.
  const Filter ringing{true, 1000, 9, 4};
  filters.set({0, {true, 500, 0, 4, 24}, ringing, {true, 4000, 0, 4, 24}});
  for (const bool both : {false, true}) {
    Signal last[2];
    for (const std::size_t channel : {0U, 1U}) {
      Signal noise(2000, 1.0);
      process(filters, channel, noise);
      noise.back() = 0.0;
      process(filters, channel, noise);
    }
    both ? filters.reset() : filters.resetRight();
    for (const std::size_t channel : {0U, 1U}) {
      last[channel].resize(50);
      process(filters, channel, last[channel]);
      EXPECT_EQ(last[channel] == Signal(50), both || channel == 1) << channel;
    }
  }
}

TEST(SidechainFiltersTest, LinkTheChannelsAsPositionAndUnlinkSay) {
  SidechainFilters filters;
  std::mt19937 random(2);
  std::uniform_real_distribution<double> unit(-1.0, 1.0);
  for (int i = 0; i < 400; ++i) {
    const bool leftRight = random() % 2 == 0;
    const int percent = std::array{0, 50, 100, 20, 73}[random() % 5];
    const double unlink = std::array{0.0, 1.0, 0.3}[random() % 3];
    filters.setPosition(leftRight, percent);
    filters.setUnlink(unlink);
    Signal left(9), right(9);
    for (double& x : left) x = unit(random);
    for (double& x : right) x = unit(random);
    Signal both[] = {left, right};
    const bool same = inRealTime([&] { return filters.link(both[0].data(), both[1].data(), 9); });
    EXPECT_EQ(same, unlink == 0.0);
    // In the middle both are heard whole, at an end one of them alone; mid and side are halved.
    const double first = std::min(1.0, (100 - percent) / 50.0);
    const double second = std::min(1.0, percent / 50.0);
    for (std::size_t n = 0; n < 9; ++n) {
      const double l = left[n], r = right[n];
      const double a = first * std::abs(leftRight ? l : (l + r) / 2);
      const double b = second * std::abs(leftRight ? r : (l - r) / 2);
      ASSERT_NEAR(both[0][n], a * unlink + std::max(a, b) * (1 - unlink), 1e-14) << i;
      ASSERT_NEAR(both[1][n], b * unlink + std::max(a, b) * (1 - unlink), 1e-14) << i;
    }
  }
}

}  // namespace
