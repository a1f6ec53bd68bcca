#include "apps/settings.h"

#include <gtest/gtest.h>

#include "apps/failure.h"
#include "core/parameter_ids.h"

namespace {

TEST(Settings, readValuesAndBringThemIntoRange) {
  const struct {
    const char* text;
    bool isNormalised;
    int parameter;
    float value;
    bool isClamped;
  } cases[] = {
      {"kIpTrim=-6.5", false, kIpTrim, -6.5F, false},
      {" kIpTrim = +3 ", false, kIpTrim, 3.0F, false},
      {"kIpTrim=1e1", false, kIpTrim, 10.0F, false},
      {"kIpTrim=24.1", false, kIpTrim, 24.0F, true},
      {"kIpTrim=-1e300", false, kIpTrim, -24.0F, true},  // beyond a 32-bit number
      {"kB8Frequency=440", false, bandParameterId(7, kB1Frequency), 440.0F, false},
      {"kABBank=0.25", true, kABBank, 0.25F, false},
      {"kABBank=7", true, kABBank, 1.0F, true},
      {"kABBank=-0.1", true, kABBank, 0.0F, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    std::vector<std::string> warnings;
    const Setting setting = parseSetting(c.text, c.isNormalised, warnings);
    EXPECT_EQ(setting.parameter, c.parameter);
    EXPECT_EQ(setting.isNormalised, c.isNormalised);
    EXPECT_EQ(setting.value, c.value);
    EXPECT_EQ(warnings.size(), c.isClamped ? 1U : 0U);
  }
}

TEST(Settings, refuseWhatIsNoSetting) {
  for (const char* text :
       {"", "=", "=3", "kIpTrim", "kIpTrim=", "kIpTrim=abc", "kIpTrim=nan", "kIpTrim=inf",
        "kIpTrim=-inf", "kIpTrim=1e999", "kIpTrim=3dB", "kIpTrim=3 4", "kIpTrim=0x10",
        "kIpTrim=1,5", "kIpTrim=+-1", "kNumParams=1", "kiptrim=1", "kB9Threshold=0"}) {
    std::vector<std::string> warnings;
    EXPECT_THROW(static_cast<void>(parseSetting(text, false, warnings)), WrongArguments) << text;
  }
}

TEST(Settings, nearestIdentifiersFindTheSlipOfTheHand) {
  const struct {
    const char* text;
    const char* nearest;
  } cases[] = {{"kB3Treshold", "kB3Threshold"}, {"kb5attack", "kB5Attack"}, {"opTrim", "kOpTrim"},
               {"kB1SCHFSlop", "kB1SCHFSlope"}, {"kWetDryy", "kWetDry"},    {"", "kB1Q"}};
  for (const auto& c : cases) {
    const auto names = nearestIdentifiers(c.text);
    ASSERT_EQ(names.size(), 3U);
    EXPECT_EQ(names.front(), c.nearest);
  }
}

}  // namespace
