#include "dynamics/band_layout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "dynamics/solo_weights.h"
#include "tests/support/data_rows.h"

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
    if (list != &layout.off) text += '/';
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
  std::erase(plain, '/');
  EXPECT_EQ(order, plain);
  EXPECT_EQ(listed, plain);
  EXPECT_EQ(layout.bandOrderValue(), packed(plain));
  const std::size_t begin = lists.find('/') + 1;
  const std::string xover = lists.substr(begin, lists.find('/', begin) - begin);
  for (int band = 0; band < 8; ++band) {
    const auto place = xover.find(std::to_string(band));
    EXPECT_EQ(layout.crossoverIndex(band),
              place == std::string::npos ? -1 : static_cast<int>(place));
  }
}

TEST(BandLayoutTest, TakesAnOrderOrRefusesItOrMakesTheBestOfIt) {
  runRows(TEST_DATA "/layouts.txt", [](const DataRow& row) {
    BandLayout layout;
    for (std::size_t band = 0; band < 8; ++band) {
      layout.state[band] = row[0][band] != '-';
      layout.isXover[band] = row[0][band] != 'd';
      layout.frequency[band] = 100.0 * static_cast<double>(band + 1);
    }
    const double order = row[1].size() == 7 ? packed(row[1]) : std::stod(row[1]);
    const bool taken = layout.applyBandOrder(order);
    const std::string lists = listsOf(layout);
    expectConsistent(layout);
    EXPECT_TRUE(taken || lists == "/0//1234567") << "left as it was";
    layout.arrangeBands(order);
    expectConsistent(layout);
    const std::string arranged = listsOf(layout);
    layout.frequency[1] = layout.frequency[0];
    EXPECT_FALSE(row[0].starts_with("xx") && layout.applyBandOrder(packed("0123456")));
    return (taken ? lists : "refused") + ", " + arranged;
  });
}

TEST(BandLayoutTest, MovesBandsByFrequency) {
  BandLayout layout;
  runRows(TEST_DATA "/layout_moves.txt", [&layout](const DataRow& row) {
    const int band = std::stoi(row[0]);
    const int list = std::stoi(row[1]);
    layout.moveBand(band, list, std::stod(row[2]));
    expectConsistent(layout);
    const auto index = static_cast<std::size_t>(band);
    if (band < 0 || band > 7) return listsOf(layout) + ", 0";
    if (list >= 0 && list <= 3) {
      EXPECT_EQ(layout.state[index], list != kOffList) << row[0];
      EXPECT_EQ(layout.isXover[index], list == kXoverList) << row[0];
    }
    return listsOf(layout) + ", " + std::to_string(std::lround(layout.frequency[index]));
  });
}

TEST(SoloWeightsTest, WeighTheBandsAsSoloListenAndPassbandAsk) {
  runRows(TEST_DATA "/solos.txt", [](const DataRow& row) {
    std::vector<SoloBand> bands;
    std::istringstream words(row[1]);
    for (std::string word; words >> word;) bands.push_back({word[0] - '0', word.size() > 1});
    const std::string& flags = row[3];
    const ListenState listening{flags.back() - '0', std::stoi(row[2]), flags[0] == 'd',
                                flags[0] == 'p'};
    std::string text;
    const auto add = [&text](double weight) { text += std::to_string(std::lround(weight)); };
    if (row[4] == "eq") {
      const auto [band, rest] = dynamicEqWeights(bands[0], listening);
      add(band), add(rest);
      return text;
    }
    const auto weights = crossoverWeights(bands, listening);
    for (std::size_t i = 0; i < bands.size(); ++i) add(weights[i]);
    for (std::size_t i = bands.size(); i < 8; ++i) EXPECT_EQ(weights[i], 1.0) << row[0];
    return text;
  });
}

}  // namespace
