#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <vector>

#include "core/band_actions.h"
#include "core/group_edit.h"
#include "tests/core/plug_rig.h"

namespace {

using Order = std::array<std::int32_t, kNumBands>;

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

/// All that an effect tells of its parameters.
struct Rows {
  explicit Rows(Plug& plug) : values(normalisedValues(plug)) {
    locks.setWords(plug.getLockWords());
    links.setWords(plug.getLinkWords());
    for (int id = 0; id < kNumParams; ++id) plains.push_back(plug.getPlainValue(id));
  }
  std::vector<float> values;
  std::vector<float> plains;
  Plug::Flags locks;
  Plug::Flags links;
};

/// Each row of the bands from where its band was, with the names of bands in it.
void expectMoved(const Rows& before, const Rows& after, const Order& order) {
  const auto renamed = [&order](float band) {
    const auto* const found = std::ranges::find(order, static_cast<int>(band));
    return band < 0.0F ? band : static_cast<float>(found - order.begin());
  };
  for (int id = 0; id < kBandOrder; ++id) {
    SCOPED_TRACE(parameterKeyTable().name(id));
    const int from =
        isBandParameter(id)
            ? bandParameterId(order.at(static_cast<std::size_t>(bandOf(id))), bandOneIdOf(id))
            : id;
    const auto to = static_cast<std::size_t>(id);
    const auto source = static_cast<std::size_t>(from);
    EXPECT_EQ(after.locks.get(id), before.locks.get(from));
    EXPECT_EQ(after.links.get(id), before.links.get(from));
    if (isBandParameter(id) && bandOneIdOf(id) == kB1SCSBand) {
      EXPECT_EQ(after.plains[to], renamed(before.plains[source]));
    } else {
      EXPECT_EQ(after.values[to], before.values[source]);
    }
  }
  EXPECT_EQ(after.plains[kSCListen], renamed(before.plains[kSCListen]));
  EXPECT_EQ(after.locks.get(kBandOrder), before.locks.get(kBandOrder));
}

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
    const Rows before(plug);
    const Order order = layout.order;
    const std::array sizes = {layout.pre.size(), layout.xover.size(), layout.post.size()};
    const bool inOrder = std::ranges::is_sorted(order);
    ASSERT_EQ(BandActions(plug).sortBands(), !inOrder);
    if (inOrder) continue;
    ++sorted;
    EXPECT_FALSE(BandActions(plug).sortBands()) << "once is enough";
    EXPECT_TRUE(std::ranges::is_sorted(layout.order));
    EXPECT_EQ((std::array{layout.pre.size(), layout.xover.size(), layout.post.size()}), sizes);
    expectMoved(before, Rows(plug), order);
    plug.resume();
    EXPECT_LT(deviation(heard, render(plug, input, 500), 0), 1e-9);
    plug.setLockWords(Plug::FlagWords{});  // what is locked would stay as it is
    plug.undo();
    EXPECT_EQ(normalisedValues(plug), before.values);
    EXPECT_FALSE(plug.canUndo());
    EXPECT_EQ(layout.order, order);
  }
  EXPECT_GT(sorted, 12);
}

TEST(BandActions, AChainThatItsParametersContradictIsNotSorted) {
  PlugRig rig;
  rig.plug.addBand(kXoverList, 300.0);
  ASSERT_EQ(rig.plug.getEngine().layout.order[0], 1);
  rig.set({{"kB2Frequency", 5000}});  // as a host does: the order stays
  const std::vector<float> before = normalisedValues(rig.plug);
  EXPECT_FALSE(BandActions(rig.plug).sortBands());
  EXPECT_EQ(normalisedValues(rig.plug), before);
}

TEST(GroupEdit, TheTwoReleaseTimesOfABandAreEachOthers) {
  EXPECT_EQ(otherRelease(bandParameterId(6, kB1RelSlow)), bandParameterId(6, kB1RelFast));
  EXPECT_EQ(otherRelease(kB1RelFast), kB1RelSlow);
  for (const int id : {int{kB1Attack}, int{kIpTrim}, int{kABBank}, -1}) {
    EXPECT_EQ(otherRelease(id), -1);
  }
}

}  // namespace
