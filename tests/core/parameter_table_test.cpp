#include "core/parameter_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>

#include "host/curves.h"

namespace {

std::string rowText(const ParameterRecord& record) {
  std::ostringstream text;
  text << record.name << '|' << record.label << '|' << record.value << '|' << record.min << '|'
       << record.max << '|' << record.curve << '\n';
  return text.str();
}

std::uint32_t fnv1a(const std::string& text) {
  std::uint32_t hash = 2166136261U;
  for (const char c : text) hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  return hash;
}

// Sessions, automation and presets of users stand on every row: a change here is a change of
// format.
TEST(ParameterTableTest, NoRowHasChanged) {
  std::string rows;
  for (const ParameterRecord& record : kParameterTable) rows += rowText(record);
  EXPECT_EQ(fnv1a(rows), 2277068351U) << rows;
  std::string identifiers;
  for (int id = 0; id < kNumParams; ++id) identifiers += parameterKeyTable().name(id) + ',';
  EXPECT_EQ(fnv1a(identifiers), 3336954938U) << identifiers;
}

TEST(ParameterTableTest, RowsOfBandsAreFoundByNumber) {
  const struct {
    int band, bandOneId;
    const char* identifier;
  } rows[] = {{0, kB1State, "kB1State"},
              {2, kB1Ratio, "kB3Ratio"},
              {6, kB1SCSBand, "kB7SCSBand"},
              {7, kB1SCHFType, "kB8SCHFType"}};
  for (const auto& row : rows) {
    const int id = bandParameterId(row.band, row.bandOneId);
    EXPECT_EQ(parameterKeyTable().find(row.identifier), id);
    EXPECT_EQ(bandOf(id), row.band);
    EXPECT_EQ(bandOneIdOf(id), row.bandOneId);
  }
  EXPECT_EQ(parameterKeyTable().find("kABBank"), kABBank);
  EXPECT_FALSE(isBandParameter(kBandOrder));
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
