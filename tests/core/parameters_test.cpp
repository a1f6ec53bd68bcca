// The table of parameters, and its values as texts.

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <fstream>
#include <sstream>
#include <string>

#include "core/value_text.h"
#include "host/curves.h"
#include "tests/core/plug_rig.h"

namespace {

void take(const std::string& word, ValueTextContext& context) {
  if (word == "ranges") context.extendedRanges = 2.0F;
  if (word == "ratios") context.extendedRatios = true;
  if (word == "simple") context.simpleNumbers = true;
  if (word == "above") context.ratioAbove = 0.1F;
  if (word == "below") context.ratioBelow = 1.0F;
  if (word == "dyneq") context.dynamicEq = true;
  if (word == "lr") context.leftRight = true;
  if (word == "sclr") context.scLeftRight = true;
}

/// Also where a host has a decimal comma, if such a locale is installed.
TEST(ValueText, ShowsEachParameterInItsWords) {
  const std::string before = std::setlocale(LC_NUMERIC, nullptr);
  for (const char* const locale : {"C", "de_DE.UTF-8", "fr_FR.UTF-8"}) {
    std::ifstream file(TEST_DATA "/values.txt");
    int texts = 0;
    for (std::string line; std::getline(file, line);) {
      if (line.starts_with("#")) continue;
      SCOPED_TRACE(line);
      std::istringstream fields(line);
      std::string field;
      std::getline(fields, field, '|');
      const int index = parameterKeyTable().find("k" + field);
      ASSERT_GE(index, 0);
      const ParameterRecord& record = kParameterTable[static_cast<std::size_t>(index)];
      ValueTextContext context;
      const bool isNote = line.find("|note|") != std::string::npos;
      while (std::getline(fields, field, '|')) {
        take(field, context);
        const auto equals = field.find('=');
        if (equals == std::string::npos) continue;
        ++texts;
        const float plain = std::stof(field.substr(0, equals));
        std::setlocale(LC_NUMERIC, locale);
        const std::string text = valueText(index, plain, record, context, isNote);
        std::setlocale(LC_NUMERIC, before.c_str());
        EXPECT_EQ(text, field.substr(equals + 1));
      }
    }
    EXPECT_GT(texts, 100);
  }
}

// Sessions, automation and presets of users stand on every row: a change here is a change of
// format.
TEST(ParameterTableTest, NoRowHasChanged) {
  std::ostringstream rows;
  for (const ParameterRecord& r : kParameterTable) {
    rows << r.name << '|' << r.label << '|' << r.value << '|' << r.min << '|' << r.max << '|'
         << r.curve << '\n';
  }
  EXPECT_EQ(hashOf(rows.str()), 2277068351U) << rows.str();
  std::string identifiers;
  for (int id = 0; id < kNumParams; ++id) identifiers += parameterKeyTable().name(id) + ',';
  EXPECT_EQ(hashOf(identifiers), 3336954938U) << identifiers;
  EXPECT_FALSE(isBandParameter(kOpTrim) || isBandParameter(kBandOrder));
}

TEST(ParameterTableTest, EveryDefaultSurvivesTheMapsBitForBit) {
  for (const ParameterRecord& record : kParameterTable) {
    SCOPED_TRACE(record.name);
    const float normalised = plainToNormalised(record.value, record.min, record.max, record.curve);
    const float plain = normalisedToPlain(normalised, record.min, record.max, record.curve);
    EXPECT_EQ(plainToNormalised(plain, record.min, record.max, record.curve), normalised);
    EXPECT_NEAR(plain, record.value, 2e-6F + 1e-6F * std::abs(record.value));
  }
}

}  // namespace
