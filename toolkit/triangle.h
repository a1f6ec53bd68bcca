#pragma once

#include <array>
#include <cstdint>

#include "toolkit/feather.h"

/// Which pixels a triangle covers by OpenGL's rule: those whose middle it holds, and of two
/// triangles with a common edge only one; and which colours they have.
class Triangle {
 public:
  Triangle(const CVertex& a, const CVertex& b, const CVertex& c);

  [[nodiscard]] bool isEmpty() const noexcept { return last < first; }
  /// Rows that it may cover.
  [[nodiscard]] int firstRow() const noexcept { return first; }
  [[nodiscard]] int lastRow() const noexcept { return last; }
  /// Covered pixels of a row between `left` and `right`, which lies outside; both come closer.
  void cut(int row, int& left, int& right) const noexcept;

  [[nodiscard]] bool hasOneColour() const noexcept { return isFlat; }
  /// The colour's channels, 0 to 255 and premultiplied, from blue on, at a pixel's middle.
  [[nodiscard]] std::array<float, 4> colourAt(int x, int y) const noexcept;
  /// By how much they grow from a pixel to the next.
  [[nodiscard]] const std::array<float, 4>& colourStep() const noexcept { return alongX; }

 private:
  /// Not below 0 at the middle of pixels on the right side of an edge.
  struct Edge {
    std::int64_t start, perColumn, perRow;
  };

  int first = 0;
  int last = -1;
  bool isFlat = true;
  std::array<Edge, 3> edges{};
  CPoint origin;
  std::array<float, 4> colour{};
  std::array<float, 4> alongX{};
  std::array<float, 4> alongY{};
};
