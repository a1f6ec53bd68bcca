#include "editor/controls/selector_tab.h"

#include <utility>

#include "toolkit/look.h"

namespace {

constexpr CColor kClosedGround = CColor::rgb(0x090909);
constexpr float kWidth = 153.0F;  // to the middle of the gutter
constexpr float kArrowInset = 20.0F;
constexpr float kTextInset = 31.0F;

}  // namespace

selectorTab::selectorTab(const ControlSetup& setup, std::string words, int where)
    : WithKeys(setup, Held<CBitmap>()),
      label(std::move(words)),
      side(where),
      style(look::bold(look::kTextSize, look::kLabel, where == 0 ? kLeftText : kRightText)) {}

CRect selectorTab::shape() const {
  const float left = side == 0 ? size.left : size.right - kWidth;
  return {left, size.top, left + kWidth, size.bottom};
}

void selectorTab::draw(CDrawContext& context) {
  const CRect whole = shape();
  BoxLook look{3.0F, kClosedGround, look::kBorder};
  look.roundTop = false;
  if (isOn()) look.fill = look::kColumn;
  box.draw(context, {whole.left, whole.top + 3.0F, whole.right, whole.bottom}, look);
  const float hair = context.hairline();
  if (isOn()) {  // one surface with what is above
    context.fillRect({whole.left + hair, whole.top, whole.right - hair, whole.top + 3.0F + hair},
                     look::kColumn);
  }
  style.colour = isOn() ? look::kLit : mix(look::kLabel, look::kText, hoverShare());
  const float middle = whole.top + 18.0F;
  const float arrowX = side == 0 ? whole.left + kArrowInset : whole.right - kArrowInset;
  arrow.draw(context, {arrowX, middle}, 10.0F, isOn() ? Icon::kDown : Icon::kUp, style.colour);
  CRect text{whole.left, middle - 10.0F, whole.right, middle + 10.0F};
  (side == 0 ? text.left : text.right) += side == 0 ? kTextInset : -kTextInset;
  context.drawTextCached(label, text, style);
  drawFocus(context, whole.inset(3.0F, 4.0F));
  setDirty(false);
}
