#include "editor/controls/activate_button.h"

#include "toolkit/look.h"

void activateButton::setValue(float normalised) {
  ValuePart::setValue(normalised);
  setVisible(normalised < 0.5F);
}

void activateButton::draw(CDrawContext& context) {
  const CColor line = hasFocus() ? look::kLit : look::kBorder;
  frame.draw(context, size.inset(2.0F, 2.0F), {3.0F, look::kPanel, line});
  sign.draw(context, size.centre(), 40.0F, Icon::kPlus,
            mix(look::kLabel, look::kText, shownHover()));
  setDirty(false);
}

CMouseEventResult activateButton::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  if (!takesPress(buttons)) takeValue(1.0F);
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

std::optional<float> activateButton::valueByKey(const KeyEvent& key) {
  const bool turnsOn = key.key == Key::kReturn || key.key == Key::kEnter || key.key == Key::kSpace;
  return turnsOn ? std::optional(1.0F) : std::nullopt;
}
