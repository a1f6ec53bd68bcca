#pragma once

#include <span>
#include <vector>

#include "toolkit/geometry.h"

/// A corner of a triangle with the colour it has there.
struct CVertex {
  CPoint at;
  CColor colour;
};

/// Lines and areas as strips of triangles whose outermost pixel fades to nothing, which smooths
/// them without help of the driver. The strips of a shape meet without overlap. In device pixels.
class FeatheredShape {
 public:
  /// A line, half of `width` on either side of the way. Below one pixel it gets paler instead of
  /// thinner. Corners of more than 120 degrees are cut off.
  void stroke(std::span<const CPoint> points, float width, bool isClosed, CColor colour);
  /// The inside of a convex outline.
  void fill(std::span<const CPoint> corners, CColor colour);

  /// Strips of triangles, some of them empty.
  [[nodiscard]] std::span<const std::vector<CVertex>> strips() const noexcept { return parts; }

 private:
  /// Where a line's edges and core begin and end, across its way.
  struct Section {
    CPoint rows[4];
    float strength;
  };
  void simplify(std::span<const CPoint> points, bool isClosed);
  void addSection(const Section& section, CColor colour);
  void addEnd(CPoint at, CPoint way, float strength, CColor colour);
  void addJoint(CPoint at, CPoint before, CPoint after, CColor colour);

  std::vector<CVertex> parts[3];  // core, edge, other edge
  std::vector<CPoint> path;
  float inner = 0.0F;  // from the way to the end of the core
  float outer = 0.0F;  // and to that of the edge
};
