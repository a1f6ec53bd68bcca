#include "core/value_text.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <vector>

#include "core/parameter_ids.h"
#include "core/parameter_table.h"

namespace {

std::string text(int index, float plain, const ValueTextContext& context = {}, bool note = false) {
  return valueText(index, plain, kParameterTable[static_cast<std::size_t>(index)], context, note);
}

TEST(ValueTextTest, ShowsEachParameterInItsWords) {
  const struct {
    int index;
    std::vector<float> plains;
    const char* texts;
  } cases[] = {
      {kB1Type, {0, 1}, "XOVER|DYN EQ"},
      {kB1SubType, {0, 2, 7}, "BPF|BPF EE|FLAT"},
      {kB1Ratio, {0, 0.75F, 1, 0.9995F, -0.5F, -1}, "1.00:1|4.00:1|Inf:1|Inf:1|1:1.33|1:2.00"},
      {kB1RatioB, {0.5F, -1}, "2.00:1|1:2.00"},
      {kB1LR, {0}, "M/S"},
      {kB1SCLR, {1}, "L/R"},
      {kB1Position, {50.9F, 0, 100}, "BOTH|MID|SIDE"},
      {kB1SCPos, {99.9F}, "99%"},
      {kB1DryGain, {0, 100, 200}, "OFF|0.0dB|6.0dB"},
      {kB1Slope, {25}, "25dB/Oct"},
      {kB1Slope2, {25, 27}, "24dB/Oct|30dB/Oct"},
      {kB1Target, {0.9F, 50, 100, 33.7F}, "DYN|BOTH|TRAN|33%"},
      {kB1Crest, {0, 24, 6.25F}, "FAST|SLOW|6.2dB"},
      {kB1Shape, {0, 100, 99.6F}, "LOG|LIN|100%"},
      {kB1SCSrc, {0, 1, 2}, "WIDE|BAND|EXT"},
      {kB1SCSBand, {-1, 0, 7}, "NONE|BAND 1|BAND 8"},
      {kB1SCLink, {0, 50, 100}, "DUAL|50%|LINKED"},
      {kB1SCLFType, {0, 1}, "HPF|Shelf"},
      {kB1SCMFType, {0, 1}, "Peak|BPF"},
      {kB1SCHFType, {0, 1}, "LPF|Shelf"},
      {kWetDry, {0, 50, 100}, "DRY|50%|WET"},
      {kABBank, {0, 7}, "A|H"},
      {kOversample, {0, 1}, "OFF|ON"},
      {kOversampleOL, {2}, "ON HQ"},
      {kSCListen, {-1, 7}, "OFF|BAND 8"},
      {kLogBehaviour, {0, 1}, "Both|Expand"},
      {kExtendedRanges, {1, 2}, "48dB|96dB"},
      {kExtendedRatios, {0, 1}, "Normal|Extended"},
      {kB1Frequency, {1000, 1000.1F, 20000}, "1000Hz|1.0kHz|20.0kHz"},
      {kB1Threshold, {-12.5F}, "-12.5dB"},
      {kB1Knee, {33.5F}, "34%"},
      {kB1Q, {0.71F}, "0.71Q"},
      {kB1RelSlow, {999.994F, 999.996F}, "999.99ms|1000ms"},
      {kB1SCLFSlope, {96, 0}, "96dB/Oct|OFF"},
      {kB1Solo, {1}, "ON"},
      {kBypass, {0}, "OFF"},
      {kBandOrder, {0.836735F}, "0.84"},
  };
  for (const auto& c : cases) {
    std::string texts;
    for (const float plain : c.plains) texts += (texts.empty() ? "" : "|") + text(c.index, plain);
    EXPECT_EQ(texts, c.texts) << "parameter " << c.index;
  }
  EXPECT_EQ(text(bandParameterId(6, kB1Crest), 24), "SLOW") << "all bands follow band 1";
}

TEST(ValueTextTest, FollowsItsSurroundings) {
  ValueTextContext context;
  context.extendedRanges = 2;
  context.extendedRatios = true;
  EXPECT_EQ(text(kB1Ratio, 0.75F, context), "-2.00:1");
  EXPECT_EQ(text(kB1Ratio, 0.5F, context), "Inf:1");
  EXPECT_EQ(text(kB1RatioB, 0.75F, context), "4.00:1") << "never extended upward";
  EXPECT_EQ(text(kB1Ratio, -1, context), "1:Inf");
  EXPECT_EQ(text(kB1RatioB, -0.5F, context), "1:2.00");
  EXPECT_EQ(text(kB1Ceiling, 24, context), "96.0dB");
  context.ratioAbove = 0.1F;
  EXPECT_EQ(text(kB1Ceiling, 24, context), "-96.0dB");
  EXPECT_EQ(text(kB1Ceiling, 0, context), "0.0dB");
  EXPECT_EQ(text(kB1Floor, 6, context), "24.0dB");
  context.ratioBelow = 1;
  EXPECT_EQ(text(kB1Floor, 6, context), "-24.0dB");
  context.leftRight = true;
  EXPECT_EQ(text(kB1Position, 100, context), "RIGHT");
  EXPECT_EQ(text(kB1SCPos, 0, context), "MID") << "the sidechain has a switch of its own";
  context.dynamicEq = true;
  EXPECT_EQ(text(kB1Slope, 25, context), "24dB/Oct");

  ValueTextContext simple;
  simple.simpleNumbers = true;
  EXPECT_EQ(text(kB1Ratio, 0.7F, simple), "3.3:1");
  EXPECT_EQ(text(kB1Ratio, -0.5F, simple), "1:1.3");
  EXPECT_EQ(text(kB1Attack, 3.15F, simple), "3ms");
  EXPECT_EQ(text(kB1Threshold, -12.5F, simple), "-12.5dB");
}

TEST(ValueTextTest, NamesNotes) {
  const struct {
    float hz;
    const char* note;
  } cases[] = {{440, "A4+0"},        {261.6256F, "C4+0"}, {27.5F, "A0+0"}, {880, "A5+0"},
               {466.1638F, "A#4+0"}, {622.254F, "D#5+0"}, {445, "A4+20"},  {435, "A4-20"},
               {246.9417F, "B3+0"},  {493.8833F, "B4+0"}, {1000, "B5+21"}, {20000, "D#10+8"},
               {10, "D#-1+49"}};
  for (const auto& c : cases) EXPECT_EQ(text(kB1Frequency, c.hz, {}, true), c.note) << c.hz;
  EXPECT_EQ(text(kB1Threshold, 3, {}, true), "3.0dB") << "only frequencies are notes";
}

TEST(ValueTextTest, DoesNotFollowTheHostsLocale) {
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  // Where no locale with a decimal comma is installed this shows nothing, and costs nothing.
  for (const char* name : {"de_DE.UTF-8", "fr_FR.UTF-8"}) std::setlocale(LC_NUMERIC, name);
  EXPECT_EQ(text(kB1Threshold, -12.5F), "-12.5dB");
  std::setlocale(LC_NUMERIC, before.c_str());
}

}  // namespace
