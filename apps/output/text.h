#pragma once

#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Numbers as text, the same in every locale.

/// `value` with `decimals` places; "0.0" instead of "-0.0".
[[nodiscard]] std::string fixedText(double value, int decimals);
/// As `fixedText`, with a plus before positive values.
[[nodiscard]] std::string signedText(double value, int decimals);
// The shortest text that reads back as the same number of that type.
[[nodiscard]] std::string shortestText(float value);
[[nodiscard]] std::string shortestText(double value);
/// "m:ss.mmm", or "h:mm:ss.mmm" from an hour on.
[[nodiscard]] std::string durationText(double seconds);

/// "1 file", "2 files".
[[nodiscard]] std::string countOf(std::integral auto count, const std::string& one,
                                  const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

/// The whole of `text`, except blanks around it, as a finite number; none if it is no such number.
[[nodiscard]] std::optional<double> finiteNumber(std::string_view text);

/// The UTF-8 byte order mark with which text files may begin.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
[[nodiscard]] std::string_view trimmed(std::string_view text);
/// `text` with ASCII letters in lower case.
[[nodiscard]] std::string lowered(std::string_view text);
/// `text` with control characters (as in odd file names) replaced by '?', so that it stays one
/// line.
[[nodiscard]] std::string oneLine(std::string_view text);
/// A name of unknown origin for a message: one line, cut to `kLongestShown` bytes.
[[nodiscard]] std::string shownName(std::string_view name);
inline constexpr std::size_t kLongestShown = 64;
/// `text` with every byte that is not part of a UTF-8 character replaced by U+FFFD.
[[nodiscard]] std::string validUtf8(std::string_view text);
/// `text` padded with blanks to `width` characters; `paddedLeft` puts the blanks before it.
[[nodiscard]] std::string padded(std::string text, std::size_t width);
[[nodiscard]] std::string paddedLeft(const std::string& text, std::size_t width);
/// A line of a report: the label in its column, then the text.
[[nodiscard]] std::string reportRow(const std::string& label, const std::string& text);
