#include "toolkit/coverage.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

void Coverage::begin(const CRect& bounds, int pictureWidth, int pictureHeight) {
  const CRect cut = bounds.cutTo(
      {0.0F, 0.0F, static_cast<float>(pictureWidth), static_cast<float>(pictureHeight)});
  // Written so that no comparison holds for what is no number.
  const bool isThere = cut.left < cut.right && cut.top < cut.bottom;
  originX = isThere ? static_cast<int>(std::floor(cut.left)) : 0;
  originY = isThere ? static_cast<int>(std::floor(cut.top)) : 0;
  columns = isThere ? static_cast<int>(std::ceil(cut.right)) - originX : 0;
  rows = isThere ? static_cast<int>(std::ceil(cut.bottom)) - originY : 0;
  sums.assign(static_cast<std::size_t>(columns + 2) * static_cast<std::size_t>(rows), 0.0F);
}

void Coverage::add(std::span<const CPoint> outline) {
  if (outline.size() < 3 || rows == 0) return;
  const CPoint origin{static_cast<float>(originX), static_cast<float>(originY)};
  CPoint from = outline.back() - origin;
  for (const CPoint point : outline) {
    const CPoint to = point - origin;
    addEdge(from, to);
    from = to;
  }
}

// Cuts an edge where it leaves the columns: what is to the left covers all of a row, what is to the
// right nothing.
void Coverage::addEdge(CPoint from, CPoint to) {
  if (!std::isfinite(from.x + from.y + to.x + to.y) || from.y == to.y) return;
  const float direction = from.y < to.y ? 1.0F : -1.0F;
  if (from.y > to.y) std::swap(from, to);
  const float limit = static_cast<float>(columns);
  const auto at = [&](float x) {
    return CPoint{x, from.y + (to.y - from.y) * (x - from.x) / (to.x - from.x)};
  };
  CPoint cuts[4] = {from};
  int count = 1;
  const float first = from.x < to.x ? 0.0F : limit;
  for (const float x : {first, limit - first}) {
    if ((from.x < x) != (to.x < x)) cuts[count++] = at(x);
  }
  cuts[count] = to;
  for (int i = 0; i < count; ++i) {
    CPoint a = cuts[i];
    CPoint b = cuts[i + 1];
    a.x = std::clamp(a.x, 0.0F, limit);
    b.x = std::clamp(b.x, 0.0F, limit);
    b.y = std::max(a.y, b.y);
    addPiece(a, b, direction);
  }
}

void Coverage::addPiece(CPoint from, CPoint to, float direction) {
  const float top = std::max(from.y, 0.0F);
  const float bottom = std::min(to.y, static_cast<float>(rows));
  if (!(top < bottom)) return;
  const float slope = (to.x - from.x) / (to.y - from.y);
  const float least = std::min(from.x, to.x);
  const float most = std::max(from.x, to.x);
  const auto xAt = [&](float y) { return std::clamp(from.x + (y - from.y) * slope, least, most); };
  const int last = static_cast<int>(std::ceil(bottom));
  for (int row = static_cast<int>(top); row < last; ++row) {
    const float y0 = std::max(top, static_cast<float>(row));
    const float y1 = std::min(bottom, static_cast<float>(row + 1));
    const auto start = static_cast<std::size_t>(row) * static_cast<std::size_t>(columns + 2);
    addInRow(sums.data() + start, xAt(y0), xAt(y1), direction * (y1 - y0));
  }
}

// `area`: height of the edge within the row, signed by its direction. Each pixel gets the part of
// it that lies to the right of the edge.
void Coverage::addInRow(float* cells, float x0, float x1, float area) {
  if (x0 > x1) std::swap(x0, x1);
  const float firstEdge = std::floor(x0);
  const int first = static_cast<int>(firstEdge);
  const int last = static_cast<int>(std::ceil(x1));
  if (last <= first + 1) {
    const float right = (x0 + x1) * 0.5F - firstEdge;
    cells[first] += area * (1.0F - right);
    cells[first + 1] += area * right;
    return;
  }
  // The share grows as the square in the first and last pixel, in a straight line between.
  const float perPixel = area / (x1 - x0);
  float done = 0.0F;
  for (int x = first; x < last; ++x) {
    const float pixelStart = static_cast<float>(x);
    const float from = std::max(x0, pixelStart);
    const float to = std::min(x1, pixelStart + 1.0F);
    const float middle = (from + to) * 0.5F - pixelStart;
    const float part = perPixel * (to - from);
    cells[x] += part * (1.0F - middle) + done;
    done = part * middle;
  }
  cells[last] += done;
}

std::span<const float> Coverage::shares(int row) {
  float* const cells =
      sums.data() + static_cast<std::size_t>(row) * static_cast<std::size_t>(columns + 2);
  float sum = 0.0F;
  for (int x = 0; x < columns; ++x) {
    sum += cells[x];
    cells[x] = std::min(std::fabs(sum), 1.0F);
  }
  return {cells, static_cast<std::size_t>(columns)};
}
