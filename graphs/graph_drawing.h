#pragma once

#include <span>
#include <vector>

#include "toolkit/draw_context.h"
#include "toolkit/geometry.h"

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

  /// For what follows. Nothing reaches beyond `place`.
  void setPlot(const CRect& place) { plot = place; }
  [[nodiscard]] const CRect& getPlot() const noexcept { return plot; }

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

  CRect plot;
  std::vector<CPoint> way;
  std::vector<CVertex> area;
};
