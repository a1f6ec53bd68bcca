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

/// A position within 0 to 1.
float positionOf(std::int32_t parameter, double value, std::vector<std::string>& warnings) {
  const double clamped = std::clamp(value, 0.0, 1.0);
  if (clamped != value) {
    warnings.push_back(parameterIdentifier(parameter) + ": " + shortestText(value) +
                       " is out of range, " + shortestText(clamped) + " is used (0 to 1)");
  }
  return static_cast<float>(clamped);
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

float readPlain(std::int32_t parameter, std::string_view text, const ValueTextContext& context,
                std::vector<std::string>& warnings) {
  const ParameterRecord& record = kParameterTable[at(parameter)];
  const auto read = readValue(parameter, text, record, context);
  const bool isFine = read && !read->isOutside;
  if (isFine) return read->plain;
  const std::string id = parameterIdentifier(parameter);
  const std::string range = " (" + valueRange(parameter, record, context) + ")";
  const std::string given = shownName(trimmed(text));
  if (!read) throw WrongArguments(id + ": '" + given + "' is none of its values" + range);
  std::string warning = id + ": " + given + " is out of range, " +
                        valueText(parameter, read->plain, record, context, false) + " is used" +
                        range;
  if (isRatio(parameter) && finiteNumber(text)) warning += "; write " + given + ":1 for a ratio";
  warnings.push_back(warning);
  return read->plain;
}

Setting parseSetting(std::string_view text, bool isNormalised, const Plug& plug,
                     std::vector<std::string>& warnings) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) {
    throw WrongArguments("'" + shownName(text) + "' should read ID=VALUE");
  }
  const std::int32_t parameter = parameterNumber(trimmed(text.substr(0, equals)));
  const std::string_view value = text.substr(equals + 1);
  if (!isNormalised) {
    return {parameter, false, readPlain(parameter, value, plug.textContext(parameter), warnings)};
  }
  const auto position = finiteNumber(value);
  if (!position) {
    throw WrongArguments(parameterIdentifier(parameter) + ": '" + shownName(value) +
                         "' is not a finite number");
  }
  return {parameter, true, positionOf(parameter, *position, warnings)};
}
