#include "graphs/hover_bar.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace hover_bar {

namespace {

constexpr float kInner = 3.0F;  // from the bar's edge to its boxes
constexpr float kGap = 2.0F;
constexpr float kBoxHeight = 18.0F;
constexpr float kSignWidth = 20.0F;
constexpr float kTitleWidth = 22.0F;
constexpr float kPadding = 14.0F;  // what a box is wider than its text
constexpr float kLeastRow = 150.0F;

float boxWidth(float text) { return std::ceil(text) + kPadding; }

/// Boxes beside each other from the bar's left edge on.
class Row {
 public:
  explicit Row(float upper) : top(upper) {}

  CRect add(float width) {
    const CRect box{x, top, x + width, top + kBoxHeight};
    x = box.right + kGap;
    return box;
  }
  [[nodiscard]] float end() const { return x - kGap + kInner; }

 private:
  float top;
  float x = kInner;
};

Layout crossoverLayout(const Widths& widths) {
  Layout made;
  made.boxes.fill(kNoBox);
  Row row(kInner);
  made.boxes[kTitle] = row.add(boxWidth(widths.title));
  const float slope = widths.values[kSlope - kFrequency];
  if (slope > 0.0F) made.boxes[kSlope] = row.add(boxWidth(slope));
  made.size = {row.end(), kBoxHeight + 2.0F * kInner};
  return made;
}

// What a place costs beyond its distance.
constexpr float kPerHandle = 200.0F;
constexpr float kBelow = 6.0F;
constexpr float kBeside = 12.0F;
constexpr float kDiscRoom = 12.0F;
constexpr float kRingRoom = 5.0F;
constexpr float kNearest = 18.0F;
constexpr int kSteps = 16;
constexpr float kNowhere = 1e9F;
constexpr float kStep = 7.0F;
constexpr float kFromEdge = 6.0F;
constexpr float kFromBottom = 52.0F;

float covered(const CRect& bar, std::span<const CPoint> points, float room) {
  const CRect wide = bar.inset(-room, -room);
  return static_cast<float>(std::ranges::count_if(points, [&](CPoint point) {
    return point.x > wide.left && point.x < wide.right && point.y > wide.top &&
           point.y < wide.bottom;
  }));
}

}  // namespace

Layout layoutOf(const Content& content, const Widths& widths) {
  if (content.isCrossover) return crossoverLayout(widths);
  Layout made;
  made.boxes.fill(kNoBox);
  float fields = -kGap;
  int count = 0;
  for (const float text : widths.values) {
    if (text <= 0.0F) continue;
    fields += boxWidth(text) + kGap;
    ++count;
  }
  const float width = std::max(fields, kLeastRow);
  Row first(kInner);
  made.boxes[kPower] = first.add(kSignWidth);
  made.boxes[kTitle] = first.add(kTitleWidth);
  made.boxes[kKind] = first.add(width - 2.0F * kSignWidth - kTitleWidth - 3.0F * kGap);
  made.boxes[kDelete] = first.add(kSignWidth);
  Row second(kInner + kBoxHeight + kGap);
  const float spare = count > 0 ? (width - fields) / static_cast<float>(count) : 0.0F;
  for (std::size_t i = 0; i < widths.values.size(); ++i) {
    if (widths.values[i] <= 0.0F) continue;
    made.boxes[kFrequency + i] = second.add(boxWidth(widths.values[i]) + spare);
  }
  made.size = {width + 2.0F * kInner, 2.0F * kBoxHeight + kGap + 2.0F * kInner};
  return made;
}

int boxAt(const Boxes& boxes, CPoint point) {
  int found = -1;
  for (std::size_t i = 0; i < boxes.size(); ++i) {
    const CRect& box = boxes[i];
    if (point.x >= box.left && point.x <= box.right && point.y >= box.top &&
        point.y <= box.bottom) {
      found = static_cast<int>(i);
    }
  }
  return found;
}

CPoint placeOf(CPoint handle, CPoint size, const Surroundings& around) {
  const float furthest = std::max(kFromEdge, around.plot.x - kFromEdge - size.x);
  const float besides[] = {handle.x - size.x * 0.5F, handle.x - 14.0F - size.x, handle.x + 14.0F};
  CPoint best{std::clamp(besides[0], kFromEdge, furthest), kFromEdge};
  float least = kNowhere;
  const auto offer = [&](float x, float y, float cost) {
    if (y < kFromEdge || y + size.y > around.plot.y - kFromBottom) return;
    const CRect bar{x, y, x + size.x, y + size.y};
    cost += (covered(bar, around.discs, kDiscRoom) + covered(bar, around.rings, kRingRoom)) *
            kPerHandle;
    if (cost >= least) return;
    least = cost;
    best = {x, y};
  };
  for (const float side : besides) {
    const float x = std::clamp(side, kFromEdge, furthest);
    const float aside = side == besides[0] ? 0.0F : kBeside;
    for (int step = 0; step < kSteps; ++step) {
      const float gap = kNearest + static_cast<float>(step) * kStep;
      offer(x, handle.y - gap - size.y, gap + aside);
      offer(x, handle.y + gap, gap + aside + kBelow);
    }
  }
  return {std::round(best.x), std::round(best.y)};
}

}  // namespace hover_bar
