#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/value_text.h"

/// A value that a text stands for.
struct ReadValue {
  float plain;     ///< within the parameter's range
  bool isOutside;  ///< the text stands for a value outside the range; `plain` is the nearest end
};

/// The inverse of `valueText`: what it writes reads back as a value that is shown by the same text,
/// also after its way through 0..1. Case and blanks do not matter, units may be left out, "k" is a
/// thousand, "s" a thousand ms, and frequencies may be notes ("A4+28"). A number alone is plain;
/// with a unit it counts as shown, so that the limits follow `kExtendedRanges`, and "-6 dB" of dry
/// gain is no percentage. Signs of limits do not matter, since they only follow the ratio. None if
/// the text is no value. Pure; any thread.
[[nodiscard]] std::optional<ReadValue> readValue(int index, std::string_view text,
                                                 const ParameterRecord& record,
                                                 const ValueTextContext& context);

/// The texts of a parameter that has only a few values, one apart, from the lowest on; empty for
/// all others. Any thread.
[[nodiscard]] std::vector<std::string> valueWords(int index, const ParameterRecord& record,
                                                  const ValueTextContext& context);

/// What texts a parameter has, for people: "XOVER, DYN EQ" or "-24.0dB to 24.0dB". Where texts are
/// no plain numbers, these with them: "-1 (1:2.00) to 1 (Inf:1), 0.8 is 5.00:1". Any thread.
[[nodiscard]] std::string valueRange(int index, const ParameterRecord& record,
                                     const ValueTextContext& context);

/// Whether the value of a parameter is a ratio above or below the threshold.
[[nodiscard]] bool isRatio(int index) noexcept;
