#include "editor/controls/value_text.h"

#include <algorithm>
#include <utility>

#include "toolkit/look.h"

namespace {

constexpr float kPixelsPerFactor = 100.0F;  // of a drag all the way
constexpr float kUsualFactor = 3.0F;
constexpr float kFineDrag = 0.1F;
constexpr float kUnitSize = 0.5F;  // of the figure's
constexpr CColor kQuietGround = look::kBorder;
constexpr CColor kHotGround = look::kBlueBorder;

}  // namespace

CTTText::CTTText(const ControlSetup& setup, ValueSource& source, const TextStyle& lettering)
    : ValuePart(setup), values(source), restColour(lettering.colour) {
  setFont(lettering.face, lettering.size);
  setFontColor(lettering.colour);
  setHoriAlign(lettering.align);
  setMaxLength(32);
  setDefaultValue(source.defaultOf(setup.tag));
}

void CTTText::setWheelSteps(float coarse, float fine) noexcept {
  coarseStep = coarse;
  fineStep = fine;
}

void CTTText::setRestColour(CColor colour) {
  restColour = colour;
  setDirty();
}

std::string CTTText::shownText() const { return values.textOf(getTag()); }

CColor CTTText::presentColour() const {
  return showsDrag() ? look::kText : marks().valueColour(restColour, shownHover());
}

float CTTText::shownWidth() const { return look::widthOf(getTextStyle(), shownText()); }

void CTTText::draw(CDrawContext& context) {
  drawOutline(context);
  TextStyle lettering = getTextStyle();
  lettering.colour = presentColour();
  const std::string text = shownText();
  if (!text.empty()) context.drawText(text, size, lettering);
  setDirty(false);
}

CMouseEventResult CTTText::onMouseDown(CPoint where, CButtonState buttons) {
  if (marks().isDisabled || (!buttons.isLeft() && !buttons.isRight())) {
    return kMouseEventNotHandled;
  }
  if (takesPress(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  if (goesToDefault(values, buttons)) {
    takeValue(values.defaultOf(getTag()));
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (buttons.isDouble()) {
    openField();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  lastY = where.y;
  dragValue = value;
  pressed = true;
  rememberMouse(getFrame());
  return kMouseEventHandled;
}

CMouseEventResult CTTText::onMouseMoved(CPoint where, CButtonState buttons) {
  if (!pressed || !buttons.isLeft()) return kMouseEventNotHandled;
  const float moved = std::exchange(lastY, where.y) - where.y;
  if (moved == 0.0F) return kMouseEventHandled;
  // What only presses edits nothing.
  if (!isDragged()) {
    setDragged(true);
    hideMouse(getFrame(), values);
    beginEdit();
  }
  const float way = kPixelsPerFactor * (dragFactor > 0.0F ? dragFactor : kUsualFactor);
  const float share = moved / way * (buttons.has(kShift) ? kFineDrag : 1.0F);
  dragValue = std::clamp(dragValue + share * (vmax - vmin), vmin, vmax);
  changeValue(heldValue(values, getTag(), dragValue));
  return kMouseEventHandled;
}

CMouseEventResult CTTText::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  endDrag();
  return kMouseEventHandled;
}

void CTTText::onMouseCancel() { endDrag(); }

void CTTText::endDrag() {
  pressed = false;
  restoreMouse(getFrame());
  if (!isDragged()) return;
  setDragged(false);
  endEdit();
}

bool CTTText::onWheel(CPoint /*where*/, float steps, CButtonState buttons) {
  if (marks().isDisabled || isEditing()) return false;
  if (!canChange() || isDragged()) return true;
  const bool fine = buttons.has(kShift);
  const ValueSteps of = values.stepsOf(getTag());
  if (plainStepOf(of.curve) > 0.0F) {
    const int whole = notches.take(steps, values);
    if (whole != 0) {
      takeValue(valueAfter(values, getTag(), value, static_cast<float>(whole), false));
    }
    return true;
  }
  const float scaled = steps * wheelSensitivity(values);
  if (coarseStep > 0.0F) {
    const float plain = values.plainOf(getTag(), value) + scaled * (fine ? fineStep : coarseStep);
    takeValue(values.normalisedOf(getTag(), std::clamp(plain, of.least, of.most)));
  } else {
    takeValue(valueAfter(values, getTag(), value, scaled, fine));
  }
  return true;
}

bool CTTText::onKeyDown(const KeyEvent& key) {
  if (!canChange() || !opensEntry(key)) return ValuePart::onKeyDown(key);
  openField();
  // A figure is the first of the entry.
  if (isEditing() && !key.text.empty() && key.key != Key::kReturn && key.key != Key::kEnter) {
    getFrame()->onKeyDown(key);
  }
  return true;
}

std::optional<float> CTTText::valueByKey(const KeyEvent& key) {
  return parameterByKey(values, getTag(), value, key);
}

CRect CTTText::fieldPlace() const {
  if (entryWidth <= 0.0F) return CTextEdit::fieldPlace();
  const float right = size.right + TextField::kPadding;
  return {right - std::max(entryWidth, shownWidth() + 3.0F * TextField::kPadding), size.top + 1.0F,
          right, size.bottom - 1.0F};
}

void CTTText::takeText(const std::string& utf8) {
  if (utf8.empty() || utf8 == textToEdit()) return;
  values.setValueFromText(getTag(), utf8);
  setDirty();
}

void CTTText::fieldClosed(TextField::End how) {
  outlineChanged();
  // The keys stay where they were, unless they have been taken elsewhere.
  if (how == TextField::End::kFocusLost) return;
  getFrame()->setFocusView(this);
  if (how == TextField::End::kTabbed) getFrame()->onKeyDown({Key::kTab, 0, {}, {}});
}

void CBigLabel::draw(CDrawContext& context) {
  drawOutline(context);
  const std::string text = shownText();
  const std::size_t end = text.find_last_of("0123456789");
  const std::size_t split = end == std::string::npos ? text.size() : end + 1;
  TextStyle lettering = getTextStyle();
  lettering.colour = presentColour();
  TextStyle small = lettering;
  small.size *= kUnitSize;
  const float figure = look::widthOf(lettering, text.substr(0, split));
  const float unit = look::widthOf(small, text.substr(split));
  float left = size.left;
  if (lettering.align == kCenterText) left = (size.left + size.right - figure - unit) * 0.5F;
  if (lettering.align == kRightText) left = size.right - figure - unit;
  lettering.align = small.align = kLeftText;
  context.drawText(text.substr(0, split), {left, size.top, size.right, size.bottom}, lettering);
  context.drawText(text.substr(split), {left + figure, size.top, size.right, size.bottom}, small);
  setDirty(false);
}

CMouseEventResult CText::onMouseDown(CPoint where, CButtonState buttons) {
  return CTTText::onMouseDown(
      where, buttons.isLeft() ? CButtonState(buttons.all() | kDoubleClick) : buttons);
}

void CEQText::draw(CDrawContext& context) {
  ground.draw(context, size, {2.5F, mix(kQuietGround, kHotGround, shownHover())});
  CTTText::draw(context);
}
