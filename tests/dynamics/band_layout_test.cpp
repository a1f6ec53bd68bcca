#include "dynamics/band_layout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <initializer_list>
#include <string>

namespace {

using List = BandLayout::List;

double packed(std::initializer_list<int> sevenBands) {
  double value = 0.0;
  double place = 1.0;
  for (const int band : sevenBands) {
    value += band * place;
    place *= 8.0;
  }
  return value / 2097152.0;
}

/// One letter per band: '-' off, 'x' crossover, 'd' dynamic EQ.
void setKinds(BandLayout& layout, const std::string& kinds) {
  for (std::size_t band = 0; band < 8; ++band) {
    layout.state[band] = kinds[band] != '-';
    layout.isXover[band] = kinds[band] != 'd';
    layout.frequency[band] = 100.0 * static_cast<double>(band + 1);
  }
}

TEST(BandLayoutTest, SortsAnOrderIntoListsOrRefusesIt) {
  const struct {
    const char* kinds;
    double order;
    bool taken;
    List pre, xover, post, off;
  } cases[] = {
      {"dxxd----", packed({0, 1, 2, 3, 4, 5, 6}), true, {0}, {1, 2}, {3}, {4, 5, 6, 7}},
      {"ddxd----", packed({1, 0, 2, 3, 7, 6, 5}), true, {1, 0}, {2}, {3}, {7, 6, 5, 4}},
      {"xxxxxxxx", packed({0, 1, 2, 3, 4, 5, 6}), true, {}, {0, 1, 2, 3, 4, 5, 6, 7}, {}, {}},
      {"dddddddd", packed({7, 6, 5, 4, 3, 2, 1}), true, {7, 6, 5, 4, 3, 2, 1, 0}, {}, {}, {}},
      {"--------", packed({0, 1, 2, 3, 4, 5, 6}), true, {}, {}, {}, {0, 1, 2, 3, 4, 5, 6, 7}},
      // Crossover bands that do not rise, a crossover band after Post, an active band after Off.
      {"xx------", packed({1, 0, 2, 3, 4, 5, 6}), false, {}, {}, {}, {}},
      {"xdx-----", packed({0, 1, 2, 3, 4, 5, 6}), false, {}, {}, {}, {}},
      {"x-x-----", packed({0, 1, 2, 3, 4, 5, 6}), false, {}, {}, {}, {}},
      // Band 0 twice; all bands 0, as the value 1 reads; outside the range.
      {"xx------", packed({0, 0, 2, 3, 4, 5, 6}), false, {}, {}, {}, {}},
      {"x-------", 1.0, false, {}, {}, {}, {}},
      {"x-------", -0.5, false, {}, {}, {}, {}},
      {"x-------", std::nan(""), false, {}, {}, {}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << c.kinds << " " << c.order);
    BandLayout layout;
    setKinds(layout, c.kinds);
    ASSERT_EQ(layout.applyBandOrder(c.order), c.taken);
    EXPECT_EQ(layout.pre, c.taken ? c.pre : List{});
    EXPECT_EQ(layout.xover, c.taken ? c.xover : List{0});
    EXPECT_EQ(layout.post, c.taken ? c.post : List{});
    EXPECT_EQ(layout.off, c.taken ? c.off : (List{1, 2, 3, 4, 5, 6, 7}));
    if (c.taken) {
      EXPECT_EQ(layout.bandOrderValue(), c.order);
    }
  }
}

TEST(BandLayoutTest, BandsAtOneFrequencyAreRefused) {
  BandLayout layout;
  setKinds(layout, "xx------");
  layout.frequency[1] = layout.frequency[0];
  EXPECT_FALSE(layout.applyBandOrder(packed({0, 1, 2, 3, 4, 5, 6})));
}

TEST(BandLayoutTest, TheDefaultOrderValueIsTheNaturalOrder) {
  BandLayout layout;
  EXPECT_TRUE(layout.applyBandOrder(static_cast<double>(0.836735F)));
  EXPECT_EQ(layout.orderList, (List{0, 1, 2, 3, 4, 5, 6, 7}));
}

TEST(BandLayoutTest, MovesBandsByFrequency) {
  BandLayout layout;
  layout.moveBand(3, kXoverList, 500.0);   // below band 0 at 1000
  layout.moveBand(5, kXoverList, 1000.0);  // beside it: in front
  layout.moveBand(6, kXoverList, 8000.0);
  EXPECT_EQ(layout.xover, (List{3, 5, 0, 6}));
  EXPECT_EQ(layout.off, (List{1, 2, 4, 7}));
  EXPECT_EQ(layout.crossoverIndex(0), 2);
  EXPECT_EQ(layout.crossoverIndex(1), -1);

  layout.moveBand(6, kXoverList, 10.0);  // there already: nothing, not even its frequency
  EXPECT_EQ(layout.frequency[6], 8000.0);

  layout.moveBand(6, kPostList, 0.0);
  layout.moveBand(3, kPreList, 0.0);
  layout.moveBand(0, kOffList, 0.0);
  EXPECT_EQ(layout.pre, List{3});
  EXPECT_EQ(layout.xover, List{5});
  EXPECT_EQ(layout.post, List{6});
  EXPECT_EQ(layout.off, (List{0, 1, 2, 4, 7}));
  EXPECT_EQ(layout.orderList, (List{3, 5, 6, 0, 1, 2, 4, 7}));
  EXPECT_TRUE(layout.state[6]);
  EXPECT_FALSE(layout.isXover[6]);
  EXPECT_FALSE(layout.state[0]);

  for (const int bad : {-1, 8}) layout.moveBand(bad, kPreList, 0.0);
  layout.moveBand(1, 4, 0.0);
  EXPECT_EQ(layout.orderList.size(), 8U);
}

}  // namespace
