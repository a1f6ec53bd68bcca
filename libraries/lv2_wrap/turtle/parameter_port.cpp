#include "libraries/lv2_wrap/turtle/parameter_port.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <string_view>

#include "core/parameter_table.h"
#include "core/value_text.h"
#include "host/curves.h"
#include "platform/index.h"

namespace lv2 {

namespace {

/// Rules are written for band 1 and hold for all bands.
int rowOf(int id) { return isBandParameter(id) ? bandOneIdOf(id) : id; }

const ParameterRecord& recordOf(int id) { return kParameterTable[at(id)]; }

std::string textOf(int id, float plain) {
  return valueText(id, plain, recordOf(id), ValueTextContext{}, false);
}

std::string decibelsPerOctave() { return turtleUri(std::string(kBaseUri) + "#decibelsPerOctave"); }

/// The unit of a label; empty if the label is no unit.
std::string unitOf(const ParameterRecord& record) {
  const std::string_view label = record.label;
  if (label == "dB") return "units:db";
  if (label == "Hz") return "units:hz";
  if (label == "ms") return "units:ms";
  if (label == "%") return "units:pc";
  return label == "dB/Oct" ? decibelsPerOctave() : "";
}

bool isOffOn(int id) {
  return recordOf(id).curve == kCurveSwitch && textOf(id, 0.0F) == "OFF" &&
         textOf(id, 1.0F) == "ON";
}

/// Whether values are codes of a choice: whole numbers without a unit, or a switch that is not
/// off/on.
bool isChoice(int id) {
  const ParameterRecord& record = recordOf(id);
  if (record.curve == kCurveSwitch) return !isOffOn(id);
  return record.curve == kCurveWhole && unitOf(record).empty();
}

std::vector<float> choices(const ParameterRecord& record) {
  std::vector<float> values;
  for (float value = record.min; value <= record.max; value += 1.0F) values.push_back(value);
  return values;
}

std::vector<float> ratioStops(int id) {
  const ParameterRecord& record = recordOf(id);
  std::vector<float> values;
  const char* next = kRatioStops.data();
  const char* const end = next + kRatioStops.size();
  while (next != end) {
    float normalised = 0.0F;
    const auto number = std::from_chars(next, end, normalised);
    if (number.ec == std::errc()) {
      const float plain = normalisedToPlain(normalised, record.min, record.max, record.curve);
      values.push_back(roundPlain(id, plain, normalised));
    }
    // Skips commas and blanks one by one.
    next = number.ec == std::errc() ? number.ptr : next + 1;
  }
  return values;
}

/// The stops of the dial, and so many values between them that the label nearest to a value is
/// close to its own.
std::vector<float> ratios(int id) {
  std::vector<float> values = ratioStops(id);
  for (int hundredth = -100; hundredth < 95; hundredth += 5) {
    values.push_back(static_cast<float>(hundredth) / 100.0F);
  }
  for (const float steep : {0.96F, 0.97F, 0.98F, 0.99F}) values.push_back(steep);
  std::sort(values.begin(), values.end());
  const auto isSameText = [id](float a, float b) { return textOf(id, a) == textOf(id, b); };
  values.erase(std::unique(values.begin(), values.end(), isSameText), values.end());
  return values;
}

std::vector<float> namedValues(int id) {
  if (isChoice(id)) return choices(recordOf(id));
  switch (rowOf(id)) {
    case kB1Ratio:
    case kB1RatioB:
      return ratios(id);
    case kB1Position:
    case kB1SCPos:
    case kB1Target:
      return {0.0F, 50.0F, 100.0F};
    case kB1Shape:
    case kB1SCLink:
    case kWetDry:
      return {0.0F, 100.0F};
    case kB1Crest:
      return {0.0F, 24.0F};
    case kB1DryGain:
      return {0.0F};
    default:
      return {};
  }
}

void addTaper(Statements& port, int id) {
  const ParameterRecord& record = recordOf(id);
  const auto property = [&port](const char* name) { port.add("lv2:portProperty", name); };
  if (isOffOn(id)) return property("lv2:toggled");
  if (record.curve == kCurveExponential) property("pprops:logarithmic");
  if (record.curve == kCurveWhole || record.curve == kCurveMultipleOf6 || isChoice(id)) {
    property("lv2:integer");
  }
  if (isChoice(id)) property("lv2:enumeration");
  if (record.curve == kCurveMultipleOf6) {
    const int steps = static_cast<int>(record.max - record.min) / 6 + 1;  // both ends counted
    port.add("pprops:rangeSteps", std::to_string(steps));
  }
}

/// Parameters whose changes redesign filters or change the latency.
bool isExpensive(int row) {
  switch (row) {
    case kB1State:
    case kB1Type:
    case kB1SubType:
    case kBandOrder:
    case kOversample:
    case kOversampleOL:
    case kABBank:
      return true;
    default:
      return false;
  }
}

void addMarks(Statements& port, int row) {
  const auto property = [&port](const char* name) { port.add("lv2:portProperty", name); };
  if (isExpensive(row)) {
    property("pprops:expensive");
    property("pprops:causesArtifacts");
  }
  if (row == kBandOrder || row == kABBank) property("pprops:notAutomatic");
  // A packed number means nothing to users, and `enabled` shows the bypass already.
  if (row == kBandOrder || row == kBypass) property("pprops:notOnGUI");
}

std::string parameterGroup(const PortLayout& plugin, std::string_view symbol,
                           const std::string& name) {
  Statements group;
  group.add("a", "pg:Group");
  group.add("lv2:symbol", turtleString(symbol));
  group.add("lv2:name", turtleString(name));
  return group.about(parameterGroupUri(plugin, symbol));
}

}  // namespace

std::string bandSymbol(int band) { return "band" + std::to_string(band + 1); }

std::string parameterGroupUri(const PortLayout& plugin, std::string_view symbol) {
  return turtleUri(std::string(plugin.uri) + '#' + std::string(symbol));
}

float roundPlain(int id, float plain, float normalised) {
  const ParameterRecord& record = recordOf(id);
  const auto isSame = [&record, normalised](float candidate) {
    return candidate >= record.min && candidate <= record.max &&
           plainToNormalised(candidate, record.min, record.max, record.curve) == normalised;
  };
  if (isSame(0.0F)) return 0.0F;
  for (int decimals = 0; decimals < std::numeric_limits<float>::digits10; ++decimals) {
    std::array<char, 64> text;
    const auto end = std::to_chars(text.data(), text.data() + text.size(), plain,
                                   std::chars_format::scientific, decimals);
    float candidate = 0.0F;
    std::from_chars(text.data(), end.ptr, candidate);
    if (isSame(candidate)) return candidate;
  }
  return plain;
}

std::vector<ScalePoint> scalePoints(int id) {
  std::vector<ScalePoint> points;
  for (const float value : namedValues(id)) points.push_back({value, textOf(id, value)});
  return points;
}

Statements parameterPort(const PortLayout& plugin, int place) {
  const int id = parameterInPlace(place);
  const ParameterRecord& record = recordOf(id);
  Statements port;
  port.add("a", "lv2:InputPort").add("a", "lv2:ControlPort");
  port.add("lv2:index", std::to_string(plugin.firstParameter() + place));
  port.add("lv2:symbol", turtleString(parameterKeyTable().name(id)));
  port.add("lv2:name", turtleString(record.name));
  port.add("lv2:default", turtleDecimal(record.value));
  port.add("lv2:minimum", turtleDecimal(record.min));
  port.add("lv2:maximum", turtleDecimal(record.max));
  addTaper(port, id);
  addMarks(port, rowOf(id));
  if (const std::string unit = unitOf(record); !unit.empty()) port.add("units:unit", unit);
  for (const ScalePoint& point : scalePoints(id)) {
    Statements description;
    description.add("rdfs:label", turtleString(point.label));
    description.add("rdf:value", turtleDecimal(point.value));
    port.add("lv2:scalePoint", description.blankNode());
  }
  port.add("pg:group", parameterGroupUri(plugin, isBandParameter(id) ? bandSymbol(bandOf(id))
                                                                     : std::string(kGlobalSymbol)));
  return port;
}

std::string parameterDefinitions(const PortLayout& plugin) {
  std::string text = parameterGroup(plugin, kGlobalSymbol, "Global");
  for (int band = 0; band < kNumBands; ++band) {
    text += parameterGroup(plugin, bandSymbol(band), "Band " + std::to_string(band + 1));
  }
  Statements unit;
  unit.add("a", "units:Unit");
  unit.add("rdfs:label", turtleString("decibels per octave"));
  unit.add("units:symbol", turtleString("dB/oct"));
  unit.add("units:render", turtleString("%.0f dB/oct"));
  return text + unit.about(decibelsPerOctave());
}

}  // namespace lv2
