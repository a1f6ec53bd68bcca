#include "core/parameter_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <sstream>
#include <string>

#include "host/curves.h"
#include "tests/core/plug_rig.h"

namespace {

std::string rowText(const ParameterRecord& record) {
  std::ostringstream text;
  text << record.name << '|' << record.label << '|' << record.value << '|' << record.min << '|'
       << record.max << '|' << record.curve << '\n';
  return text.str();
}

// Sessions, automation and presets of users stand on every row: a change here is a change of
// format.
TEST(ParameterTableTest, NoRowHasChanged) {
  std::string rows;
  for (const ParameterRecord& record : kParameterTable) rows += rowText(record);
  EXPECT_EQ(hashOf(rows), 2277068351U) << rows;
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
