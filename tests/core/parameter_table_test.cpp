#include "core/parameter_table.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
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

TEST(ParameterTableTest, BandsDifferInNothingButDigitAndStart) {
  for (int row = 0; row < kBandRows; ++row) {
    const ParameterRecord& first = kParameterTable[static_cast<std::size_t>(kB1State + row)];
    for (int band = 1; band < kNumBands; ++band) {
      const int id = bandParameterId(band, kB1State + row);
      ParameterRecord other = kParameterTable[static_cast<std::size_t>(id)];
      EXPECT_EQ(other.name[4], '1' + band);
      other.name[4] = '1';
      if (row == 0) other.value = 1.0F;
      EXPECT_EQ(std::memcmp(&other, &first, sizeof(other)), 0) << "row " << row;
      EXPECT_EQ(bandOf(id), band);
      EXPECT_EQ(bandOneIdOf(id), kB1State + row);
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
