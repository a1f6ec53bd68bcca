#include "editor/controls/section.h"

#include <utility>

#include "toolkit/look.h"

namespace {

constexpr float kTitleHeight = 24.0F;
constexpr float kViewsBelow = 30.0F;

}  // namespace

nSection::nSection(const CRect& rect, std::int32_t number, std::string words, CColor under,
                   int autospace)
    : nPage(rect, number, 0),
      title(std::move(words)),
      line(under),
      gap(static_cast<float>(autospace)) {}

void nSection::spaceViews() {
  if (gap <= 0.0F) return;
  float top = title.empty() ? 0.0F : kViewsBelow;
  for (std::size_t i = 0; i < getViewCount(); ++i) {
    CView& view = *getView(i);
    const CRect now = view.getViewSize();
    const CRect placed = now.movedBy(0.0F, top - now.top);
    view.setViewSize(placed);
    view.setMouseableArea(placed);
    top = placed.bottom + gap;
  }
}

void nSection::drawBackgroundRect(CDrawContext& context, const CRect& part) {
  nPage::drawBackgroundRect(context, part);
  if (title.empty()) return;
  const TextStyle style = look::bold(look::kTextSize, look::kText);
  context.drawTextCached(look::cutTo(size.width(), style, title),
                         {0.0F, 0.0F, size.width(), kTitleHeight}, style);
  const float top = context.snap(kTitleHeight + 1.0F);
  context.fillRect({0.0F, top, size.width(), top + context.hairline()}, line);
}
