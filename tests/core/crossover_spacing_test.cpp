#include "core/crossover_spacing.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/support/known_numbers.h"

namespace {

using Centres = std::vector<double>;

// The numbers were compared with the rule, taken word by word, when they were recorded.
TEST(CrossoverSpacing, FollowsItsRuleFromAnywhere) {
  KnownNumbers known(TEST_DATA "/spacing.txt");
  std::mt19937 random(20);
  const auto share = [&random] { return static_cast<double>(random()) / 4294967296.0; };
  const auto anywhere = [&share] { return 10.0 * std::pow(2000.0, share()); };
  for (int round = 0; round < 600; ++round) {
    Centres centres(random() % 9);
    const bool crowded = share() < 0.3;
    for (double& centre : centres) centre = crowded ? 1000.0 + 100.0 * share() : anywhere();
    if (share() < 0.9) std::ranges::sort(centres);
    for (double& centre : centres) centre = share() < 0.03 ? 0.0 : centre;
    const std::size_t place = random() % (centres.size() + 1);  // the last one is none
    known.expect(std::to_string(round), spacedCrossover(centres, place, anywhere()));
  }
}

TEST(CrossoverSpacing, ComesToAnEndWhateverItIsGiven) {
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
