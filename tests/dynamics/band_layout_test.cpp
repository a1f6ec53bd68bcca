#include "dynamics/band_layout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

namespace {

/// The first seven bands of an order, packed.
double packed(const std::string& order) {
  double value = 0.0;
  for (std::size_t i = 7; i-- > 0;) value = value * 8.0 + (order[i] - '0');
  return value / 2097152.0;
}

/// Pre, crossover, post and off.
std::string listsOf(BandLayout& layout) {
  std::string text;
  for (const BandLayout::List* list : {&layout.pre, &layout.xover, &layout.post, &layout.off}) {
    for (const int band : layout.copyOf(*list)) text += std::to_string(band);
    if (list != &layout.off) text += '|';
  }
  return text;
}

/// What goes with the lists is as they are.
void expectConsistent(BandLayout& layout) {
  const std::string lists = listsOf(layout);
  std::string order;
  std::string listed;
  for (const int band : layout.order) order += std::to_string(band);
  for (const int band : layout.orderList) listed += std::to_string(band);
  std::string plain = lists;
  std::erase(plain, '|');
  EXPECT_EQ(order, plain);
  EXPECT_EQ(listed, plain);
  EXPECT_EQ(layout.bandOrderValue(), packed(plain));
  const std::size_t begin = lists.find('|') + 1;
  const std::string xover = lists.substr(begin, lists.find('|', begin) - begin);
  for (int band = 0; band < 8; ++band) {
    const auto place = xover.find(std::to_string(band));
    EXPECT_EQ(layout.crossoverIndex(band),
              place == std::string::npos ? -1 : static_cast<int>(place));
  }
}

TEST(BandLayoutTest, TakesAnOrderOrRefusesItOrMakesTheBestOfIt) {
  const struct {
    std::string kinds;  // per band: '-' off, 'x' crossover, 'd' dynamic EQ
    double order;
    std::string taken, arranged;  // as `listsOf`; none: refused
  } rows[] = {{"dxxd----", packed("0123456"), "0|12|3|4567", "0|12|3|4567"},
              {"ddxd----", packed("1023765"), "10|2|3|7654", "10|2|3|7654"},
              {"xxxxxxxx", packed("0123456"), "|01234567||", "|01234567||"},
              {"dddddddd", packed("7654321"), "76543210|||", "76543210|||"},
              {"--------", packed("0123456"), "|||01234567", "|||01234567"},
              {"--------", static_cast<double>(0.836735F), "|||01234567", "|||01234567"},
              // Crossover bands that do not rise, or around a filter; an active band behind Off.
              {"xx------", packed("1023456"), "", "|01||234567"},
              {"xdx-----", packed("0123456"), "", "|02|1|34567"},
              {"dxdxd---", packed("4321056"), "", "4|13|20|567"},
              {"x-x-----", packed("0123456"), "", "|02||134567"},
              {"-d-d-x--", packed("0531246"), "", "|5|31|02467"},
              // Band 0 twice; all bands 0, as 1 reads; outside the range: the order of the numbers.
              {"xd------", packed("0023456"), "", "|0|1|234567"},
              {"dx------", 1.0, "", "0|1||234567"},
              {"x-------", -0.5, "", "|0||1234567"},
              {"x-------", std::nan(""), "", "|0||1234567"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(testing::Message() << row.kinds << " " << row.order);
    BandLayout layout;
    for (std::size_t band = 0; band < 8; ++band) {
      layout.state[band] = row.kinds[band] != '-';
      layout.isXover[band] = row.kinds[band] != 'd';
      layout.frequency[band] = 100.0 * static_cast<double>(band + 1);
    }
    EXPECT_EQ(layout.applyBandOrder(row.order), !row.taken.empty());
    EXPECT_EQ(listsOf(layout), row.taken.empty() ? "|0||1234567" : row.taken);
    expectConsistent(layout);
    layout.arrangeBands(row.order);
    EXPECT_EQ(listsOf(layout), row.arranged);
    expectConsistent(layout);
    if (row.kinds.substr(0, 2) != "xx") continue;
    layout.frequency[1] = layout.frequency[0];
    EXPECT_FALSE(layout.applyBandOrder(packed("0123456"))) << "at one frequency";
  }
}

TEST(BandLayoutTest, MovesBandsByFrequency) {
  BandLayout layout;
  const struct {
    int band, list;
    double frequency;
    std::string lists;
    double kept;                                           // Hz, afterwards
  } rows[] = {{3, kXoverList, 500, "|30||124567", 500},    // below band 0 at 1000
              {5, kXoverList, 1000, "|350||12467", 1000},  // beside it: in front
              {6, kXoverList, 8000, "|3506||1247", 8000},
              {6, kXoverList, 10, "|3506||1247", 8000},  // there already: nothing
              {6, kPostList, 0, "|350|6|1247", 8000},
              {3, kPreList, 0, "3|50|6|1247", 500},
              {0, kOffList, 0, "3|5|6|01247", 1000},
              {1, kPostList, 9000, "3|5|61|0247", 9000},
              {2, kPreList, 400, "23|5|61|047", 400},
              {2, kOffList, 2000, "3|5|61|0472", 2000},
              {-1, kPreList, 0, "3|5|61|0472", 0},
              {8, kPreList, 0, "3|5|61|0472", 0},
              {1, 4, 0, "3|5|61|0472", 9000},
              {1, -1, 0, "3|5|61|0472", 9000}};
  for (const auto& row : rows) {
    layout.moveBand(row.band, row.list, row.frequency);
    EXPECT_EQ(listsOf(layout), row.lists);
    expectConsistent(layout);
    if (row.band < 0 || row.band > 7) continue;
    const auto band = static_cast<std::size_t>(row.band);
    EXPECT_EQ(layout.frequency[band], row.kept) << row.lists;
    if (row.list < 0 || row.list > 3) continue;
    EXPECT_EQ(layout.state[band], row.list != kOffList) << row.lists;
    EXPECT_EQ(layout.isXover[band], row.list == kXoverList) << row.lists;
  }
}

}  // namespace
