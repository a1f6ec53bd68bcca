#include "host/parameter_keys.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace {

TEST(ParameterKeys, SplitTheEnumeration) {
  for (const auto& [text, expected] : {std::pair{"", ""},
                                       {"kA=0,kB, kC,\n\tkD", "kA0 kB1 kC2 kD3 "},
                                       {"kA,kB = 500 ,kC", "kA0 kB500 kC501 "},
                                       {"kA=7,kB=3,kC", "kA7 kB3 kC4 "},
                                       {"kA=-2,kB", "kA-2 kB-1 "},
                                       {",kA,, ,kB,", "kA0 kB1 "},
                                       {"kA=x,kB=,kC=5y,=9,k D", "kA0 kB1 kC2 kD3 "},
                                       {"kA=99999999999,kB=2147483647,kC", "kA0 kB2147483647 "}}) {
    std::string pairs;
    for (const auto& entry : ParameterKeys(text)) {
      pairs += entry.name + std::to_string(entry.number) + " ";
    }
    EXPECT_EQ(pairs, expected);
  }
}

TEST(ParameterKeys, FindOnlyExactNamesAndNumbers) {
  const ParameterKeys keys("kGain=0,kGainB,kB1State=410,kAgain=0,kGain=8");
  for (const auto& [name, number] : {std::pair{"kGain", 0},
                                     {"kGainB", 1},
                                     {"kAgain", 0},
                                     {"kgain", -1},
                                     {"kGai", -1},
                                     {"", -1},
                                     {"kZ", -1}}) {
    EXPECT_EQ(keys.find(name), number) << name;
  }
  EXPECT_EQ(keys.name(0), "kGain") << "the first of two";
  EXPECT_EQ(keys.name(410), "kB1State");
  for (const std::int32_t absent : {-1, 2, 409, 411}) EXPECT_EQ(keys.name(absent), "") << absent;
}

}  // namespace
