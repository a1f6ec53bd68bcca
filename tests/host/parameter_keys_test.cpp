#include "host/parameter_keys.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using Pairs = std::vector<std::pair<std::string, std::int32_t>>;

Pairs pairsOf(const ParameterKeys& keys) {
  Pairs pairs;
  for (const auto& entry : keys) pairs.emplace_back(entry.name, entry.number);
  return pairs;
}

TEST(ParameterKeys, SplitTheEnumeration) {
  const struct {
    const char* text;
    Pairs pairs;
  } cases[] = {
      {"", {}},
      {"kA", {{"kA", 0}}},
      {"kA=0,kB, kC,\n\tkD", {{"kA", 0}, {"kB", 1}, {"kC", 2}, {"kD", 3}}},
      {"kA,kB = 500 ,kC", {{"kA", 0}, {"kB", 500}, {"kC", 501}}},
      {"kA=7,kB=3,kC", {{"kA", 7}, {"kB", 3}, {"kC", 4}}},
      {"kA=-2,kB,kC,kD", {{"kA", -2}, {"kB", -1}, {"kC", 0}, {"kD", 1}}},
      {",kA,, ,kB,", {{"kA", 0}, {"kB", 1}}},
      {"kA=x,kB=,kC=5y,=9,kD", {{"kA", 0}, {"kB", 1}, {"kC", 2}, {"kD", 3}}},
      {"kA=99999999999,kB=2147483647,kC", {{"kA", 0}, {"kB", 2147483647}}},
      {"kA=1=2,k B", {{"kA", 0}, {"kB", 1}}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    const ParameterKeys keys(c.text);
    EXPECT_EQ(pairsOf(keys), c.pairs);
    ASSERT_EQ(keys.size(), c.pairs.size());
    for (std::size_t i = 0; i < c.pairs.size(); ++i) {
      EXPECT_EQ(keys[i].name, c.pairs[i].first);
      EXPECT_EQ(keys.find(c.pairs[i].first), c.pairs[i].second);
      EXPECT_EQ(keys.name(c.pairs[i].second), c.pairs[i].first);
    }
  }
}

TEST(ParameterKeys, FindOnlyExactNamesAndNumbers) {
  const ParameterKeys keys("kGain=0,kGainB,kB1State=410,kAgain=0,kGain=8");
  const struct {
    const char* name;
    std::int32_t number;
  } cases[] = {{"kGain", 0}, {"kGainB", 1}, {"kgain", -1}, {"kGai", -1}, {"", -1}, {"kZ", -1}};
  for (const auto& c : cases) EXPECT_EQ(keys.find(c.name), c.number) << c.name;
  EXPECT_EQ(keys.name(0), "kGain") << "the first of two";
  for (const std::int32_t absent : {-1, 2, 409, 411}) EXPECT_EQ(keys.name(absent), "") << absent;
}

}  // namespace
