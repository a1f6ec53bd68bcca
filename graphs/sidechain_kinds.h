#pragma once

#include <cstdint>
#include <span>
#include <string_view>

// What the three filters of a sidechain may be. Pure functions.

namespace sidechain_kinds {

inline constexpr int kFilters = 3;  // low, middle, high

enum class Kind : std::uint8_t {
  kHighPass,
  kLowShelf,
  kPeak,
  kBandPass,
  kNotch,  ///< a peak whose gain is at its lower end
  kLowPass,
  kHighShelf,
};

/// `isSecond`: of the filter's two types, which for the low and the high one is the shelf.
[[nodiscard]] Kind kindOf(int filter, bool isSecond, bool isGainLeast) noexcept;
[[nodiscard]] bool isSecondType(Kind kind) noexcept;
/// Whether the gain of the filter is heard.
[[nodiscard]] bool hasGain(Kind kind) noexcept;
/// In a menu.
[[nodiscard]] std::span<const Kind> kindsOf(int filter) noexcept;
[[nodiscard]] std::string_view menuText(Kind kind) noexcept;
/// Beside a handle.
[[nodiscard]] std::string_view label(Kind kind) noexcept;

}  // namespace sidechain_kinds
