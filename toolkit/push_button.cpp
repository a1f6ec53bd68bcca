#include "toolkit/push_button.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/look.h"

PushButton::PushButton(const CRect& rect, std::string label, std::function<void()> action)
    : CView(rect), text(std::move(label)), pressed(std::move(action)) {}

PushButton::~PushButton() = default;

float PushButton::widthFor(const std::string& text) {
  const TextStyle style = look::bold(look::kSmallTextSize, look::kText);
  return std::max(76.0F, std::ceil(look::widthOf(style, text)) + 28.0F);
}

void PushButton::setChosen(bool on) {
  if (std::exchange(isChosen, on) != on) invalid();
}

void PushButton::press() {
  const Held<PushButton> stays(this);
  if (const std::function<void()> action = pressed) action();
}

void PushButton::show(bool hot, bool down) {
  if (hot == isHot && down == isDown) return;
  isHot = hot;
  isDown = down;
  invalid();
}

void PushButton::draw(CDrawContext& context) {
  const bool isPressed = isDown && isHot;
  const CColor fill = isPressed ? look::kPanel : (isHot ? look::kBlueBorder : look::kBluePanel);
  const CColor line = isPressed || isChosen ? look::kLit : look::kBlueBorder;
  ground.draw(context, size, {3.0F, fill, line});
  const CColor colour = isHot || isChosen ? look::kText : look::kQuietText;
  const TextStyle style = look::bold(look::kSmallTextSize, colour, kCenterText);
  context.drawTextCached(look::cutTo(size.width() - 8.0F, style, text), size, style);
  setDirty(false);
}

CMouseEventResult PushButton::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  show(true, true);
  return kMouseEventHandled;
}

CMouseEventResult PushButton::onMouseUp(CPoint where, CButtonState /*buttons*/) {
  const bool isInside = isDown && hitTest(where);
  show(isInside, false);
  if (isInside) press();
  return kMouseEventHandled;
}

CMouseEventResult PushButton::onMouseMoved(CPoint where, CButtonState /*buttons*/) {
  if (isDown) show(hitTest(where), true);
  return kMouseEventHandled;
}

void PushButton::onMouseEntered(CPoint /*where*/, CButtonState /*buttons*/) { show(true, isDown); }

void PushButton::onMouseExited() { show(false, isDown); }

void PushButton::onMouseCancel() { show(false, false); }
