#pragma once

#include <cstdint>

/// Measures of the view toolkit: unzoomed pixels of a window, x to the right and y down.

struct CPoint {
  float x = 0.0F;
  float y = 0.0F;

  constexpr bool operator==(const CPoint&) const = default;
  constexpr CPoint operator+(CPoint by) const { return {x + by.x, y + by.y}; }
  constexpr CPoint operator-(CPoint by) const { return {x - by.x, y - by.y}; }
};

/// `right` and `bottom` lie outside; empty where they do not exceed `left` and `top`.
struct CRect {
  float left = 0.0F;
  float top = 0.0F;
  float right = 0.0F;
  float bottom = 0.0F;

  constexpr bool operator==(const CRect&) const = default;
  [[nodiscard]] constexpr float width() const { return right - left; }
  [[nodiscard]] constexpr float height() const { return bottom - top; }
  [[nodiscard]] constexpr bool isEmpty() const { return right <= left || bottom <= top; }
  [[nodiscard]] constexpr CPoint topLeft() const { return {left, top}; }
  [[nodiscard]] constexpr CPoint centre() const {
    return {(left + right) * 0.5F, (top + bottom) * 0.5F};
  }
  [[nodiscard]] constexpr bool contains(CPoint point) const {
    return point.x >= left && point.x < right && point.y >= top && point.y < bottom;
  }
  [[nodiscard]] constexpr CRect movedBy(float x, float y) const {
    return {left + x, top + y, right + x, bottom + y};
  }
  [[nodiscard]] constexpr CRect movedBy(CPoint by) const { return movedBy(by.x, by.y); }
  /// Each edge moved inwards.
  [[nodiscard]] constexpr CRect inset(float x, float y) const {
    return {left + x, top + y, right - x, bottom - y};
  }
  /// What both cover; empty where they do not meet.
  [[nodiscard]] constexpr CRect cutTo(const CRect& other) const {
    const auto least = [](float a, float b) { return a < b ? a : b; };
    const auto most = [](float a, float b) { return a > b ? a : b; };
    return {most(left, other.left), most(top, other.top), least(right, other.right),
            least(bottom, other.bottom)};
  }
};

/// Whole device pixels that a length fills, at least one. A scale that was worked out from them
/// gives them again, though a float holds it only nearly.
[[nodiscard]] constexpr int devicePixels(float length, float scale) {
  constexpr double kAsFloat = 1.0 + 2e-7;
  const double whole = static_cast<double>(length) * static_cast<double>(scale) * kAsFloat;
  return whole < 1.0 ? 1 : static_cast<int>(whole);
}

/// Not premultiplied.
struct CColor {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
  std::uint8_t alpha = 255;

  constexpr bool operator==(const CColor&) const = default;
  /// From 0xRRGGBB.
  static constexpr CColor rgb(std::uint32_t code, std::uint8_t alpha = 255) {
    return {static_cast<std::uint8_t>(code >> 16), static_cast<std::uint8_t>(code >> 8),
            static_cast<std::uint8_t>(code), alpha};
  }
};

/// From one colour to another, `share` from 0 to 1.
[[nodiscard]] constexpr CColor mix(CColor from, CColor to, float share) {
  constexpr int kWhole = 256;
  const int weight = static_cast<int>(share * static_cast<float>(kWhole));
  const auto between = [weight](int a, int b) {
    return static_cast<std::uint8_t>((a * (kWhole - weight) + b * weight + kWhole / 2) / kWhole);
  };
  return {between(from.red, to.red), between(from.green, to.green), between(from.blue, to.blue),
          between(from.alpha, to.alpha)};
}

inline constexpr CColor kBlackCColor{0, 0, 0, 255};
inline constexpr CColor kWhiteCColor{255, 255, 255, 255};
inline constexpr CColor kTransparentCColor{0, 0, 0, 0};
