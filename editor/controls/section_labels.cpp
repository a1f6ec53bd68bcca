#include "editor/controls/section_labels.h"

#include <utility>

#include "toolkit/look.h"

namespace {

constexpr float kBarWidth = 2.0F;
constexpr float kCrossSize = 17.0F;

}  // namespace

nSectionLabel::nSectionLabel(const ControlSetup& setup, std::string words, CColor colour,
                             float sent)
    : WithHover(setup, std::move(words), look::bold(look::kTextSize, look::kLabel)), bar(colour) {
  value = sent;
}

bool nSectionLabel::hitTest(CPoint where, CButtonState /*buttons*/) const {
  return getMouseableArea().contains(where);
}

void nSectionLabel::drawBar(CDrawContext& context) const {
  if (bar == kBlackCColor) return;
  const float middle = size.centre().y;
  context.fillRect({size.left, middle - 6.0F, size.left + kBarWidth, middle + 6.0F}, bar);
}

void nSectionLabel::draw(CDrawContext& context) {
  const CColor colour = mix(look::kLabel, look::kText, hoverShare());
  if (getText() == "X") {
    cross.draw(context, getMouseableArea().centre(), kCrossSize, Icon::kCross, colour);
  } else {
    drawBar(context);
    TextStyle written = getStyle();
    written.colour = colour;
    CRect room = size;
    if (bar != kBlackCColor) room.left += 8.0F;
    context.drawTextCached(getText(), room, written);
  }
  setDirty(false);
}

CMouseEventResult nSectionLabel::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  valueChanged();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

nSectionToggle::nSectionToggle(const ControlSetup& setup, std::string words, CColor colour)
    : nSectionLabel(setup, std::move(words), colour, 0.0F) {}

void nSectionToggle::draw(CDrawContext& context) {
  drawBar(context);
  TextStyle written = getStyle();
  written.colour = value != 0.0F ? look::kLit : mix(look::kLabel, look::kText, hoverShare());
  if (isDisabled) written.colour = look::kOff;
  if (isLearning) written.colour = look::kLearn;
  context.drawTextCached(getText(), {size.left + 8.0F, size.top, size.right, size.bottom}, written);
  setDirty(false);
}

CMouseEventResult nSectionToggle::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft() || isDisabled) return kMouseEventNotHandled;
  beginEdit();
  changeValue(value != 0.0F ? vmin : vmax);
  endEdit();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void nSectionToggle::setDisabled(bool on) {
  if (std::exchange(isDisabled, on) != on) setDirty();
}

void nSectionToggle::setLearning(bool on) {
  if (std::exchange(isLearning, on) != on) setDirty();
}

MuteButton::MuteButton(const ControlSetup& setup, std::string words)
    : WithHover(setup, std::move(words), look::bold(10.0F, look::kLabel, kCenterText)) {}

bool MuteButton::hitTest(CPoint where, CButtonState /*buttons*/) const {
  return getMouseableArea().contains(where);
}

void MuteButton::draw(CDrawContext& context) {
  const bool isOn = value != 0.0F;
  if (isOn) pill.draw(context, size, {2.5F, look::kText});
  TextStyle written = getStyle();
  written.colour = isOn ? kBlackCColor : mix(look::kLabel, look::kText, hoverShare());
  context.drawTextCached(getText(), size, written);
  setDirty(false);
}

CMouseEventResult MuteButton::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  beginEdit();
  changeValue(value != 0.0F ? vmin : vmax);
  endEdit();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

nSeparator::nSeparator(const ControlSetup& setup, CColor line) : CControl(setup), colour(line) {}

void nSeparator::draw(CDrawContext& context) {
  const bool isVertical = size.height() > size.width();
  const float hair = context.hairline();
  context.fillRect(isVertical ? CRect{size.left, size.top, size.left + hair, size.bottom}
                              : CRect{size.left, size.top, size.right, size.top + hair},
                   colour);
  setDirty(false);
}

bool nSeparator::hitTest(CPoint /*where*/, CButtonState /*buttons*/) const { return false; }
