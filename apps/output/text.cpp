#include "apps/output/text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

namespace {

/// Number of characters in UTF-8 text.
std::size_t shownWidth(std::string_view text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) {
    return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U;
  }));
}

template <typename Number>
std::string shortest(Number value) {
  std::array<char, 64> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

/// Bytes of the UTF-8 character at the start of `text`; 0 if there is none.
std::size_t utf8Length(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  const std::size_t length = lead < 0x80                   ? 1
                             : lead >= 0xC2 && lead < 0xE0 ? 2
                             : lead >= 0xE0 && lead < 0xF0 ? 3
                             : lead >= 0xF0 && lead < 0xF5 ? 4
                                                           : 0;
  if (length == 0 || length > text.size()) return 0;
  const auto continues = [](char c) { return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U; };
  return std::all_of(text.begin() + 1, text.begin() + static_cast<std::ptrdiff_t>(length),
                     continues)
             ? length
             : 0;
}

}  // namespace

std::string fixedText(double value, int decimals) {
  std::array<char, 400> text;
  const auto end = std::to_chars(text.data(), text.data() + text.size(), value,
                                 std::chars_format::fixed, decimals);
  std::string result(text.data(), end.ptr);
  const bool isZero = result.find_first_not_of("-0.") == std::string::npos;
  return isZero && result.front() == '-' ? result.substr(1) : result;
}

std::string signedText(double value, int decimals) {
  std::string text = fixedText(value, decimals);
  const bool isPositive = value > 0.0 && text.find_first_not_of("0.") != std::string::npos;
  return isPositive ? "+" + text : text;
}

std::string shortestText(float value) { return shortest(value); }

std::string shortestText(double value) { return shortest(value); }

std::string durationText(double seconds) {
  const auto milliseconds = static_cast<std::int64_t>(std::llround(seconds * 1000.0));
  const auto twoDigits = [](std::int64_t number) {
    return (number < 10 ? "0" : "") + std::to_string(number);
  };
  const std::int64_t minutes = milliseconds / 60000;
  const std::string head = minutes < 60
                               ? std::to_string(minutes)
                               : std::to_string(minutes / 60) + ":" + twoDigits(minutes % 60);
  const std::string thousandths = std::to_string(1000 + milliseconds % 1000).substr(1);
  return head + ":" + twoDigits(milliseconds / 1000 % 60) + "." + thousandths;
}

std::optional<double> finiteNumber(std::string_view text) {
  text = trimmed(text);
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  double number = 0.0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc{} && end == text.data() + text.size();
  if (!whole || !std::isfinite(number)) return std::nullopt;
  return number;
}

std::string_view trimmed(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string lowered(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return result;
}

std::string oneLine(std::string_view text) {
  std::string result(text);
  std::replace_if(
      result.begin(), result.end(),
      [](char c) { return static_cast<unsigned char>(c) < 32 || c == 127; }, '?');
  return result;
}

std::string shownName(std::string_view name) {
  if (name.size() <= kLongestShown) return oneLine(name);
  std::size_t end = kLongestShown;
  // Do not cut within a character.
  while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0U) == 0x80U) --end;
  return oneLine(name.substr(0, end)) + "...";
}

std::string padded(std::string text, std::size_t width) {
  const std::size_t shown = shownWidth(text);
  if (shown < width) text.append(width - shown, ' ');
  return text;
}

std::string paddedLeft(const std::string& text, std::size_t width) {
  const std::size_t shown = shownWidth(text);
  return shown < width ? std::string(width - shown, ' ') + text : text;
}

std::string validUtf8(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const std::size_t length = utf8Length(text);
    result += length == 0 ? std::string_view("\xEF\xBF\xBD") : text.substr(0, length);
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return result;
}

std::string reportRow(const std::string& label, const std::string& text) {
  constexpr std::size_t kLabelWidth = 18;
  return padded(label, kLabelWidth) + text + "\n";
}
