#include "editor/typed_value.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "editing/parameter_ids.h"

namespace {

constexpr float kLeastRatio = 0.001F;
constexpr float kLeastHertz = 20.0F;
/// Beyond all ranges, and what is made of it is still a number.
constexpr float kBeyondAll = 1e30F;
constexpr float kMostDecibels = 200.0F;

std::string_view withoutBlanks(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  return first == std::string_view::npos ? std::string_view{} : text.substr(first);
}

/// Of a number that no float holds: whether it is a large one.
bool isLarge(std::string_view number) {
  const std::size_t mark = std::min(number.find_first_of("eE"), number.size());
  const bool isDivided = number.substr(mark).find('-') != std::string_view::npos;
  const std::string_view figures = number.substr(0, mark);
  return !isDivided && (mark < number.size() || figures.find_first_of("123456789") <
                                                    std::min(figures.find('.'), figures.size()));
}

float leadingNumber(std::string_view text) {
  if (text.starts_with('+')) text.remove_prefix(1);
  float number = 0.0F;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const std::string_view read = text.substr(0, static_cast<std::size_t>(end - text.data()));
  if (error == std::errc::result_out_of_range && isLarge(read)) {
    return text.starts_with('-') ? -kBeyondAll : kBeyondAll;
  }
  return std::isfinite(number) ? std::clamp(number, -kBeyondAll, kBeyondAll) : 0.0F;
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
      return 100.0F * std::pow(10.0F, std::min(number, kMostDecibels) * 0.05F);
    default:
      return number;
  }
}
