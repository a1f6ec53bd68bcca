#pragma once

#include <cstdint>

#include "toolkit/geometry.h"

/// Arithmetic on 32-bit pixels: blue in the lowest byte, then green, red and alpha, premultiplied.
namespace pixels {

/// `a * b / 255`, rounded.
[[nodiscard]] constexpr std::uint32_t product(std::uint32_t a, std::uint32_t b) noexcept {
  const std::uint32_t exact = a * b + 128;
  return (exact + (exact >> 8)) >> 8;
}

/// A share of 0 to 1 in 255ths, rounded.
[[nodiscard]] constexpr std::uint32_t weightOf(float share) noexcept {
  return (static_cast<std::uint32_t>(share * 510.0F) + 1) / 2;
}

[[nodiscard]] constexpr std::uint32_t alphaOf(std::uint32_t pixel) noexcept { return pixel >> 24; }

[[nodiscard]] constexpr std::uint32_t premultiplied(CColor colour) noexcept {
  const std::uint32_t alpha = colour.alpha;
  return alpha << 24 | product(colour.red, alpha) << 16 | product(colour.green, alpha) << 8 |
         product(colour.blue, alpha);
}

/// Each channel times `share` / 255; two channels in one multiplication.
[[nodiscard]] constexpr std::uint32_t scaled(std::uint32_t pixel, std::uint32_t share) noexcept {
  constexpr std::uint32_t kPair = 0x00FF00FFU;
  const std::uint32_t low = (pixel & kPair) * share + 0x00800080U;
  const std::uint32_t high = (pixel >> 8 & kPair) * share + 0x00800080U;
  return ((low + (low >> 8 & kPair)) >> 8 & kPair) | ((high + (high >> 8 & kPair)) & ~kPair);
}

/// What is seen of `below` through `above`.
[[nodiscard]] constexpr std::uint32_t over(std::uint32_t below, std::uint32_t above) noexcept {
  return above + scaled(below, 255 - alphaOf(above));
}

/// Each channel of one times that of the other.
[[nodiscard]] constexpr std::uint32_t tinted(std::uint32_t pixel, std::uint32_t tint) noexcept {
  std::uint32_t result = 0;
  for (int shift = 0; shift < 32; shift += 8) {
    result |= product(pixel >> shift & 255, tint >> shift & 255) << shift;
  }
  return result;
}

}  // namespace pixels
