#include "apps/state/state_report.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "apps/effect/settings.h"
#include "apps/output/failure.h"
#include "apps/output/text.h"
#include "core/parameter_table.h"
#include "editing/band_files.h"
#include "host/curves.h"

namespace {

std::string kindText(StateKind kind) {
  switch (kind) {
    case StateKind::kPreset:
      return "preset form: one program";
    case StateKind::kFull:
      return "full form: program and banks";
    case StateKind::kOld:
      return "old document without \"presets\": one program";
    case StateKind::kBand:
      break;
  }
  return "band file: the settings of one band";
}

const ParameterRecord& recordOf(std::size_t parameter) { return kParameterTable[parameter]; }

/// A stored value for comparing by eye: enough digits to differ, few enough to read.
std::string plainText(std::size_t parameter, float plain) {
  constexpr int kDigits = 6;
  constexpr float kZero = 1e-6F;  // of the range: rounding error of a 0 that went through 0..1
  const ParameterRecord& record = recordOf(parameter);
  if (std::fabs(plain) < kZero * (record.max - record.min)) return "0";
  std::array<char, 64> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), plain,
                                 std::chars_format::general, kDigits)
                       .ptr;
  return {text.data(), end};
}

float defaultValue(std::size_t parameter, bool isPlain) {
  const ParameterRecord& record = recordOf(parameter);
  return isPlain ? record.value
                 : plainToNormalised(record.value, record.min, record.max, record.curve);
}

/// Plain values are rounded by text and taper: they are equal if they are shown as equal.
bool differs(std::size_t parameter, float a, float b, bool isPlain) {
  constexpr double kLeast = 1e-9;  // least difference that the effect stores
  if (isPlain) return plainText(parameter, a) != plainText(parameter, b);
  return !(static_cast<double>(std::fabs(a - b)) < kLeast);
}

std::size_t changedCount(const StoredValues& stored, bool isPlain) {
  std::size_t count = 0;
  for (std::size_t i = 0; i < stored.values.size(); ++i) {
    if (stored.values[i] && differs(i, *stored.values[i], defaultValue(i, isPlain), isPlain))
      ++count;
  }
  return count;
}

std::string nameOf(const JsonNode* program) {
  const JsonNode* const name = jsonGetObjectItem(program, "name");
  const bool isText = jsonIsType(name, kJsonString);
  return isText ? "'" + oneLine(name->valueString) + "', " : "";
}

std::string setRow(const StoredSet& set) {
  if (set.object == nullptr)
    return reportRow(set.place, "missing: stays as it is when this is loaded");
  return reportRow(set.place,
                   nameOf(set.object) + countOf(changedCount(storedValues(set), false),
                                                "parameter differs from its default",
                                                "parameters differ from their defaults"));
}

std::string bandRow(const StateDocument& document) {
  const StoredValues stored = storedBandValues(document);
  std::size_t present = 0;
  for (const auto& value : stored.values) present += value ? 1 : 0;
  return reportRow("settings", std::to_string(present) + " of " +
                                   std::to_string(kBandFileRows.size()) + ", " +
                                   countOf(changedCount(stored, true), "differs from its default",
                                           "differ from their defaults"));
}

std::string bodyRows(const StateDocument& document) {
  if (document.kind == StateKind::kBand) return bandRow(document);
  std::string text = reportRow(
      "version mark",
      document.hasVersionMark() ? "v101" : "none: kLogBehaviour is on when this is loaded");
  for (const StoredSet& set : storedSets(document)) text += setRow(set);
  const bool hasEditor = jsonGetObjectItem(document.root.get(), documentKey::kSettings) != nullptr;
  return text + reportRow("editor settings", hasEditor ? "yes" : "none");
}

/// The label of a parameter if it is a unit; empty if it lists choices.
std::string unitOf(std::size_t parameter) {
  const std::string_view label = recordOf(parameter).label;
  for (const std::string_view unit : {"dB", "Hz", "ms", "%", "dB/Oct"}) {
    if (label == unit) return " " + std::string(label);
  }
  return {};
}

/// A stored value in the parameter's own unit.
float plainOf(std::size_t parameter, float stored, bool isPlain) {
  const ParameterRecord& record = recordOf(parameter);
  return isPlain ? stored : normalisedToPlain(stored, record.min, record.max, record.curve);
}

std::string differenceLine(std::size_t parameter, const std::optional<float>& a,
                           const std::optional<float>& b, bool isPlain) {
  const auto text = [&](const std::optional<float>& value, bool isExact) -> std::string {
    if (!value) return "-";
    const float plain = plainOf(parameter, *value, isPlain);
    return isExact ? shortestText(plain) : plainText(parameter, plain);
  };
  const bool isExact = text(a, false) == text(b, false);
  return parameterIdentifier(static_cast<std::int32_t>(parameter)) + ": " + text(a, isExact) + " " +
         text(b, isExact) + unitOf(parameter) + "\n";
}

StoredValues comparedValues(const StateDocument& document, std::optional<int> bank) {
  if (document.kind == StateKind::kBand) return storedBandValues(document);
  const std::vector<StoredSet> sets = storedSets(document);
  const std::size_t wanted = bank ? static_cast<std::size_t>(*bank) + 1 : 0;
  if (wanted >= sets.size() || (bank && sets[wanted].object == nullptr)) {
    throw Failure(document.name, std::string("has no bank ") + static_cast<char>('A' + *bank));
  }
  return storedValues(sets[wanted]);
}

}  // namespace

std::string stateReport(const StateDocument& document) {
  std::string text = oneLine(document.name) + "\n";
  text += reportRow("kind", kindText(document.kind));
  text += reportRow("stored", (document.isPacked ? "packed, " : "plain, ") +
                                  countOf(document.fileBytes, "byte", "bytes") + "; the text has " +
                                  std::to_string(document.text.size()));
  text += bodyRows(document);
  const std::vector<std::string> faults = documentFaults(document);
  for (const std::string& fault : faults) {
    text += reportRow(&fault == &faults.front() ? "findings" : "", oneLine(fault));
  }
  return faults.empty() ? text + reportRow("findings", "none") : text;
}

std::string stateDifference(const StateDocument& a, const StateDocument& b,
                            std::optional<int> bank) {
  const bool isPlain = a.kind == StateKind::kBand;
  if (isPlain != (b.kind == StateKind::kBand)) {
    throw Failure((isPlain ? a : b).name, "is a band file, and the other is none");
  }
  if (isPlain && bank) throw Failure(a.name, "is a band file, which has no banks");
  const StoredValues first = comparedValues(a, bank);
  const StoredValues second = comparedValues(b, bank);
  std::string text;
  std::size_t count = 0;
  for (std::size_t i = 0; i < first.values.size(); ++i) {
    const auto& left = first.values[i];
    const auto& right = second.values[i];
    const bool isSame =
        left && right ? !differs(i, *left, *right, isPlain) : left.has_value() == right.has_value();
    if (isSame) continue;
    text += differenceLine(i, left, right, isPlain);
    ++count;
  }
  return text + countOf(count, "parameter differs", "parameters differ") + "\n";
}
