#pragma once

#include <array>
#include <span>
#include <vector>

#include "toolkit/draw_context.h"
#include "toolkit/feather.h"

/// A line through points with mitred corners as three strips of triangles: its core, and on either
/// side an edge of one device pixel that fades to nothing.
class ThickCurve {
 public:
  /// `points`: each with its colour; one that repeats the one before it is left out. `width` in
  /// unzoomed pixels, `pixel` the size of a device pixel in these. What lies beyond `within` is
  /// pressed to its edges, where it covers nothing.
  void set(std::span<const CVertex> points, float width, float pixel, const CRect& within);

  enum Strip : std::uint8_t { kCore, kLeftEdge, kRightEdge };
  [[nodiscard]] std::span<const CVertex> strip(Strip which) const noexcept { return strips[which]; }

 private:
  void addSection(const CVertex& point, CPoint aside, const CRect& within);

  std::vector<CVertex> path;
  std::array<std::vector<CVertex>, 3> strips;
  float inner = 0.0F;  // from the way to the end of the core
  float outer = 0.0F;  // and to that of the edge
};

/// Draws `curve`, made anew from the other arguments; see `ThickCurve::set`.
void drawThickCurve(CDrawContext& context, ThickCurve& curve, std::span<const CVertex> points,
                    float width, const CRect& within);
