#include "toolkit/slider.h"

#include <algorithm>

CSlider::CSlider(const ControlSetup& setup, Style howItLies, float firstPosition,
                 float lastPosition, Held<CBitmap> handlePicture, Held<CBitmap> picture)
    : CControl(setup),
      style(howItLies),
      minPos(firstPosition),
      maxPos(lastPosition),
      handle(std::move(handlePicture)) {
  setBackground(std::move(picture));
}

float CSlider::handleLength() const {
  if (!handle) return 0.0F;
  return static_cast<float>(isVertical() ? handle->getHeight() : handle->getWidth());
}

float CSlider::handlePosition() const {
  const float span = vmax - vmin;
  const float place = span > 0.0F ? (value - vmin) / span : 0.0F;
  return isVertical() ? maxPos - place * (maxPos - minPos) : minPos + place * (maxPos - minPos);
}

float CSlider::valueAt(float position) const {
  const float length = maxPos - minPos;
  if (length <= 0.0F) return value;
  const float place = isVertical() ? (maxPos - position) / length : (position - minPos) / length;
  return vmin + std::clamp(place, 0.0F, 1.0F) * (vmax - vmin);
}

void CSlider::draw(CDrawContext& context) {
  CView::draw(context);
  if (handle) {
    const auto width = static_cast<float>(handle->getWidth());
    const auto height = static_cast<float>(handle->getHeight());
    const float at = handlePosition();
    const CPoint corner = isVertical() ? CPoint{size.left, at} : CPoint{at, size.top};
    context.drawBitmap(*handle, {corner.x, corner.y, corner.x + width, corner.y + height});
  }
  setDirty(false);
}

CMouseEventResult CSlider::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  if (isModifierClick(buttons) || checkDefaultValue(buttons)) {
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  const float at = along(where);
  grab = at - handlePosition();
  if (grab < 0.0F || grab > handleLength()) grab = handleLength() * 0.5F;
  startValue = value;
  startAt = at;
  fine = buttons.has(kShift);
  beginEdit();
  return onMouseMoved(where, buttons);
}

CMouseEventResult CSlider::onMouseMoved(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  const float at = along(where);
  if (buttons.has(kShift) != fine) {
    fine = !fine;
    startValue = value;
    startAt = at;
    grab = at - handlePosition();
  }
  const float full = valueAt(at - grab);
  if (!fine) {
    changeValue(full);
  } else {
    const float towards = isVertical() ? startAt - at : at - startAt;
    const float length = std::max(maxPos - minPos, 1.0F);
    changeValue(startValue + towards / length * (vmax - vmin) * 0.1F);
  }
  return kMouseEventHandled;
}

CMouseEventResult CSlider::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  endEdit();
  return kMouseEventHandled;
}

void CSlider::onMouseCancel() { endEdit(); }
