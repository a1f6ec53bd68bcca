#include "toolkit/buttons.h"

#include <utility>

CButtonControl::CButtonControl(const ControlSetup& setup, Held<CBitmap> picture,
                               float heightOfOneImage)
    : CControl(setup) {
  strip.heightOfOneImage = heightOfOneImage;
  setBackground(std::move(picture));
}

void CButtonControl::draw(CDrawContext& context) {
  strip.draw(context, getBackground(), getViewSize(), isOn() ? 1 : 0);
  setDirty(false);
}

void CKickButton::show(float plain) {
  if (plain == value) return;
  setValue(plain);
  setDirty();
}

CMouseEventResult CKickButton::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  if (isModifierClick(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  beginEdit();
  show(vmax);
  return kMouseEventHandled;
}

CMouseEventResult CKickButton::onMouseMoved(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  show(hitTest(where) ? vmax : vmin);
  return kMouseEventHandled;
}

CMouseEventResult CKickButton::onMouseUp(CPoint where, CButtonState /*buttons*/) {
  show(hitTest(where) ? vmax : vmin);
  if (isOn()) {
    const CFrame* const shownIn = getFrame();
    valueChanged();
    show(vmin);
    if (getFrame() == shownIn) valueChanged();  // nobody hears once it has been taken away
  }
  endEdit();
  return kMouseEventHandled;
}

void CKickButton::onMouseCancel() {
  show(vmin);
  endEdit();
}

CMouseEventResult CMovieButton::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  if (isModifierClick(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  beginEdit();
  before = value;
  return onMouseMoved(where, buttons);
}

CMouseEventResult CMovieButton::onMouseMoved(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  const float other = before > (vmin + vmax) * 0.5F ? vmin : vmax;
  setValue(hitTest(where) ? other : before);
  if (isDirty()) setDirty();
  return kMouseEventHandled;
}

CMouseEventResult CMovieButton::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  if (value != before) valueChanged();
  endEdit();
  return kMouseEventHandled;
}

void CMovieButton::onMouseCancel() {
  setValue(before);
  setDirty();
  endEdit();
}

CMouseEventResult COnOffButton::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (isMenuClick(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  if (isModifierClick(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  beginEdit();
  changeValue(isOn() ? vmin : vmax);
  endEdit();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}
