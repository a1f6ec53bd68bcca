#pragma once

#include <array>

#include "toolkit/geometry.h"
#include "toolkit/look.h"

/// The colours of the bands, by band. Nothing else of the surface is coloured by them, and the
/// number of the band stands beside them wherever they are.
namespace band_hues {

inline constexpr int kBands = 8;
inline constexpr std::array<CColor, kBands> kHues = {
    CColor::rgb(0xDC9A5A), CColor::rgb(0x66E7F4), CColor::rgb(0xD66363), CColor::rgb(0xEDD053),
    CColor::rgb(0xAF789D), CColor::rgb(0xB4DF9E), CColor::rgb(0xBBA4FF), CColor::rgb(0x1EBC91)};

/// What is selected, and signs of the band: its number, its power, its gain.
[[nodiscard]] constexpr CColor full(int band) { return kHues[static_cast<std::size_t>(band)]; }
/// Curves of what is not selected.
[[nodiscard]] constexpr CColor dim(int band) { return mix(full(band), look::kPanel, 0.30F); }
/// Bodies under curves.
[[nodiscard]] constexpr CColor deep(int band, bool isSelected) {
  return mix(full(band), look::kPanel, isSelected ? 0.55F : 0.66F);
}
/// `opacity`: 0 to 1.
[[nodiscard]] constexpr CColor withOpacity(CColor colour, float opacity) {
  colour.alpha = mix(kTransparentCColor, kBlackCColor, opacity).alpha;
  return colour;
}
[[nodiscard]] constexpr CColor faint(int band, float opacity) {
  return withOpacity(full(band), opacity);
}

}  // namespace band_hues
