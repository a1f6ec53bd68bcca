#include "graphs/thick_curve.h"

#include <algorithm>
#include <cmath>

namespace {

CPoint times(CPoint point, float factor) { return {point.x * factor, point.y * factor}; }

/// From `from` to `to`, of length 1.
CPoint direction(CPoint from, CPoint to) {
  const CPoint way = to - from;
  return times(way, 1.0F / std::hypot(way.x, way.y));
}

CPoint leftOf(CPoint way) { return {way.y, -way.x}; }

/// From a corner to where the line's sides meet, of length 1 for a straight line.
CPoint mitre(CPoint before, CPoint after) {
  constexpr float kLongest = 10.0F;
  const float half = std::sqrt(std::max((1.0F + before.x * after.x + before.y * after.y) * 0.5F,
                                        0.0F));  // cosine of half the turn
  const CPoint middle = leftOf(before) + leftOf(after);
  const float length = std::hypot(middle.x, middle.y);
  // Straight back there is no middle.
  if (length < 1e-6F) return times(leftOf(before), kLongest);
  const float factor = half * kLongest > 1.0F ? 1.0F / half : kLongest;
  return times(middle, factor / length);
}

}  // namespace

void ThickCurve::set(std::span<const CVertex> points, float width, float pixel,
                     const CRect& within) {
  path.clear();
  for (auto& strip : strips) strip.clear();
  for (const CVertex& point : points) {
    if (path.empty() || point.at != path.back().at) path.push_back(point);
  }
  if (path.size() < 2) return;
  inner = std::max(width - pixel, 0.0F) * 0.5F;
  outer = inner + pixel;
  CPoint before = direction(path[0].at, path[1].at);
  for (std::size_t i = 0; i < path.size(); ++i) {
    const CPoint after = i + 1 < path.size() ? direction(path[i].at, path[i + 1].at) : before;
    addSection(path[i], mitre(before, after), within);
    before = after;
  }
}

void ThickCurve::addSection(const CVertex& point, CPoint aside, const CRect& within) {
  const auto beside = [&](float distance) -> CPoint {
    const CPoint at = point.at + times(aside, distance);
    return {std::clamp(at.x, within.left, within.right),
            std::clamp(at.y, within.top, within.bottom)};
  };
  CColor clear = point.colour;
  clear.alpha = 0;
  const CVertex left{beside(inner), point.colour};
  const CVertex right{beside(-inner), point.colour};
  strips[kCore].insert(strips[kCore].end(), {left, right});
  strips[kLeftEdge].insert(strips[kLeftEdge].end(), {{beside(outer), clear}, left});
  strips[kRightEdge].insert(strips[kRightEdge].end(), {right, {beside(-outer), clear}});
}

void drawThickCurve(CDrawContext& context, ThickCurve& curve, std::span<const CVertex> points,
                    float width, const CRect& within) {
  curve.set(points, width, 1.0F / context.getScale(), within);
  for (const auto part : {ThickCurve::kCore, ThickCurve::kLeftEdge, ThickCurve::kRightEdge}) {
    if (!curve.strip(part).empty()) context.drawTriangleStrip(curve.strip(part));
  }
}
