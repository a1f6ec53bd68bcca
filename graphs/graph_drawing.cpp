#include "graphs/graph_drawing.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "graphs/graph_grid.h"
#include "toolkit/look.h"

namespace {

constexpr float kOff = 0.12F;  // pixels

CPoint crossing(CPoint inside, CPoint outside, float row) {
  const float share = (row - inside.y) / (outside.y - inside.y);
  return {inside.x + (outside.x - inside.x) * share, row};
}

}  // namespace

void drawPlotGround(CDrawContext& context, const CRect& plot, int glow) {
  context.fillRect(plot, look::kPanel);
  if (glow <= 0) return;
  const float middle = (plot.top + plot.bottom) * 0.5F;
  const CColor bright =
      CColor::rgb(0xFFFFFF, static_cast<std::uint8_t>(graph_grid::glowOf(0, 1000, glow)));
  const CColor none = CColor::rgb(0xFFFFFF, 0);
  const CVertex corners[] = {{plot.topLeft(), bright},
                             {{plot.right, plot.top}, bright},
                             {{plot.left, middle}, none},
                             {{plot.right, middle}, none}};
  context.drawTriangleStrip(corners);
}

void drawPlotEdge(CDrawContext& context, const CRect& plot) {
  constexpr float kRadius = 3.0F;
  constexpr float kCut = 0.45F * kRadius;  // of the corner, which is black
  const float half = context.hairline() * 0.5F;
  context.setFrameColor(look::kBorder);
  context.setLineWidth(1.0F);
  context.drawRect(plot);
  context.setFillColor(look::kGround);
  for (const bool isRight : {false, true}) {
    for (const bool isBottom : {false, true}) {
      const CPoint tip{isRight ? plot.right : plot.left, isBottom ? plot.bottom : plot.top};
      const float x = isRight ? -1.0F : 1.0F;
      const float y = isBottom ? -1.0F : 1.0F;
      const CPoint cut[] = {
          tip, {tip.x + 1.9F * kCut * x, tip.y}, {tip.x, tip.y + 1.9F * kCut * y}};
      context.drawPolygon(cut, kDrawFilled);
      const CPoint way[] = {{tip.x + kRadius * x, tip.y + half * y},
                            {tip.x + kCut * x, tip.y + kCut * y},
                            {tip.x + half * x, tip.y + kRadius * y}};
      context.drawPath(way, context.hairline(), look::kBorder);
    }
  }
}

void CurvePainter::flush(CDrawContext& context, float width, CColor colour) {
  if (way.size() > 1) context.drawPath(way, width, colour);
  way.clear();
}

void CurvePainter::line(CDrawContext& context, std::span<const float> rows, float width,
                        CColor colour, std::size_t begin, std::size_t end) {
  way.clear();
  CPoint last;
  bool wasInside = false;
  const bool reachesEdge = end == rows.size();
  const auto edgeOf = [this](float y) { return y < plot.top ? plot.top : plot.bottom; };
  for (std::size_t i = begin; i < end + (reachesEdge ? 1 : 0); ++i) {
    const CPoint point{xOf(i, rows.size()), rows[std::min(i, rows.size() - 1)]};
    const bool isInside = point.y >= plot.top && point.y <= plot.bottom;
    if (isInside) {
      if (i > begin && !wasInside) way.push_back(crossing(point, last, edgeOf(last.y)));
      way.push_back(point);
    } else if (wasInside) {
      way.push_back(crossing(last, point, edgeOf(point.y)));
      flush(context, width, colour);
    }
    last = point;
    wasInside = isInside;
  }
  flush(context, width, colour);
}

void CurvePainter::fill(CDrawContext& context, std::span<const float> upper,
                        std::span<const float> lower, CColor colour, std::span<const Fade> fades) {
  for (const Fade& fade : fades) fillFade(context, upper, lower, colour, fade);
}

void CurvePainter::flushFill(CDrawContext& context) {
  if (area.size() > 2) context.drawTriangleStrip(area);
  area.clear();
}

/// The columns that an area needs to keep both of its edges within `kOff` of where they are.
void CurvePainter::thinOut() {
  kept.clear();
  if (edges.empty()) return;
  const auto last = edges.size() - 1;
  std::size_t from = 0;
  Slopes upper;
  Slopes lower;
  kept.push_back(0);
  for (std::size_t i = 1; i <= last; ++i) {
    // At an edge of the plot two columns may share a place.
    const float step = std::max(edges[i].x - edges[from].x, 0.01F);
    const bool goesOn = upper.take((edges[i].upper - edges[from].upper) / step, kOff / step) &&
                        lower.take((edges[i].lower - edges[from].lower) / step, kOff / step) &&
                        edges[i].isEmpty() == edges[from].isEmpty();
    if (goesOn) continue;
    // The one before ends the straight part.
    if (i - 1 > from) {
      kept.push_back(i - 1);
      from = i - 1;
      --i;
    } else {
      kept.push_back(i);
      from = i;
    }
    upper = lower = {};
  }
  if (kept.back() != last) kept.push_back(last);
}

void CurvePainter::fillFade(CDrawContext& context, std::span<const float> upper,
                            std::span<const float> lower, CColor colour, const Fade& fade) {
  const float top = std::max(fade.top, plot.top);
  const float bottom = std::min(fade.bottom, plot.bottom);
  if (!(bottom > top) || upper.empty()) return;
  edges.clear();
  for (std::size_t i = 0; i <= upper.size(); ++i) {
    const std::size_t column = std::min(i, upper.size() - 1);
    const float from = std::clamp(upper[column], top, bottom);
    const float to = lower.empty() ? bottom : std::clamp(lower[column], top, bottom);
    edges.push_back({xOf(i, upper.size()), from, std::max(from, to)});
  }
  thinOut();
  const float perRow = (fade.bottomAlpha - fade.topAlpha) / (fade.bottom - fade.top);
  const auto add = [&](float x, float y) {
    const float alpha = fade.topAlpha + (y - fade.top) * perRow;
    colour.alpha = static_cast<std::uint8_t>(std::lround(std::clamp(alpha, 0.0F, 1.0F) * 255.0F));
    area.push_back({{x, y}, colour});
  };
  area.clear();
  for (std::size_t k = 0; k < kept.size(); ++k) {
    const Edges& at = edges[kept[k]];
    const bool isBegin = k + 1 < kept.size() && !edges[kept[k + 1]].isEmpty();
    if (at.isEmpty() && !isBegin && area.empty()) continue;
    add(at.x, at.upper);
    add(at.x, at.lower);
    if (at.isEmpty() && !isBegin) flushFill(context);
  }
  flushFill(context);
}
