#pragma once

#include "toolkit/geometry.h"

/// What the two small graphs of a band have in common.
namespace small_graph {

inline constexpr float kFrame = 2.0F;   // from the edge to the frame
inline constexpr float kInside = 3.0F;  // and to what lies in it
inline constexpr float kDot = 3.5F;     // radius

[[nodiscard]] constexpr CRect around(CPoint centre, float radius) {
  return {centre.x - radius, centre.y - radius, centre.x + radius, centre.y + radius};
}

}  // namespace small_graph
