#include "editor/controls/activate_button.h"

#include "toolkit/look.h"

void activateButton::setValue(float normalised) {
  const bool wasOffered = isOffered();
  WithHover::setValue(normalised);
  if (isOffered() != wasOffered) invalid();
}

void activateButton::draw(CDrawContext& context) {
  if (isOffered()) {
    frame.draw(context, size.inset(2.0F, 2.0F), {3.0F, look::kPanel, look::kBorder});
    sign.draw(context, size.centre(), 40.0F, Icon::kPlus,
              mix(look::kLabel, look::kText, hoverShare()));
  }
  setDirty(false);
}

bool activateButton::hitTest(CPoint where, CButtonState buttons) const {
  return isOffered() && WithHover::hitTest(where, buttons);
}

CMouseEventResult activateButton::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  beginEdit();
  changeValue(1.0F);
  endEdit();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}
