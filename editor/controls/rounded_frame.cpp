#include "editor/controls/rounded_frame.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr float kRadius = 3.0F;

}  // namespace

roundEdgedFrame::roundEdgedFrame(const CRect& rect, std::int32_t number, int page, int corners,
                                 CColor line, CColor ground)
    : nPage(rect, number, page), flags(corners), border(line), fill(ground) {}

void roundEdgedFrame::drawBackgroundRect(CDrawContext& context, const CRect& /*part*/) {
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
