#include "host/plug_base.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/host/test_effect.h"

namespace {

TEST(PlugBase, StartsWithTheDefaultsEverywhere) {
  const float defaults[] = {0.625F, 1, 18.0F / 91.0F, 0, 0, 18.0F / 91.0F, 0};
  const std::int32_t groups[] = {0, 1, 1, 2, 2, 2, 0};
  TestEffect effect;
  for (std::int32_t i = 0; i < kNumIds; ++i) {
    const auto place = static_cast<std::size_t>(i);
    EXPECT_FLOAT_EQ(effect.getParameter(i), defaults[i]);
    EXPECT_EQ(effect.getPlainValue(i), kTestTable.at(place).value);
    EXPECT_EQ(effect.parameterInfo(i).group, groups[i]);
    for (const float& value : {effect.programs[0].values[place], effect.programs[1].values[place],
                               effect.banks[0].values[place], effect.banks[7].values[place]}) {
      EXPECT_EQ(value, effect.getParameter(i));
    }
  }
  EXPECT_EQ(effect.getBandNames(), (std::vector<std::string>{"Band 1", "Band 2"}));
}

TEST(PlugBase, HostsCountSteps) {
  const struct {
    std::int32_t index, count, size;
  } cases[] = {{kGain, 0, 1},   {kB1State, 1, 1}, {kB1Slope, 16, 6},
               {kB2Mode, 9, 1}, {kB2Wide, 8, 12}, {kABBank, 8, 1}};
  TestEffect effect;
  for (const auto& c : cases) {
    EXPECT_EQ(effect.getStepCount(c.index), c.count) << c.index;
    EXPECT_EQ(effect.getStepSize(c.index), c.size) << c.index;
    if (c.count > 1) continue;
    for (const bool toHost : {true, false}) {
      EXPECT_EQ(effect.hostStepValue(c.index, 0.3F, toHost), 0.3F) << c.index;
    }
  }
  for (const std::int32_t none : {-1, +kNumIds}) {
    EXPECT_EQ(effect.plainToNormalised(none, 1.0F) + effect.normalisedToPlain(none, 1.0F), 0.0F);
    EXPECT_EQ(effect.hostStepValue(none, 0.3F, true), 0.3F);
    EXPECT_EQ(effect.getStepCount(none), 0);
    EXPECT_EQ(effect.getStepSize(none), 1);
    char text[64] = "x";
    effect.formatParameterValue(none, 0.1F, text, false);
    EXPECT_STREQ(text, none < 0 ? "x" : "");
  }
  TestEffect deaf(nullptr);
  deaf.setParameterWithEdit(kGain, 12.0F);
  EXPECT_EQ(deaf.getPlainValue(kGain), 12.0F);
  // The host counts mode -1..7 in eighths, the engine in ninths.
  EXPECT_FLOAT_EQ(effect.hostStepValue(kB2Mode, 3.9F / 8.0F, false), 3.0F / 9.0F);
  for (const std::int32_t index : {+kB1Slope, +kB2Mode, +kB2Slope, +kABBank}) {
    const ParameterRecord& record = effect.parameterInfo(index);
    for (float plain = record.min; plain <= record.max;
         plain += static_cast<float>(effect.getStepSize(index))) {
      const float normalised = effect.plainToNormalised(index, plain);
      const float steps = effect.hostStepValue(index, normalised, true);
      ASSERT_FLOAT_EQ(steps, (plain - record.min) / (record.max - record.min)) << plain;
      ASSERT_EQ(effect.hostStepValue(index, steps, false), normalised) << index << ": " << plain;
    }
  }
}

}  // namespace
