#include "toolkit/push_button.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/look.h"

void PushButtonFace::draw(CDrawContext& context, const CRect& rect, const std::string& text,
                          const State& state) {
  const CColor rest = mix(look::kBluePanel, look::kBlueBorder, state.hover);
  const bool isLit = state.isPressed || state.isChosen;
  ground.draw(
      context, rect,
      {3.0F, state.isPressed ? look::kPanel : rest, isLit ? look::kLit : look::kBlueBorder});
  CColor colour = mix(look::kQuietText, look::kText, isLit ? 1.0F : state.hover);
  if (state.isDisabled) colour = look::kOff;
  const TextStyle style = look::bold(look::kSmallTextSize, colour, kCenterText);
  context.drawTextCached(look::cutTo(rect.width() - 8.0F, style, text), rect, style);
}

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
  face.draw(context, size, text, {isHot ? 1.0F : 0.0F, isDown && isHot, isChosen, false});
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
