#include "apps/effect/settings.h"

#include <algorithm>
#include <utility>

#include "apps/output/failure.h"
#include "apps/output/spelling.h"
#include "apps/output/text.h"
#include "core/parameter_table.h"
#include "platform/index.h"

namespace {

constexpr std::size_t kNamed = 3;  // identifiers suggested for an unknown one

float clampWithWarning(std::int32_t parameter, double value, float min, float max,
                       std::vector<std::string>& warnings) {
  const double clamped = std::clamp(value, static_cast<double>(min), static_cast<double>(max));
  const auto result = static_cast<float>(clamped);
  if (clamped != value) {
    warnings.push_back(parameterIdentifier(parameter) + ": " + shortestText(value) +
                       " is out of range, " + shortestText(result) + " is used (" +
                       shortestText(min) + " to " + shortestText(max) + ")");
  }
  return result;
}

}  // namespace

std::int32_t parameterNumber(std::string_view identifier) {
  const std::int32_t number = parameterKeyTable().find(identifier);
  if (number >= 0 && number < kNumParams) return number;
  throw WrongArguments(unknownParameter(identifier));
}

std::string unknownParameter(std::string_view identifier) {
  std::string message = "unknown parameter '" + shownName(identifier) + "'";
  if (identifier.size() > kLongestShown) return message;
  message += "; the nearest are ";
  const std::vector<std::string> nearest = nearestIdentifiers(identifier);
  for (std::size_t i = 0; i < nearest.size(); ++i) {
    if (i > 0) message += i + 1 == nearest.size() ? " and " : ", ";
    message += nearest[i];
  }
  return message;
}

std::string parameterIdentifier(std::int32_t number) {
  return std::string(parameterKeyTable().name(number));
}

std::vector<std::string> nearestIdentifiers(std::string_view text) {
  const std::string wanted = lowered(text);
  std::vector<std::pair<std::size_t, std::int32_t>> candidates;
  candidates.reserve(kNumParams);
  for (std::int32_t number = 0; number < kNumParams; ++number) {
    candidates.emplace_back(editDistance(wanted, lowered(parameterIdentifier(number))), number);
  }
  // Ties are broken by number, so that the result is always the same.
  std::partial_sort(candidates.begin(), candidates.begin() + kNamed, candidates.end());
  std::vector<std::string> names;
  for (std::size_t i = 0; i < kNamed; ++i) {
    names.push_back(parameterIdentifier(candidates[i].second));
  }
  return names;
}

float plainInRange(std::int32_t parameter, double plain, std::vector<std::string>& warnings) {
  const ParameterRecord& record = kParameterTable[at(parameter)];
  return clampWithWarning(parameter, plain, record.min, record.max, warnings);
}

Setting parseSetting(std::string_view text, bool isNormalised, std::vector<std::string>& warnings) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw WrongArguments("'" + shownName(text) + "' should read ID=VALUE");
  }
  const std::int32_t parameter = parameterNumber(trimmed(text.substr(0, equals)));
  const std::string_view valueText = text.substr(equals + 1);
  const auto value = finiteNumber(valueText);
  if (!value) {
    throw WrongArguments(parameterIdentifier(parameter) + ": '" + shownName(valueText) +
                         "' is not a finite number");
  }
  const float inRange = isNormalised ? clampWithWarning(parameter, *value, 0.0F, 1.0F, warnings)
                                     : plainInRange(parameter, *value, warnings);
  return {parameter, isNormalised, inRange};
}
