#include "core/crossover_spacing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using Centres = std::vector<double>;

TEST(CrossoverSpacingTest, BandsGiveWayAndNobodyLeavesTheRange) {
  const struct {
    const char* what;
    Centres centres;
    std::size_t place;
    double wanted;
    Centres expected;
  } cases[] = {
      {"room on all sides", {100, 1000, 8000}, 1, 900, {100, 900, 8000}},
      {"down, close to one", {100, 1000, 8000}, 1, 120, {80, 150, 8000}},
      {"down to the floor", {20, 1000}, 1, 15, {15, 30}},
      {"past a neighbour", {1000, 1050, 4000}, 0, 1100, {700, 1650, 4000}},
      {"no such place", {15, 20}, 7, 1000, {15, 22.5}},
      {"nothing", {}, 0, 1000, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    const Centres spaced = spacedCrossover(c.centres, c.place, c.wanted);
    ASSERT_EQ(spaced.size(), c.expected.size());
    for (std::size_t i = 0; i < spaced.size(); ++i) {
      EXPECT_NEAR(spaced[i], c.expected[i], 1e-9 * c.expected[i]) << i;
    }
  }
}

double nearestInUse(const Centres& f, std::size_t i, int step, double bound) {
  for (auto k = static_cast<std::ptrdiff_t>(i) + step; k >= 0 && k < std::ssize(f); k += step) {
    if (f[static_cast<std::size_t>(k)] != 0.0) return f[static_cast<std::size_t>(k)];
  }
  return bound;
}

/// The rule word by word.
Centres literally(Centres f) {
  for (bool changed = true; changed;) {
    const Centres before = f;
    changed = false;
    for (std::size_t i = 0; i < f.size(); ++i) {
      if (f[i] == 0.0) continue;
      const double c = nearestInUse(before, i, -1, 10.0) * 1.5;
      const double upper = nearestInUse(before, i, 1, 30000.0);
      if (c > f[i]) {
        f[i] = c;
        changed = true;
      } else if (!changed && f[i] * 1.5 > upper) {
        f[i] = upper / 1.5;
        changed = true;
      }
    }
  }
  return f;
}

TEST(CrossoverSpacingTest, FollowsItsRuleFromAnywhere) {
  std::mt19937 random(20);
  const auto share = [&random] { return static_cast<double>(random()) / 4294967296.0; };
  const auto anywhere = [&share] { return 10.0 * std::pow(2000.0, share()); };
  for (int round = 0; round < 20000; ++round) {
    SCOPED_TRACE(round);
    Centres centres(1 + random() % 8);
    const bool crowded = share() < 0.3;
    for (double& centre : centres) centre = crowded ? 1000.0 + 100.0 * share() : anywhere();
    if (share() < 0.9) std::ranges::sort(centres);
    if (share() < 0.1) centres[random() % centres.size()] = 0.0;
    const std::size_t place = random() % centres.size();
    const double wanted = anywhere();
    const Centres spaced = spacedCrossover(centres, place, wanted);
    double below = 10.0;
    for (const double centre : spaced) {
      if (centre == 0.0) continue;
      ASSERT_GE(centre, below * 1.5 * (1.0 - 1e-12));
      below = centre;
    }
    ASSERT_LE(below, 20000.0);
    centres[place] = wanted;
    ASSERT_EQ(spaced, literally(centres));
  }
}

TEST(CrossoverSpacingTest, ComesToAnEndWhateverItIsGiven) {
  constexpr double kNan = std::numeric_limits<double>::quiet_NaN();
  constexpr double kInf = std::numeric_limits<double>::infinity();
  const Centres odd[] = {Centres(40, 1000.0), {kNan, kNan, 5},     {1000, kNan, 20},
                         {-100, -5, 0, 7},    {kInf, 1000, -kInf}, Centres(8, 0.0),
                         Centres(8, kInf),    Centres(8, -1.0),    {1e308, 1e308, 1e-308}};
  for (const Centres& centres : odd) {
    for (const double wanted : {1000.0, 0.0, -1.0, kNan, kInf, -kInf}) {
      for (const std::size_t place : {std::size_t{0}, centres.size() - 1, centres.size()}) {
        EXPECT_EQ(spacedCrossover(centres, place, wanted).size(), centres.size());
      }
    }
  }
}

}  // namespace
