#include "dynamics/solo_weights.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

TEST(SoloWeightsTest, ADynamicEqBandIsHeardAloneBesideTheRestOrNotAtAll) {
  const struct {
    const char* what;
    bool solo;
    int scListen;
    bool listen, passband;
    double band, rest;
  } cases[] = {{"nothing asked", false, -1, false, false, 1, 1},
               {"passband without solo", false, -1, false, true, 1, 1},
               {"soloed", true, -1, false, false, 1, 0},
               {"what passes beside it", true, -1, false, true, 0, 1},
               {"the difference keeps the rest", true, -1, true, false, 1, 1},
               {"its sidechain", false, 2, false, false, 1, 0},
               {"its sidechain, soloed as well", true, 2, false, true, 1, 0},
               {"its sidechain in the difference", false, 2, true, false, 1, 1},
               {"another band's sidechain", false, 5, false, false, 1, 1},
               {"another's, this one soloed", true, 5, false, true, 1, 0}};
  for (const auto& c : cases) {
    const auto weights = dynamicEqWeights({2, c.solo}, {c.solo, c.scListen, c.listen, c.passband});
    EXPECT_EQ(weights.band, c.band) << c.what;
    EXPECT_EQ(weights.rest, c.rest) << c.what;
  }
}

TEST(SoloWeightsTest, CrossoverBandsAreWeighedWhenAllSolosAreAmongThem) {
  const struct {
    const char* what;
    std::vector<SoloBand> bands;
    ListenState listening;
    std::vector<double> weights;
  } cases[] = {
      {"nothing asked", {{4, false}, {1, false}}, {0, -1, false, true}, {1, 1}},
      {"one soloed", {{4, false}, {1, true}, {0, false}}, {1, -1, false, false}, {0, 1, 0}},
      {"two soloed", {{4, true}, {1, true}, {0, false}}, {2, -1, false, false}, {1, 1, 0}},
      {"beside them", {{4, true}, {1, true}, {0, false}}, {2, -1, false, true}, {0, 0, 1}},
      {"a solo elsewhere too", {{4, true}, {1, false}}, {2, -1, false, false}, {1, 1}},
      {"a solo elsewhere alone", {{4, false}, {1, false}}, {1, -1, false, true}, {1, 1}},
      {"a sidechain here", {{4, true}, {1, false}}, {1, 1, false, true}, {0, 1}},
      {"a sidechain elsewhere", {{4, true}, {1, false}}, {1, 7, false, false}, {1, 1}}};
  for (const auto& c : cases) {
    const auto weights = crossoverWeights(c.bands, c.listening);
    for (std::size_t i = 0; i < 8; ++i) {
      EXPECT_EQ(weights[i], i < c.weights.size() ? c.weights[i] : 1.0) << c.what << ", " << i;
    }
  }
}

}  // namespace
