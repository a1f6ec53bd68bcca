#pragma once

#include <cstdint>

/// Maps a normalised value to the user's number.
/// `normalised` is clamped to 0..1 (NaN counts as 0), the result to `min`..`max`. The arithmetic is
/// 64-bit on the 32-bit arguments; the result is rounded to 32 bits. An unknown curve gives 0,
/// clamped like any other result. Pure; any thread.
[[nodiscard]] float normalisedToPlain(float normalised, float min, float max,
                                      std::int32_t curve) noexcept;

/// Maps the user's number to a normalised value: `plain` is clamped to `min`..`max` (NaN counts as
/// `min`), the result to 0..1. Curves 4, 5 and 7 divide by the range plus 1, so that each whole
/// number owns an equal slice of 0..1. Pure; any thread.
[[nodiscard]] float plainToNormalised(float plain, float min, float max,
                                      std::int32_t curve) noexcept;
