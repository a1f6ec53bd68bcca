#include "core/parameter_table.h"

#include <cstddef>

#include "dynamics/lookahead_window.h"

namespace {

/// A parameter as written here; in the band template, identifier and name lack the band's prefix.
struct Row {
  std::string_view identifier;
  std::string_view name;
  std::string_view label;
  float value;
  float min;
  float max;
  Curve curve;
};

constexpr std::array<Row, 2> kTrims = {{
    {"kIpTrim", "In Trim", "dB", 0.0F, -24.0F, 24.0F, kCurveLinear},
    {"kOpTrim", "Out Trim", "dB", 0.0F, -24.0F, 24.0F, kCurveLinear},
}};

constexpr std::array<Row, kBandRows> kBandTemplate = {{
    {"State", "State", "Off/On", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"Bypass", "Bypass", "Off/On", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"Type", "Type", "XOver/DynEQ", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"SubType", "SubType", "", 0.0F, 0.0F, 7.0F, kCurveWhole},
    {"Solo", "Solo", "Off/On", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"Threshold", "Threshold", "dB", 0.0F, -48.0F, 24.0F, kCurveLinear},
    {"Ratio", "Ratio", "", 0.0F, -1.0F, 1.0F, kCurveLinear},
    {"Ceiling", "Ceiling", "dB", 24.0F, 0.0F, 24.0F, kCurveLinear},
    {"LR", "LR", "MS/LR", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"Position", "Position", "%", 50.0F, 0.0F, 100.0F, kCurveLinear},
    {"Knee", "Knee", "%", 0.0F, 0.0F, 100.0F, kCurveLinear},
    {"Frequency", "Frequency", "Hz", 1000.0F, 10.0F, 20000.0F, kCurveExponential},
    {"Gain", "Gain", "dB", 0.0F, -24.0F, 24.0F, kCurveLinear},
    {"DryGain", "Dry Gain", "%", 0.0F, 0.0F, 200.0F, kCurveLinear},
    {"Slope", "Slope", "dB/Oct", 24.0F, 6.0F, 96.0F, kCurveWhole},
    {"Slope2", "Slope2", "dB/Oct", 24.0F, 6.0F, 96.0F, kCurveWhole},
    {"Q", "Q", "Q", 0.71F, 0.1F, 100.0F, kCurveExponential},
    {"Target", "Dyn/Tran", "%", 0.0F, 0.0F, 100.0F, kCurveLinear},
    {"Attack", "Attack", "ms", 3.15F, 0.02F, 200.0F, kCurveExponential},
    {"RelSlow", "Rel Slow", "ms", 200.0F, 10.0F, 2000.0F, kCurveExponential},
    {"RelFast", "Rel Fast", "ms", 20.0F, 1.0F, 2000.0F, kCurveExponential},
    {"Lookahead", "Lookahead", "ms", 10.0F, 0.0F, kLongestLookaheadMs, kCurveLinear},
    {"Crest", "Crest", "dB", 6.0F, 0.0F, 24.0F, kCurveLinear},
    {"Shape", "Shape", "%", 100.0F, 0.0F, 100.0F, kCurveLinear},
    {"RatioB", "Ratio Below", "", 0.0F, -1.0F, 1.0F, kCurveLinear},
    {"Floor", "Floor", "dB", 24.0F, 0.0F, 24.0F, kCurveLinear},
    {"Deadband", "Deadband", "dB", 0.0F, 0.0F, 24.0F, kCurveLinear},
    {"RMS", "Rel RMS", "ms", 50.0F, 20.0F, 4000.0F, kCurveExponential},
    {"SCSrc", "Source", "Wide/Band/Ext", 1.0F, 0.0F, 2.0F, kCurveWhole},
    {"SCSBand", "Src Band", "", -1.0F, -1.0F, 7.0F, kCurveWhole},
    {"SCLR", "SC LR", "MS/LR", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"SCPos", "SC Position", "%", 50.0F, 0.0F, 100.0F, kCurveLinear},
    {"SCLink", "SC Linkage", "%", 100.0F, 0.0F, 100.0F, kCurveLinear},
    {"SCTrim", "SC Trim", "dB", 0.0F, -24.0F, 48.0F, kCurveLinear},
    {"SCLF", "SCLF", "Off/On", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"SCLFF", "SCLF Freq", "Hz", 10.0F, 10.0F, 20000.0F, kCurveExponential},
    {"SCLFG", "SCLF Gain", "dB", 0.0F, -24.0F, 24.0F, kCurveLinear},
    {"SCLFQ", "SCLF Q", "Q", 0.71F, 0.1F, 100.0F, kCurveExponential},
    {"SCLFSlope", "SCLF Slope", "dB/Oct", 24.0F, 6.0F, 96.0F, kCurveMultipleOf6},
    {"SCLFType", "SCLF Type", "HPF/Shelf", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"SCMF", "SCMF", "Off/On", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"SCMFF", "SCMF Freq", "Hz", 1000.0F, 10.0F, 20000.0F, kCurveExponential},
    {"SCMFG", "SCMF Gain", "dB", 0.0F, -24.0F, 24.0F, kCurveLinear},
    {"SCMFQ", "SCMF Q", "Q", 0.71F, 0.1F, 100.0F, kCurveExponential},
    {"SCMFType", "SCMF Type", "Peak/BPF", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"SCHF", "SCHF", "Off/On", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"SCHFF", "SCHF Freq", "Hz", 20000.0F, 10.0F, 20000.0F, kCurveExponential},
    {"SCHFG", "SCHF Gain", "dB", 0.0F, -24.0F, 24.0F, kCurveLinear},
    {"SCHFQ", "SCHF Q", "Q", 0.71F, 0.1F, 100.0F, kCurveExponential},
    {"SCHFSlope", "SCHF Slope", "dB/Oct", 24.0F, 6.0F, 96.0F, kCurveMultipleOf6},
    {"SCHFType", "SCHF Type", "LPF/Shelf", 0.0F, 0.0F, 1.0F, kCurveSwitch},
}};

constexpr std::array<Row, 12> kGlobals = {{
    {"kBandOrder", "BandOrder", "", 0.836735F, 0.0F, 1.0F, kCurveLinear},
    {"kWetDry", "Wet/Dry", "%", 100.0F, 0.0F, 100.0F, kCurveLinear},
    {"kAutoGain", "Auto Gain", "Off/On", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"kSCListen", "SC Listen", "", -1.0F, -1.0F, 7.0F, kCurveWhole},
    {"kListen", "Listen", "Off/On", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"kBypass", "Bypass", "Off/On", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"kOversample", "Oversample", "", 0.0F, 0.0F, 2.0F, kCurveWhole},
    {"kOversampleOL", "Oversample Offline", "", 0.0F, 0.0F, 2.0F, kCurveWhole},
    {"kLogBehaviour", "LOG Behaviour", "", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"kExtendedRanges", "Extended Ranges", "", 0.0F, 0.0F, 2.0F, kCurveWhole},
    {"kExtendedRatios", "Extended Ratios", "", 0.0F, 0.0F, 1.0F, kCurveSwitch},
    {"kABBank", "AB", "", 0.0F, 0.0F, 7.0F, kCurveWhole},
}};

/// A text of fixed capacity that constant expressions can append to.
template <std::size_t Capacity>
struct FixedText {
  std::array<char, Capacity> bytes{};
  std::size_t length = 0;

  constexpr void append(std::string_view text) {
    for (const char c : text) bytes[length++] = c;
  }
  constexpr void append(char c) { bytes[length++] = c; }
  [[nodiscard]] constexpr std::string_view view() const { return {bytes.data(), length}; }
};

constexpr char bandDigit(int band) { return static_cast<char>('1' + band); }

constexpr void copyText(char (&target)[32], std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) target[i] = text[i];
}

constexpr ParameterRecord makeRecord(const Row& row, std::string_view name) {
  ParameterRecord record{};
  copyText(record.name, name);
  copyText(record.label, row.label);
  record.value = row.value;
  record.min = row.min;
  record.max = row.max;
  record.curve = row.curve;
  return record;
}

constexpr ParameterRecord makeBandRecord(const Row& row, int band) {
  FixedText<32> name;
  name.append("Band");
  name.append(bandDigit(band));
  name.append(' ');
  name.append(row.name);
  return makeRecord(row, name.view());
}

constexpr std::array<ParameterRecord, kNumParams> makeTable() {
  std::array<ParameterRecord, kNumParams> table{};
  std::size_t next = 0;
  for (const Row& row : kTrims) table[next++] = makeRecord(row, row.name);
  for (int band = 0; band < kNumBands; ++band) {
    for (const Row& row : kBandTemplate) table[next++] = makeBandRecord(row, band);
  }
  for (const Row& row : kGlobals) table[next++] = makeRecord(row, row.name);
  table[kB1State].value = 1.0F;  // a new instance starts with one crossover band
  return table;
}

constexpr auto makeEnumeration() {
  FixedText<8192> text;
  text.append("kIpTrim=0,kOpTrim,");
  for (int band = 0; band < kNumBands; ++band) {
    for (const Row& row : kBandTemplate) {
      text.append("kB");
      text.append(bandDigit(band));
      text.append(row.identifier);
      text.append(',');
    }
  }
  for (const Row& row : kGlobals) {
    text.append(row.identifier);
    text.append(',');
  }
  text.append("kNumParams");
  return text;
}

constexpr auto kEnumeration = makeEnumeration();

}  // namespace

constexpr std::array<ParameterRecord, kNumParams> kParameterTable = makeTable();

std::string_view parameterEnumeration() noexcept { return kEnumeration.view(); }

const ParameterKeys& parameterKeyTable() {
  static const ParameterKeys keys(parameterEnumeration());
  return keys;
}
