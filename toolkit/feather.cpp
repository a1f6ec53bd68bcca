#include "toolkit/feather.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

constexpr float kFeather = 0.5F;      // on either side of an edge
constexpr float kLeastStep = 0.125F;  // between points of a way: below, its direction is noise
constexpr float kStraight = 0.04F;    // what a point may be off the line it is left out for

CPoint times(CPoint point, float factor) { return {point.x * factor, point.y * factor}; }
float dot(CPoint a, CPoint b) { return a.x * b.x + a.y * b.y; }
float cross(CPoint a, CPoint b) { return a.x * b.y - a.y * b.x; }
float lengthOf(CPoint a) { return std::hypot(a.x, a.y); }
CPoint unit(CPoint a) { return times(a, 1.0F / lengthOf(a)); }
/// A quarter turn from the x axis towards the y axis.
CPoint turned(CPoint a) { return {-a.y, a.x}; }

CColor faded(CColor colour, float strength) {
  colour.alpha =
      static_cast<std::uint8_t>(std::lround(static_cast<float>(colour.alpha) * strength));
  return colour;
}

}  // namespace

// Leaves out points that tell nothing new: those next to the one before, and those that lie as good
// as straight between two others. `least` and `most` are the directions, as seen from the last
// point kept, in which all points left out since pass within `kStraight`.
void FeatheredShape::simplify(std::span<const CPoint> points, bool isClosed) {
  path.clear();
  CPoint last;
  CPoint least;
  CPoint most;
  bool hasLast = false;
  const auto aim = [&](CPoint way, float distance) {
    const CPoint aside = times(turned(way), kStraight / distance);
    if (!hasLast || cross(least, way - aside) > 0.0F) least = way - aside;
    if (!hasLast || cross(most, way + aside) < 0.0F) most = way + aside;
  };
  for (const CPoint point : points) {
    if (path.empty()) path.push_back(point);
    const CPoint step = point - (hasLast ? last : path.back());
    if (lengthOf(step) < kLeastStep) continue;
    CPoint way = point - path.back();
    const bool isStraight = hasLast && cross(least, way) >= 0.0F && cross(most, way) <= 0.0F &&
                            dot(last - path.back(), step) > 0.0F;
    if (hasLast && !isStraight) {
      path.push_back(last);
      way = step;
      hasLast = false;
    }
    aim(way, lengthOf(way));
    last = point;
    hasLast = true;
  }
  // A way ends where it is told to, unless that is where the last piece begins.
  const bool endsApart = hasLast && lengthOf(points.back() - path.back()) >= kLeastStep;
  if (hasLast) path.push_back(endsApart && !isClosed ? points.back() : last);
  while (isClosed && path.size() > 1 && lengthOf(path.front() - path.back()) < kLeastStep) {
    path.pop_back();
  }
}

void FeatheredShape::stroke(std::span<const CPoint> points, float width, bool isClosed,
                            CColor colour) {
  for (auto& part : parts) part.clear();
  simplify(points, isClosed);
  const std::size_t count = path.size();
  if (count < 2) return;
  const float half = std::max(width, 1.0F) * 0.5F;
  inner = half - kFeather;
  outer = half + kFeather;
  const CColor shown = faded(colour, std::clamp(width, 0.0F, 1.0F));
  if (isClosed && count > 2) {
    for (std::size_t i = 0; i <= count; ++i) {
      const CPoint at = path[i % count];
      addJoint(at, at - path[(i + count - 1) % count], path[(i + 1) % count] - at, shown);
    }
    return;
  }
  const CPoint first = path[1] - path[0];
  const CPoint last = path[count - 1] - path[count - 2];
  const float firstFade = std::min(kFeather, lengthOf(first) * 0.5F);
  const float lastFade = std::min(kFeather, lengthOf(last) * 0.5F);
  addEnd(path[0] - times(unit(first), kFeather), first, 0.0F, shown);
  addEnd(path[0] + times(unit(first), firstFade), first, 1.0F, shown);
  for (std::size_t i = 1; i + 1 < count; ++i) {
    addJoint(path[i], path[i] - path[i - 1], path[i + 1] - path[i], shown);
  }
  addEnd(path[count - 1] - times(unit(last), lastFade), last, 1.0F, shown);
  addEnd(path[count - 1] + times(unit(last), kFeather), last, 0.0F, shown);
}

void FeatheredShape::addSection(const Section& section, CColor colour) {
  const CColor clear = faded(colour, 0.0F);
  const CColor full = faded(colour, section.strength);
  if (inner > 0.0F) {
    parts[0].push_back({section.rows[1], full});
    parts[0].push_back({section.rows[2], full});
  }
  parts[1].push_back({section.rows[0], clear});
  parts[1].push_back({section.rows[1], full});
  parts[2].push_back({section.rows[2], full});
  parts[2].push_back({section.rows[3], clear});
}

void FeatheredShape::addEnd(CPoint at, CPoint way, float strength, CColor colour) {
  const CPoint side = turned(unit(way));
  addSection({{at + times(side, outer), at + times(side, inner), at - times(side, inner),
               at - times(side, outer)},
              strength},
             colour);
}

void FeatheredShape::addJoint(CPoint at, CPoint before, CPoint after, CColor colour) {
  const CPoint way = unit(before);
  const CPoint next = unit(after);
  const float cosine = dot(way, next);
  if (cosine > -0.5F) {
    // Both sides meet on the line that halves the corner.
    const CPoint side = times(turned(way) + turned(next), 1.0F / (1.0F + cosine));
    addSection({{at + times(side, outer), at + times(side, inner), at - times(side, inner),
                 at - times(side, outer)},
                1.0F},
               colour);
    return;
  }
  // Outside the corner is cut off; inside both sides meet as far back as the shorter way reaches.
  const CPoint back = unit(next - way);
  const float factor = 1.0F / std::sqrt(std::max((1.0F + cosine) * 0.5F, 1e-6F));
  const float most = std::min(lengthOf(before), lengthOf(after));
  const auto within = [&](float distance) {
    return at + times(back, std::min(distance * factor, most));
  };
  const bool isFirstSideInside = cross(way, next) > 0.0F;
  for (const CPoint direction : {way, next}) {
    const CPoint side = turned(direction);
    if (isFirstSideInside) {
      addSection(
          {{within(outer), within(inner), at - times(side, inner), at - times(side, outer)}, 1.0F},
          colour);
    } else {
      addSection(
          {{at + times(side, outer), at + times(side, inner), within(inner), within(outer)}, 1.0F},
          colour);
    }
  }
}

void FeatheredShape::fill(std::span<const CPoint> corners, CColor colour) {
  for (auto& part : parts) part.clear();
  simplify(corners, true);
  const std::size_t count = path.size();
  if (count < 3) return;
  float area = 0.0F;
  float around = 0.0F;
  for (std::size_t i = 0; i < count; ++i) {
    area += cross(path[i], path[(i + 1) % count]) * 0.5F;
    around += lengthOf(path[(i + 1) % count] - path[i]);
  }
  // No further than to the middle of a narrow one.
  const float inset = std::min(kFeather, 1.8F * std::fabs(area) / around);
  const float outward = area > 0.0F ? -1.0F : 1.0F;
  const CColor clear = faded(colour, 0.0F);
  std::vector<CVertex>& edge = parts[1];
  for (std::size_t i = 0; i < count; ++i) {
    const CPoint way = unit(path[i] - path[(i + count - 1) % count]);
    const CPoint next = unit(path[(i + 1) % count] - path[i]);
    const float cosine = std::max(dot(way, next), -0.75F);
    const CPoint side = times(turned(way) + turned(next), outward / (1.0F + cosine));
    edge.push_back({path[i] + times(side, kFeather), clear});
    edge.push_back({path[i] - times(side, inset), colour});
  }
  // To and fro between both halves of the outline.
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t index = i % 2 == 0 ? (count - i / 2) % count : (i + 1) / 2;
    parts[0].push_back(edge[2 * index + 1]);
  }
  edge.push_back(edge[0]);
  edge.push_back(edge[1]);
}
