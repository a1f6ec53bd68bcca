#include "editor/typed_value.h"

#include <charconv>
#include <cmath>

#include "editing/parameter_ids.h"

namespace {

constexpr float kLeastRatio = 0.001F;
constexpr float kLeastHertz = 20.0F;

std::string_view withoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  return first == std::string_view::npos ? std::string_view{} : text.substr(first);
}

float leadingNumber(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  float number = 0.0F;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return std::isfinite(number) ? number : 0.0F;
}

float typedRatio(int row, float n, bool extendedRatios) {
  const float size = std::abs(n);
  const float ratio = size > kLeastRatio ? 1.0F - 1.0F / size : 1.0F;
  const bool isWhole = !extendedRatios || (row == kB1RatioB && ratio > 0.0F);
  return isWhole ? ratio : ratio * 0.5F;
}

}  // namespace

float typedValue(std::int32_t parameter, std::string_view text, const TypedValueRules& rules) {
  const std::string_view entry = withoutBlanks(text);
  const float number = leadingNumber(entry);
  if (!isBandParameter(parameter)) return number;
  const int row = bandOneIdOf(parameter);
  switch (row) {
    case kB1Ratio:
    case kB1RatioB:
      return typedRatio(row, number, rules.extendedRatios);
    case kB1Ceiling:
    case kB1Floor:
      return std::abs(number) / static_cast<float>(1 << rules.extendedRanges);
    case kB1Frequency:
      return number < kLeastHertz ? number * 1000.0F : number;
    case kB1DryGain:
      if (number == 0.0F && !entry.starts_with('0')) return 0.0F;
      return 100.0F * std::pow(10.0F, number * 0.05F);
    default:
      return number;
  }
}
