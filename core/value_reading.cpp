#include "core/value_reading.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <system_error>

#include "editing/parameter_ids.h"
#include "host/curves.h"

namespace {

using Number = std::optional<double>;

int rowOf(int index) { return isBandParameter(index) ? bandOneIdOf(index) : index; }

bool isLimit(int index) { return rowOf(index) == kB1Ceiling || rowOf(index) == kB1Floor; }

bool isFigure(char c) { return (c >= '0' && c <= '9') || c == '.'; }

/// In lower case and without blanks, except between two figures: "3 4" is not 34.
std::string cleaned(std::string_view text) {
  std::string result;
  bool afterBlank = false;
  for (const char c : text) {
    if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
      afterBlank = true;
      continue;
    }
    if (afterBlank && !result.empty() && isFigure(result.back()) && isFigure(c)) result += ' ';
    afterBlank = false;
    result += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return result;
}

/// Takes the number from the front of `text`; it may be infinite.
Number takeNumber(std::string_view& text) {
  std::string_view rest = text;
  if (rest.starts_with('+') && !rest.starts_with("+-")) rest.remove_prefix(1);
  double number = 0.0;
  const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), number);
  if (error != std::errc{}) return std::nullopt;
  text = rest.substr(static_cast<std::size_t>(end - rest.data()));
  return number;
}

Number bareNumber(std::string_view text) {
  const Number number = takeNumber(text);
  if (!number || !std::isfinite(*number)) return std::nullopt;
  if (text == "k") return *number * 1000.0;
  return text.empty() ? number : std::nullopt;
}

/// How many of the parameter's unit one of `unit` is; 0 if it is none of its units.
double unitSize(std::string_view unit, std::string_view label) {
  if (unit == cleaned(label)) return 1.0;
  if (label == "ms" && unit == "s") return 1000.0;
  if (label == "dB/Oct" && unit == "db") return 1.0;
  const bool isThousand = unit.starts_with('k') && unit.substr(1) == cleaned(label);
  return isThousand ? 1000.0 : 0.0;
}

/// The frequency of a note such as "c#4" or "bb3-12".
Number noteFrequency(std::string_view text) {
  constexpr std::string_view kLetters = "c.d.ef.g.a.b";
  constexpr int kA = 9;
  const std::size_t letter = text.empty() ? text.npos : kLetters.find(text.front());
  if (letter == text.npos || text.front() == '.') return std::nullopt;
  text.remove_prefix(1);
  int semitone = static_cast<int>(letter) - kA;
  if (text.starts_with('#')) ++semitone;
  if (text.starts_with('b')) --semitone;
  if (text.starts_with('#') || text.starts_with('b')) text.remove_prefix(1);
  int octave = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), octave);
  if (error != std::errc{}) return std::nullopt;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  const bool hasCents = text.starts_with('+') || text.starts_with('-');
  const Number cents = hasCents ? takeNumber(text) : Number(0.0);
  if (!cents || !text.empty()) return std::nullopt;
  return 440.0 * std::exp2(octave - 4.0 + (semitone + *cents * 0.01) / 12.0);
}

std::string shortest(float number) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

/// Reads the texts of one parameter.
class Reader {
 public:
  Reader(int parameter, const ParameterRecord& ofParameter, const ValueTextContext& ofValues)
      : index(parameter), record(ofParameter), context(ofValues) {}

  [[nodiscard]] std::optional<ReadValue> read(std::string_view given) const;
  [[nodiscard]] std::vector<std::string> words() const;
  [[nodiscard]] std::string range() const;

 private:
  [[nodiscard]] bool isChoice() const {
    constexpr float kMostSteps = 10.0F;
    return record.curve == kCurveSwitch ||
           (record.curve == kCurveWhole && record.max - record.min < kMostSteps);
  }
  [[nodiscard]] std::string text(float plain, bool asNote = false) const {
    return valueText(index, plain, record, context, asNote);
  }
  [[nodiscard]] float middle() const { return 0.5F * (record.min + record.max); }
  /// As a 32-bit number, as the ends of the range are.
  [[nodiscard]] bool isInside(double plain) const {
    constexpr double kBeyondAll = 1e30;
    const auto number = static_cast<float>(std::clamp(plain, -kBeyondAll, kBeyondAll));
    return number >= record.min && number <= record.max;
  }
  [[nodiscard]] bool isShownPlain(float plain) const;
  [[nodiscard]] Number word(std::string_view name) const;
  [[nodiscard]] Number ratio(std::string_view name) const;
  [[nodiscard]] Number quantity(std::string_view name) const;
  [[nodiscard]] std::optional<float> shownAs(float plain, const std::string& wanted,
                                             bool asNote) const;
  [[nodiscard]] std::optional<ReadValue> settled(double plain, const std::string& wanted = {},
                                                 bool asNote = false) const;

  int index;
  const ParameterRecord& record;
  const ValueTextContext& context;
};

std::vector<std::string> Reader::words() const {
  std::vector<std::string> all;
  if (!isChoice()) return all;
  for (float plain = record.min; plain <= record.max; plain += 1.0F) all.push_back(text(plain));
  return all;
}

/// A word of a choice, whose unit may be left out, or at the ends or in the middle of a range.
Number Reader::word(std::string_view name) const {
  const std::vector<std::string> all = words();
  for (std::size_t i = 0; i < all.size(); ++i) {
    const std::string known = cleaned(all[i]);
    if (known == name || (known.ends_with("db") && known.substr(0, known.size() - 2) == name)) {
      return static_cast<double>(record.min) + static_cast<double>(i);
    }
  }
  for (const float plain : {record.min, middle(), record.max}) {
    const std::string known = cleaned(text(plain));
    if (known == name && std::ranges::none_of(known, isFigure)) return static_cast<double>(plain);
  }
  return std::nullopt;
}

/// "a:b", in which either may be infinite; negative ratios compress beyond a flat line.
Number Reader::ratio(std::string_view name) const {
  const Number first = takeNumber(name);
  if (!first || !name.starts_with(':')) return std::nullopt;
  name.remove_prefix(1);
  const Number second = takeNumber(name);
  if (!second || !name.empty()) return std::nullopt;
  const double value = *first / *second;
  if (std::isnan(value)) return std::nullopt;
  if (value >= 0.0 && value < 1.0) return (value - 1.0) * (context.extendedRatios ? 1.0 : 2.0);
  const double share = 1.0 - 1.0 / value;
  return rowOf(index) == kB1Ratio && context.extendedRatios ? 0.5 * share : share;
}

/// A number with a unit, as it is shown.
Number Reader::quantity(std::string_view name) const {
  const Number number = takeNumber(name);
  if (!number || !std::isfinite(*number)) return std::nullopt;
  if (rowOf(index) == kB1DryGain && name == "db") return 100.0 * std::pow(10.0, *number * 0.05);
  const double size = unitSize(name, record.label);
  if (size == 0.0) return std::nullopt;
  if (isLimit(index)) return std::abs(*number) * size / rangeMultiplier(context.extendedRanges);
  return *number * size;
}

/// A value near `plain` that reads as `wanted` after its way through 0..1; none nearby.
std::optional<float> Reader::shownAs(float plain, const std::string& wanted, bool asNote) const {
  constexpr double kStep = 0x1p-24;  // between two floats below 1
  const double start =
      static_cast<double>(plainToNormalised(plain, record.min, record.max, record.curve));
  for (const int steps : {0, 1, -1, 2, -2}) {
    const auto position = static_cast<float>(start + steps * kStep);
    const float reached = normalisedToPlain(position, record.min, record.max, record.curve);
    if (cleaned(text(reached, asNote)) == wanted) return steps == 0 ? plain : reached;
  }
  return std::nullopt;
}

/// `plain` within the range, or a value beside it that is shown as `wanted`; at least one that is
/// shown as `plain` would be.
std::optional<ReadValue> Reader::settled(double plain, const std::string& wanted,
                                         bool asNote) const {
  if (!std::isfinite(plain)) return std::nullopt;
  const auto nearest = static_cast<float>(
      std::clamp(plain, static_cast<double>(record.min), static_cast<double>(record.max)));
  const auto exact = wanted.empty() ? std::nullopt : shownAs(nearest, wanted, asNote);
  if (exact) return ReadValue{*exact, false};
  const auto same = shownAs(nearest, cleaned(text(nearest)), false);
  return ReadValue{same.value_or(nearest), !isInside(plain)};
}

std::optional<ReadValue> Reader::read(std::string_view given) const {
  const std::string name = cleaned(given);
  Number number = bareNumber(name);
  if (number && isLimit(index)) number = std::abs(*number);
  if (number && (!isChoice() || isInside(*number))) return settled(*number);
  if (const Number plain = word(name)) return settled(*plain, name);
  if (number) return settled(*number);
  if (const Number plain = isRatio(index) ? ratio(name) : quantity(name)) {
    return settled(*plain, name);
  }
  const Number frequency =
      std::string_view(record.label) == "Hz" ? noteFrequency(name) : std::nullopt;
  return frequency ? settled(*frequency, name, true) : std::nullopt;
}

/// Whether the text of a plain value is that number and a unit, or nearly so on a curved scale.
bool Reader::isShownPlain(float plain) const {
  if (record.curve != kCurveLinear) return true;
  const std::string shown = text(plain);
  std::string_view figures = shown;
  return takeNumber(figures) == static_cast<double>(plain) && !figures.starts_with(':');
}

std::string Reader::range() const {
  std::string list;
  for (const std::string& name : words()) list += list.empty() ? name : ", " + name;
  if (!list.empty()) return list;
  const auto end = [this](float plain) {
    return isShownPlain(plain) ? text(plain) : shortest(plain) + " (" + text(plain) + ")";
  };
  constexpr float kSomeRatio = 0.8F;
  const float example = isRatio(index) ? kSomeRatio : middle();
  list = end(record.min) + " to " + end(record.max);
  return isShownPlain(example) ? list : list + ", " + shortest(example) + " is " + text(example);
}

}  // namespace

bool isRatio(int index) noexcept { return rowOf(index) == kB1Ratio || rowOf(index) == kB1RatioB; }

std::optional<ReadValue> readValue(int index, std::string_view text, const ParameterRecord& record,
                                   const ValueTextContext& context) {
  return Reader(index, record, context).read(text);
}

std::vector<std::string> valueWords(int index, const ParameterRecord& record,
                                    const ValueTextContext& context) {
  return Reader(index, record, context).words();
}

std::string valueRange(int index, const ParameterRecord& record, const ValueTextContext& context) {
  return Reader(index, record, context).range();
}
