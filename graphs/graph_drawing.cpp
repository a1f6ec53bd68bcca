#include "graphs/graph_drawing.h"

#include <algorithm>
#include <cstddef>

namespace {

CPoint crossing(CPoint inside, CPoint outside, float row) {
  const float share = (row - inside.y) / (outside.y - inside.y);
  return {inside.x + (outside.x - inside.x) * share, row};
}

}  // namespace

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
    const CPoint point{i < rows.size() ? plot.left + static_cast<float>(i) : plot.right,
                       rows[std::min(i, rows.size() - 1)]};
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

void CurvePainter::fillFade(CDrawContext& context, std::span<const float> upper,
                            std::span<const float> lower, CColor colour, const Fade& fade) {
  const float top = std::max(fade.top, plot.top);
  const float bottom = std::min(fade.bottom, plot.bottom);
  if (!(bottom > top) || upper.empty()) return;
  const float perRow = (fade.bottomAlpha - fade.topAlpha) / (fade.bottom - fade.top);
  const auto colourAt = [&](float y) {
    const float alpha = fade.topAlpha + (y - fade.top) * perRow;
    colour.alpha = static_cast<std::uint8_t>(std::clamp(alpha, 0.0F, 1.0F) * 255.0F + 0.5F);
    return colour;
  };
  area.clear();
  bool wasEmpty = true;
  CVertex skipped[2];
  for (std::size_t i = 0; i <= upper.size(); ++i) {
    const std::size_t column = std::min(i, upper.size() - 1);
    const float x = i < upper.size() ? plot.left + static_cast<float>(i) : plot.right;
    const float from = std::clamp(upper[column], top, bottom);
    const float to = lower.empty() ? bottom : std::clamp(lower[column], top, bottom);
    const bool isEmpty = to <= from;
    const CVertex pair[] = {{{x, from}, colourAt(from)}, {{x, isEmpty ? from : to}, {}}};
    const CVertex other{pair[1].at, colourAt(pair[1].at.y)};
    if (!isEmpty && wasEmpty && i > 0) area.insert(area.end(), skipped, skipped + 2);
    if (!isEmpty || !wasEmpty) {
      area.push_back(pair[0]);
      area.push_back(other);
    }
    if (isEmpty && !wasEmpty) flushFill(context);
    skipped[0] = pair[0];
    skipped[1] = other;
    wasEmpty = isEmpty;
  }
  flushFill(context);
}
