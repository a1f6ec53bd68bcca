#include "editor/controls/rounded_frame.h"

roundEdgedFrame::roundEdgedFrame(const CRect& rect, std::int32_t number, int page, int corners,
                                 CColor line, CColor inside)
    : nPage(rect, number, page),
      look{.radius = 3.0F,
           .fill = inside,
           .line = line,
           .roundTop = (corners & kRoundTop) != 0,
           .roundBottom = (corners & kRoundBottom) != 0} {}

void roundEdgedFrame::drawBackgroundRect(CDrawContext& context, const CRect& /*part*/) {
  box.draw(context, {0.0F, 0.0F, size.width(), size.height()}, look);
}
