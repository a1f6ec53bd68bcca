#include "dynamics/solo_weights.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/data_rows.h"

namespace {

TEST(SoloWeightsTest, WeighTheBandsAsSoloListenAndPassbandAsk) {
  runScript(TEST_DATA "/solos.txt", [](const DataRow& row) {
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
