#include "core/parameter_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>

#include "host/curves.h"

namespace {

TEST(ParameterTableTest, NumbersIdentifiersAndNamesGoTogether) {
  const struct {
    int number;
    const char* identifier;
    const char* name;
    const char* label;
    float value, min, max;
    int curve;
  } rows[] = {
      {0, "kIpTrim", "In Trim", "dB", 0, -24, 24, 0},
      {1, "kOpTrim", "Out Trim", "dB", 0, -24, 24, 0},
      {2, "kB1State", "Band1 State", "Off/On", 1, 0, 1, 6},
      {5, "kB1SubType", "Band1 SubType", "", 0, 0, 7, 4},
      {19, "kB1Target", "Band1 Dyn/Tran", "%", 0, 0, 100, 0},
      {52, "kB1SCHFType", "Band1 SCHF Type", "LPF/Shelf", 0, 0, 1, 6},
      {53, "kB2State", "Band2 State", "Off/On", 0, 0, 1, 6},
      {2 + 51 * 2 + 6, "kB3Ratio", "Band3 Ratio", "", 0, -1, 1, 0},
      {2 + 51 * 4 + 35, "kB5SCLFF", "Band5 SCLF Freq", "Hz", 10, 10, 20000, 1},
      {2 + 51 * 5 + 18, "kB6Attack", "Band6 Attack", "ms", 3.15F, 0.02F, 200, 1},
      {2 + 51 * 6 + 29, "kB7SCSBand", "Band7 Src Band", "", -1, -1, 7, 4},
      {2 + 51 * 7 + 49, "kB8SCHFSlope", "Band8 SCHF Slope", "dB/Oct", 24, 6, 96, 5},
      {410, "kBandOrder", "BandOrder", "", 0.836735F, 0, 1, 0},
      {413, "kSCListen", "SC Listen", "", -1, -1, 7, 4},
      {419, "kExtendedRanges", "Extended Ranges", "", 0, 0, 2, 4},
      {421, "kABBank", "AB", "", 0, 0, 7, 4},
  };
  const ParameterKeys& keys = parameterKeyTable();
  for (const auto& row : rows) {
    SCOPED_TRACE(row.identifier);
    EXPECT_EQ(keys.find(row.identifier), row.number);
    EXPECT_EQ(keys.name(row.number), row.identifier);
    const ParameterRecord& record = kParameterTable[static_cast<std::size_t>(row.number)];
    EXPECT_STREQ(record.name, row.name);
    EXPECT_STREQ(record.label, row.label);
    EXPECT_EQ(record.value, row.value);
    EXPECT_EQ(record.min, row.min);
    EXPECT_EQ(record.max, row.max);
    EXPECT_EQ(record.curve, row.curve);
  }
  EXPECT_EQ(keys.find("kNumParams"), 422);
  EXPECT_EQ(keys.find("kb1State"), -1);
  EXPECT_EQ(parameterEnumeration().substr(0, 27), "kIpTrim=0,kOpTrim,kB1State,");
}

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

TEST(ParameterTableTest, BandsDifferInNothingButDigitAndStart) {
  for (int id = kB1State; id <= kB1SCHFType; ++id) {
    const std::string first = rowText(kParameterTable[static_cast<std::size_t>(id)]);
    for (int band = 1; band < kNumBands; ++band) {
      const int other = bandParameterId(band, id);
      EXPECT_EQ(bandOf(other), band);
      EXPECT_EQ(bandOneIdOf(other), id);
      if (id == kB1State) continue;
      std::string text = rowText(kParameterTable[static_cast<std::size_t>(other)]);
      EXPECT_EQ(text[4], '1' + band);
      text[4] = '1';
      EXPECT_EQ(text, first);
    }
  }
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
