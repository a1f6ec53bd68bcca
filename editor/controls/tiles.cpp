#include "editor/controls/tiles.h"

#include <utility>

nTiled::nTiled(const ControlSetup& setup, Held<CBitmap> tile, Held<CBitmap> under, bool clickthru)
    : CControl(setup), base(std::move(under)), passesMouse(clickthru) {
  setBackground(std::move(tile));
}

void nTiled::draw(CDrawContext& context) {
  if (base) context.drawBitmapTiled(*base, size);
  if (getBackground() != nullptr) context.drawBitmapTiled(*getBackground(), size);
  setDirty(false);
}

bool nTiled::hitTest(CPoint where, CButtonState buttons) const {
  return !passesMouse && CControl::hitTest(where, buttons);
}

tiledStatic::tiledStatic(const ControlSetup& setup, Held<CBitmap> tile)
    : nTiled(setup, std::move(tile), {}, true) {
  setMouseEnabled(false);
}

nDarken::nDarken(const ControlSetup& setup, CColor over) : CControl(setup), colour(over) {
  setVisible(false);
}

void nDarken::setValue(float plain) {
  CControl::setValue(plain);
  setVisible(plain != 0.0F);
}

void nDarken::draw(CDrawContext& context) {
  // It reaches beyond the window, where a figure would not be drawn at all.
  context.fillRect(size.cutTo(context.getClipRect()), colour);
  setDirty(false);
}

CMouseEventResult nDarken::onMouseDown(CPoint /*where*/, CButtonState /*buttons*/) {
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

nBypassOverlay::nBypassOverlay(const ControlSetup& setup, CColor over, TextStyle written)
    : nDarken(setup, over), style(std::move(written)) {}

void nBypassOverlay::draw(CDrawContext& context) {
  nDarken::draw(context);
  const CRect seen = getViewSize().cutTo(context.getClipRect());
  TextStyle shadow = style;
  shadow.colour = kBlackCColor;
  context.drawTextCached("BYPASSED", seen.movedBy(context.hairline(), context.hairline()), shadow);
  context.drawTextCached("BYPASSED", seen, style);
}
