#include "editor/controls/glyph_buttons.h"

#include <utility>

#include "toolkit/look.h"

namespace {

constexpr std::string_view kMaker = "HALVEKRO";
constexpr CColor kDivider = CColor::rgb(0x3A424A);

}  // namespace

nTTKickButton::nTTKickButton(const ControlSetup& setup, std::string text, float glyphSize,
                             float glyphDrop)
    : WithKeys(setup, Held<CBitmap>()),
      glyph(std::move(text)),
      drop(glyphDrop),
      style(look::bold(glyphSize, look::kLabel, kCenterText)) {}

void nTTKickButton::draw(CDrawContext& context) {
  style.colour = isDisabled ? look::kOff : mix(look::kLabel, look::kText, hoverShare());
  if (isOn()) style.colour = look::kLit;
  context.drawTextCached(glyph, size.movedBy(0.0F, drop), style);
  drawFocus(context, size);
  setDirty(false);
}

void nTTKickButton::setDisabled(bool on) {
  if (std::exchange(isDisabled, on) != on) setDirty();
}

CMouseEventResult nTTKickButton::onMouseDown(CPoint where, CButtonState buttons) {
  if (isDisabled) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  return WithKeys::onMouseDown(where, buttons);
}

nPageSelect::nPageSelect(const ControlSetup& setup, int number) : WithKeys(setup), page(number) {
  value = static_cast<float>(page);
}

void nPageSelect::draw(CDrawContext& context) {
  drawFocus(context, size);
  setDirty(false);
}

CMouseEventResult nPageSelect::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  valueChanged();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool nPageSelect::onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) {
  return false;
}

nLogo::nLogo(const ControlSetup& setup, int number, Held<CBitmap> picture)
    : nPageSelect(setup, number) {
  setBackground(std::move(picture));
}

void nLogo::draw(CDrawContext& context) {
  if (getBackground() != nullptr) context.drawBitmap(*getBackground(), size);
  nPageSelect::draw(context);
}

nTTLogo::nTTLogo(const ControlSetup& setup, int number)
    : nPageSelect(setup, number),
      style(look::bold(look::kSmallTextSize, look::kLabel, kCenterText)) {}

void nTTLogo::draw(CDrawContext& context) {
  style.colour = mix(look::kLabel, look::kText, hoverShare());
  context.drawTextCached(kMaker, size, style);
  // Between it and the name of the effect.
  const float left = context.snap(size.right + 2.5F);
  context.fillRect({left, size.top + 3.0F, left + context.hairline(), size.top + 12.0F}, kDivider);
  nPageSelect::draw(context);
}

nResizeBox::nResizeBox(const ControlSetup& setup) : CControl(setup) { setMax(1e6F); }

void nResizeBox::draw(CDrawContext& context) {
  constexpr CColor kGripDot = CColor::rgb(0x848484, 191);
  for (int column = 0; column < 3; ++column) {
    for (int row = 0; row + column < 3; ++row) {
      const float left = size.right - 5.0F - 3.0F * static_cast<float>(column);
      const float top = size.bottom - 5.0F - 3.0F * static_cast<float>(row);
      context.fillRect({left, top, left + 2.0F, top + 2.0F}, kGripDot);
    }
  }
  setDirty(false);
}

float nResizeBox::screenX(CPoint where) const {
  return localToFrame(where).x * getFrame()->getScale() / getFrame()->getDeviceScale();
}

CMouseEventResult nResizeBox::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  isDragged = true;
  startX = screenX(where);
  const CFrame& frame = *getFrame();
  startWidth = frame.getSize().width() * frame.getScale() / frame.getDeviceScale();
  return kMouseEventHandled;
}

CMouseEventResult nResizeBox::onMouseMoved(CPoint where, CButtonState /*buttons*/) {
  if (!isDragged) return kMouseEventNotHandled;
  changeValue(startWidth + screenX(where) - startX);
  return kMouseEventHandled;
}

CMouseEventResult nResizeBox::onMouseUp(CPoint where, CButtonState buttons) {
  const CMouseEventResult result = onMouseMoved(where, buttons);
  isDragged = false;
  return result;
}

void nResizeBox::onMouseEntered(CPoint /*where*/, CButtonState /*buttons*/) {
  getFrame()->setCursor(Cursor::kSizeDiagonal);
}

void nResizeBox::onMouseExited() {
  if (getFrame() != nullptr) getFrame()->setCursor(Cursor::kArrow);
}

bool nResizeBox::onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) {
  return false;
}

FlatButton::FlatButton(const ControlSetup& setup, std::string words)
    : WithHover(setup, Held<CBitmap>()), text(std::move(words)) {}

void FlatButton::setText(std::string words) {
  if (words == text) return;
  text = std::move(words);
  setDirty();
}

void FlatButton::draw(CDrawContext& context) {
  face.draw(context, size, text, {isDisabled ? 0.0F : hoverShare(), isOn(), false, isDisabled});
  setDirty(false);
}

void FlatButton::setDisabled(bool on) {
  if (std::exchange(isDisabled, on) != on) setDirty();
}

CMouseEventResult FlatButton::onMouseDown(CPoint where, CButtonState buttons) {
  if (isDisabled) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  return WithHover::onMouseDown(where, buttons);
}

CMovieButton3::CMovieButton3(const ControlSetup& setup, Held<CBitmap> frames) : CControl(setup) {
  setMax(2.0F);
  setBackground(std::move(frames));
}

void CMovieButton3::draw(CDrawContext& context) {
  strip.draw(context, getBackground(), size, strip.frameAt(value / vmax));
  setDirty(false);
}

CMouseEventResult CMovieButton3::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  beginEdit();
  changeValue(value + 1.0F > vmax ? vmin : value + 1.0F);
  endEdit();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool CMovieButton3::onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) {
  return false;
}
