// Bands sorted, and bands that keep their distances in the crossover.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

#include "editing/band_actions.h"
#include "editing/crossover_spacing.h"
#include "tests/core/plug_rig.h"

namespace {

using Centres = std::vector<double>;

/// A chain as a user would make one, rows and flags at random.
void buildChain(Plug& plug, std::mt19937& random) {
  std::uniform_real_distribution<float> anywhere;
  plug.deleteBand(0);
  const unsigned bands = 1 + random() % 8;
  for (unsigned i = 0; i < bands; ++i) {
    plug.addBand(static_cast<int>(random() % 3), 30.0 * std::exp2(9.0F * anywhere(random)));
  }
  if (random() % 2 == 0) plug.deleteBand(static_cast<int>(random() % bands));
  for (int id = kB1State; id < kBandOrder; ++id) {
    const int row = bandOneIdOf(id);
    const bool isChain = row == kB1State || row == kB1Type || row == kB1Frequency;
    if (!isChain && row != kB1Solo) plug.setParameter(id, anywhere(random));
    plug.setLocked(id, random() % 6 == 0);
    plug.setLinked(id, random() % 6 == 0);
  }
  if (random() % 3 == 0) plug.setParameter(kSCListen, anywhere(random));
  if (random() % 4 == 0) plug.setParameter(bandParameterId(1, kB1Solo), 1.0F);
  plug.setLocked(kBandOrder, random() % 4 == 0);
  plug.setLocked(kSCListen, false);
  plug.clearHistory();
  plug.resume();
}

/// A parameter with its flags; a band that it names by the place in `order` that it comes to.
struct Row {
  Row(Plug& plug, int id, const std::vector<int>& order = {})
      : value(plug.getParameter(id)), isLocked(plug.isLocked(id)), isLinked(plug.isLinked(id)) {
    const bool isName = id == kSCListen || (isBandParameter(id) && bandOneIdOf(id) == kB1SCSBand);
    if (isName) value = plug.getPlainValue(id);
    const auto found = std::ranges::find(order, static_cast<int>(value));
    if (isName && found != order.end()) value = static_cast<float>(found - order.begin());
  }
  bool operator==(const Row&) const = default;
  float value;
  bool isLocked;
  bool isLinked;
};

TEST(BandActions, SortingNumbersTheChainAnewAndLeavesTheSound) {
  int sorted = 0;
  for (unsigned seed = 0; seed < 24; ++seed) {
    SCOPED_TRACE(seed);
    PlugRig rig;
    Plug& plug = rig.plug;
    BandLayout& layout = plug.getEngine().layout;
    std::mt19937 random(seed);
    buildChain(plug, random);
    const auto input = noise<double>(6000);
    const auto heard = render(plug, input, 500);
    const std::vector<float> before = normalisedValues(plug);
    const std::vector<int> order(layout.order.begin(), layout.order.end());
    std::vector<Row> expected;
    expected.reserve(kBandOrder);
    for (int id = 0; id < kBandOrder; ++id) {
      const int from = isBandParameter(id) ? order.at(static_cast<std::size_t>(bandOf(id))) : 0;
      const int source = isBandParameter(id) ? bandParameterId(from, bandOneIdOf(id)) : id;
      expected.emplace_back(plug, source, order);
    }
    const bool isOrderLocked = plug.isLocked(kBandOrder);
    const bool isInOrder = std::ranges::is_sorted(order);
    ASSERT_EQ(BandActions(plug).sortBands(), !isInOrder);
    if (isInOrder) continue;
    ++sorted;
    EXPECT_FALSE(BandActions(plug).sortBands()) << "once is enough";
    EXPECT_TRUE(std::ranges::is_sorted(layout.order));
    for (int id = 0; id < kBandOrder; ++id) {
      EXPECT_TRUE(Row(plug, id) == expected[static_cast<std::size_t>(id)]) << id;
    }
    EXPECT_EQ(plug.isLocked(kBandOrder), isOrderLocked);
    plug.resume();
    EXPECT_LT(deviation(heard, render(plug, input, 500), 0), 1e-9);
    plug.setLockWords(Plug::FlagWords{});  // what is locked would stay as it is
    plug.undo();
    EXPECT_EQ(normalisedValues(plug), before);
    EXPECT_FALSE(plug.canUndo());
  }
  EXPECT_GT(sorted, 12);
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
      const double lowest = nearestInUse(before, i, -1, 10.0) * 1.5;
      const double upper = nearestInUse(before, i, 1, 30000.0);
      if (lowest > f[i]) {
        f[i] = lowest;
        changed = true;
      } else if (!changed && f[i] * 1.5 > upper) {
        f[i] = upper / 1.5;
        changed = true;
      }
    }
  }
  return f;
}

TEST(CrossoverSpacing, FollowsItsRuleFromAnywhere) {
  std::mt19937 random(20);
  const auto share = [&random] { return static_cast<double>(random()) / 4294967296.0; };
  const auto anywhere = [&share] { return 10.0 * std::pow(2000.0, share()); };
  for (int round = 0; round < 10000; ++round) {
    Centres centres(random() % 9);
    const bool crowded = share() < 0.3;
    for (double& centre : centres) centre = crowded ? 1000.0 + 100.0 * share() : anywhere();
    if (share() < 0.9) std::ranges::sort(centres);
    for (double& centre : centres) centre = share() < 0.03 ? 0.0 : centre;
    const std::size_t place = random() % (centres.size() + 1);  // the last one is none
    const double wanted = anywhere();
    const Centres spaced = spacedCrossover(centres, place, wanted);
    if (place < centres.size()) centres[place] = wanted;
    ASSERT_EQ(spaced, literally(centres)) << round;
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
