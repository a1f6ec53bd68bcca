#include "editor/controls/rounded_frame.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr float kRadius = 3.0F;

}  // namespace

roundEdgedFrame::roundEdgedFrame(const CRect& rect, std::int32_t number, int page, int corners,
                                 CColor line, CColor ground)
    : nPage(rect, number, page), flags(corners), border(line), fill(ground) {}

void roundEdgedFrame::setColumn(const Column& other) {
  if (std::exchange(column, other) != other) invalid();
}

void roundEdgedFrame::setTopEdge(CColor colour) {
  if (std::exchange(topEdge, colour) != colour) invalid();
}

void roundEdgedFrame::drawBackgroundRect(CDrawContext& context, const CRect& /*part*/) {
  drawShape(context);
  if (column.side != Column::Side::kNone) drawColumn(context);
  context.fillRect({kRadius, 0.0F, size.width() - kRadius, context.hairline()}, topEdge);
}

void roundEdgedFrame::drawColumn(CDrawContext& context) {
  const bool isLeft = column.side == Column::Side::kLeft;
  const float hair = context.hairline();
  const float left = isLeft ? hair : size.width() - hair - column.width;
  const CRect whole{left, hair, left + column.width, size.height() - hair};
  columnShape.draw(context, whole, {kRadius - 1.0F, column.colour});
  // Round only where the panel is.
  CRect inner = whole;
  (isLeft ? inner.left : inner.right) += isLeft ? kRadius : -kRadius;
  context.fillRect(inner, column.colour);
}

void roundEdgedFrame::drawShape(CDrawContext& context) {
  const float scale = context.getScale();
  const CPoint origin = context.getOffset();
  // Both edges are rounded, where they lie in the window, never the width.
  const float left = std::round(origin.x * scale);
  const float top = std::round(origin.y * scale);
  const int width = static_cast<int>(std::round((origin.x + size.width()) * scale) - left);
  const int height = static_cast<int>(std::round((origin.y + size.height()) * scale) - top);
  if (width <= 0 || height <= 0) return;
  if (!shape || shape->getWidth() != width || shape->getHeight() != height || shapeScale != scale) {
    shape = Held<CDIB>::adopt(new CDIB(width, height));
    shapeScale = scale;
    const bool roundTop = (flags & kRoundTop) != 0;
    const bool roundBottom = (flags & kRoundBottom) != 0;
    const float line = std::max(1.0F, std::round(scale));
    const CRect whole{0.0F, 0.0F, static_cast<float>(width), static_cast<float>(height)};
    shape->roundBox(whole, kRadius * scale, roundTop, roundBottom, border);
    shape->roundBox(whole.inset(line, line), kRadius * scale - line, roundTop, roundBottom, fill);
  }
  context.drawDeviceBitmap(*shape, {0.0F, 0.0F});
}
