#pragma once

#include <concepts>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

// Numbers as text, the same in every locale.

/// `value` with `decimals` places; "-0.0" reads "0.0".
[[nodiscard]] std::string fixedText(double value, int decimals);
/// As `fixedText`, with a plus before positive values.
[[nodiscard]] std::string signedText(double value, int decimals);
/// The shortest text that reads back as the same number of that width.
[[nodiscard]] std::string shortestText(float value);
[[nodiscard]] std::string shortestText(double value);
/// "m:ss.mmm", or "h:mm:ss.mmm" from an hour on.
[[nodiscard]] std::string durationText(double seconds);

/// "1 file", "2 files".
[[nodiscard]] std::string countOf(std::integral auto count, const std::string& one,
                                  const std::string& many) {
  return std::to_string(count) + " " + (count == 1 ? one : many);
}

/// The whole of `text` as a finite number, blanks around it aside; an empty result if it is none.
[[nodiscard]] std::optional<double> finiteNumber(std::string_view text);

/// What files of text may begin with, in UTF-8.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
[[nodiscard]] std::string_view trimmed(std::string_view text);
/// ASCII letters made small.
[[nodiscard]] std::string lowered(std::string_view text);
/// Control characters (of a file's name, say) as '?', so that a message stays one line.
[[nodiscard]] std::string oneLine(std::string_view text);
/// A name of unknown origin for a message: one line, and cut where it is longer than
/// `kLongestShown` bytes.
[[nodiscard]] std::string shownName(std::string_view name);
inline constexpr std::size_t kLongestShown = 64;
/// `text` with U+FFFD for every byte that is not part of a UTF-8 character.
[[nodiscard]] std::string validUtf8(std::string_view text);
/// `text` filled up with blanks to `width` characters.
[[nodiscard]] std::string padded(std::string text, std::size_t width);
[[nodiscard]] std::string paddedLeft(const std::string& text, std::size_t width);
/// A line of a report: the label in a column of its own, then the text.
[[nodiscard]] std::string reportRow(const std::string& label, const std::string& text);
