#pragma once

#include <cstdint>
#include <string_view>

/// What decides how some entries are read: the plain values of `kExtendedRatios` and
/// `kExtendedRanges`.
struct TypedValueRules {
  bool extendedRatios = false;
  int extendedRanges = 0;
};

/// The plain value that a user means by a text typed for a parameter, not kept within its range: by
/// the number that the text begins with, 0 where it begins with none. A ratio is n of n:1, a
/// frequency below 20 counts in kHz, a dry gain in dB, and limits are those that are shown. Any
/// thread.
[[nodiscard]] float typedValue(std::int32_t parameter, std::string_view text,
                               const TypedValueRules& rules);
