#include "editor/controls/line_dial.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "toolkit/look.h"

namespace {

constexpr float kReach = 0.75F * std::numbers::pi_v<float>;  // to either side of straight up
constexpr float kStep = 0.1F;                                // radians of a piece of the arc
constexpr float kLine = 2.0F;
constexpr float kTextHeight = 12.0F;

CPoint onCircle(CPoint middle, float radius, float angle) {
  return {middle.x + radius * std::sin(angle), middle.y - radius * std::cos(angle)};
}

std::vector<CPoint> arcBetween(CPoint middle, float radius, float from, float to) {
  std::vector<CPoint> way;
  for (float angle = from; angle < to; angle += kStep) {
    way.push_back(onCircle(middle, radius, angle));
  }
  way.push_back(onCircle(middle, radius, to));
  return way;
}

}  // namespace

CLineDial::CLineDial(const ControlSetup& setup, ValueSource& source)
    : ValuePart(setup, Held<CBitmap>(), Held<CBitmap>()), values(source) {
  setDefaultValue(source.defaultOf(setup.tag));
}

void CLineDial::draw(CDrawContext& context) {
  drawOutline(context);
  const float hot = isDragged() ? 1.0F : shownHover();
  const CColor colour = mix(marks().railColour(), look::kHotValue, hot);
  const CPoint middle{size.centre().x, (size.top + size.bottom - kTextHeight) * 0.5F};
  const float radius = std::min(size.width(), size.height() - kTextHeight) * 0.5F - kLine;
  if (radius > kLine) {
    context.drawPath(arcBetween(middle, radius, -kReach, kReach), kLine, look::kOff);
    if (angle() > -kReach) {
      context.drawPath(arcBetween(middle, radius, -kReach, angle()), kLine, colour);
    }
    context.setFrameColor(colour);
    context.setLineWidth(kLine);
    context.moveTo(onCircle(middle, radius * 0.3F, angle()));
    context.lineTo(onCircle(middle, radius, angle()));
  }
  const CRect room{size.left, size.bottom - kTextHeight, size.right, size.bottom};
  context.drawText(
      values.textOf(getTag()), room,
      look::bold(look::kSmallTextSize, marks().valueColour(look::kValue, hot), kCenterText));
  setDirty(false);
}

CMouseEventResult CLineDial::onMouseDown(CPoint where, CButtonState buttons) {
  if (marks().isDisabled || (!buttons.isLeft() && !buttons.isRight())) {
    return kMouseEventNotHandled;
  }
  if (takesPress(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  const CMouseEventResult result =
      CKnob::onMouseDown(where, CButtonState(buttons.all() & ~static_cast<std::uint32_t>(kAlt)));
  if (result == kMouseEventHandled) setDragged(true);
  return result;
}

CMouseEventResult CLineDial::onMouseUp(CPoint where, CButtonState buttons) {
  setDragged(false);
  return CKnob::onMouseUp(where, buttons);
}

void CLineDial::onMouseCancel() {
  setDragged(false);
  CKnob::onMouseCancel();
}

bool CLineDial::onWheel(CPoint /*where*/, float steps, CButtonState buttons) {
  if (marks().isDisabled) return false;
  if (!canChange() || isDragged()) return true;
  takeValue(
      valueAfter(values, getTag(), value, steps * wheelSensitivity(values), buttons.has(kShift)));
  return true;
}

std::optional<float> CLineDial::valueByKey(const KeyEvent& key) {
  return parameterByKey(values, getTag(), value, key);
}
