#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <vector>

#include "toolkit/draw_context.h"
#include "toolkit/geometry.h"

/// The panel of a plot: brighter towards the top by up to `glow`, of 255. Square; `drawPlotEdge`
/// makes its corners round.
void drawPlotGround(CDrawContext& context, const CRect& plot, int glow);
/// The line round it, over what is drawn in it.
void drawPlotEdge(CDrawContext& context, const CRect& plot);

/// Draws curves over the columns of a plot: lines, and areas that fade from row to row. A curve is
/// a row for each column, in the coordinates of the view, beyond the plot's edges too; the last one
/// also stands at the right edge. Keeps its memory from curve to curve. Threads: as a view's
/// `draw`.
class CurvePainter {
 public:
  /// A part of an area: from row to row the opacity goes evenly from one value to the other.
  struct Fade {
    float top;
    float bottom;
    float topAlpha;  ///< 0..1
    float bottomAlpha;
  };

  /// For what follows: columns from the left edge of `place`, of which the outermost pixel stays
  /// free.
  void setPlot(const CRect& place) {
    left = place.left;
    right = place.right;
    plot = place.inset(1.0F, 1.0F);
  }

  /// The columns from `begin` up to and without `end`.
  void line(CDrawContext& context, std::span<const float> rows, float width, CColor colour,
            std::size_t begin, std::size_t end);
  void line(CDrawContext& context, std::span<const float> rows, float width, CColor colour) {
    line(context, rows, width, colour, 0, rows.size());
  }
  /// What lies below one curve and above another one, or above the lower edge; nothing where they
  /// are the other way round. Rows without a fade stay free.
  void fill(CDrawContext& context, std::span<const float> upper, std::span<const float> lower,
            CColor colour, std::span<const Fade> fades);

 private:
  void flush(CDrawContext& context, float width, CColor colour);
  void fillFade(CDrawContext& context, std::span<const float> upper, std::span<const float> lower,
                CColor colour, const Fade& fade);
  void flushFill(CDrawContext& context);
  void thinOut();

  struct Edges {
    float x;
    float upper;
    float lower;

    [[nodiscard]] bool isEmpty() const noexcept { return lower <= upper; }
  };
  /// The directions in which a straight line passes all points so far closely enough.
  struct Slopes {
    float least = -1e30F;
    float most = 1e30F;

    /// False where no line does that any more.
    bool take(float slope, float slack) noexcept {
      if (slope < least || slope > most) return false;
      least = std::max(least, slope - slack);
      most = std::min(most, slope + slack);
      return true;
    }
  };

  /// Where a column stands, or the right edge.
  [[nodiscard]] float xOf(std::size_t column, std::size_t count) const noexcept {
    return std::clamp(column < count ? left + static_cast<float>(column) : right, plot.left,
                      plot.right);
  }

  CRect plot;
  float left = 0.0F;
  float right = 0.0F;
  std::vector<CPoint> way;
  std::vector<CVertex> area;
  std::vector<Edges> edges;
  std::vector<std::size_t> kept;
};
