#include "editor/controls/rounded_frame.h"

#include <utility>

namespace {

constexpr float kRadius = 3.0F;

}  // namespace

roundEdgedFrame::roundEdgedFrame(const CRect& rect, std::int32_t number, int page, int corners,
                                 CColor line, CColor inside)
    : nPage(rect, number, page),
      look{.radius = kRadius,
           .fill = inside,
           .line = line,
           .roundTop = (corners & kRoundTop) != 0,
           .roundBottom = (corners & kRoundBottom) != 0} {}

void roundEdgedFrame::setColumn(const Column& other) {
  if (std::exchange(column, other) != other) invalid();
}

void roundEdgedFrame::setTopEdge(CColor colour) {
  if (std::exchange(topEdge, colour) != colour) invalid();
}

void roundEdgedFrame::drawBackgroundRect(CDrawContext& context, const CRect& /*part*/) {
  box.draw(context, {0.0F, 0.0F, size.width(), size.height()}, look);
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
