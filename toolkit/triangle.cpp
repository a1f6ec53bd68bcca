#include "toolkit/triangle.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "toolkit/pixels.h"

namespace {

// Corners stand on a grid of this many places per pixel, so that sums are exact.
constexpr std::int64_t kGrid = 256;
constexpr float kFurthest = 1.0e6F;

std::int64_t onGrid(float coordinate) { return std::llround(coordinate * kGrid); }

std::int64_t floorOf(std::int64_t dividend, std::int64_t divisor) {
  const std::int64_t quotient = dividend / divisor;
  return quotient * divisor > dividend ? quotient - 1 : quotient;
}

std::array<float, 4> channelsOf(CColor colour) {
  const float alpha = static_cast<float>(colour.alpha) / 255.0F;
  return {static_cast<float>(colour.blue) * alpha, static_cast<float>(colour.green) * alpha,
          static_cast<float>(colour.red) * alpha, static_cast<float>(colour.alpha)};
}

}  // namespace

Triangle::Triangle(const CVertex& a, const CVertex& b, const CVertex& c) {
  for (const CVertex* vertex : {&a, &b, &c}) {
    // What is no number fails as well.
    if (!(std::fabs(vertex->at.x) < kFurthest && std::fabs(vertex->at.y) < kFurthest)) return;
  }
  struct Place {
    std::int64_t x, y;
  };
  std::array<Place, 3> places{{{onGrid(a.at.x), onGrid(a.at.y)},
                               {onGrid(b.at.x), onGrid(b.at.y)},
                               {onGrid(c.at.x), onGrid(c.at.y)}}};
  const std::int64_t twice = (places[1].x - places[0].x) * (places[2].y - places[0].y) -
                             (places[2].x - places[0].x) * (places[1].y - places[0].y);
  if (twice == 0) return;
  if (twice < 0) std::swap(places[1], places[2]);
  const auto [low, high] = std::minmax({places[0].y, places[1].y, places[2].y});
  first = static_cast<int>(floorOf(low, kGrid));
  last = static_cast<int>(floorOf(high, kGrid));
  for (std::size_t i = 0; i < 3; ++i) {
    const Place from = places[i];
    const Place to = places[(i + 1) % 3];
    const std::int64_t dx = to.x - from.x;
    const std::int64_t dy = to.y - from.y;
    // A middle that lies on an edge belongs to the triangle to the right of it or below it.
    const bool isIncluded = dy < 0 || (dy == 0 && dx > 0);
    const std::int64_t atOrigin =
        dx * (kGrid / 2 - from.y) - dy * (kGrid / 2 - from.x) - (isIncluded ? 0 : 1);
    edges[i] = {atOrigin, -dy * kGrid, dx * kGrid};
  }

  isFlat = a.colour == b.colour && b.colour == c.colour;
  origin = a.at;
  colour = channelsOf(a.colour);
  if (isFlat) return;
  const std::array<float, 4> second = channelsOf(b.colour);
  const std::array<float, 4> third = channelsOf(c.colour);
  const CPoint ab = b.at - a.at;
  const CPoint ac = c.at - a.at;
  const float area = ab.x * ac.y - ac.x * ab.y;
  for (std::size_t k = 0; k < 4; ++k) {
    const float toSecond = second[k] - colour[k];
    const float toThird = third[k] - colour[k];
    alongX[k] = (toSecond * ac.y - toThird * ab.y) / area;
    alongY[k] = (toThird * ab.x - toSecond * ac.x) / area;
  }
}

void Triangle::cut(int row, int& left, int& right) const noexcept {
  std::int64_t from = left;
  std::int64_t to = right;
  for (const Edge& edge : edges) {
    const std::int64_t start = edge.start + edge.perRow * row;
    if (edge.perColumn > 0) {
      from = std::max(from, -floorOf(start, edge.perColumn));
    } else if (edge.perColumn < 0) {
      to = std::min(to, floorOf(start, -edge.perColumn) + 1);
    } else if (start < 0) {
      to = from;
    }
  }
  left = static_cast<int>(from);
  right = static_cast<int>(std::max(from, to));
}

std::array<float, 4> Triangle::colourAt(int x, int y) const noexcept {
  const float right = static_cast<float>(x) + 0.5F - origin.x;
  const float down = static_cast<float>(y) + 0.5F - origin.y;
  std::array<float, 4> result{};
  for (std::size_t k = 0; k < 4; ++k) result[k] = colour[k] + alongX[k] * right + alongY[k] * down;
  return result;
}
