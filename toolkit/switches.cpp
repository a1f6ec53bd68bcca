#include "toolkit/switches.h"

#include <algorithm>
#include <cmath>
#include <utility>

CSwitch::CSwitch(const ControlSetup& setup, Held<CBitmap> picture, FilmStrip pictures, int howMany)
    : CControl(setup), strip(pictures), positions(std::max(howMany, 2)) {
  setBackground(std::move(picture));
}

void CSwitch::draw(CDrawContext& context) {
  const float span = vmax - vmin;
  const float place = span > 0.0F ? (value - vmin) / span : 0.0F;
  strip.draw(context, getBackground(), size, strip.frameAt(place));
  setDirty(false);
}

CMouseEventResult CSwitch::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  if (isModifierClick(buttons) || checkDefaultValue(buttons)) {
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  beginEdit();
  return onMouseMoved(where, buttons);
}

CMouseEventResult CSwitch::onMouseMoved(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  const auto last = static_cast<float>(positions - 1);
  const float place = std::clamp(placeOf(where), 0.0F, 1.0F);
  const float position =
      std::min(static_cast<float>(static_cast<int>(place * static_cast<float>(positions))), last);
  changeValue(vmin + position / last * (vmax - vmin));
  return kMouseEventHandled;
}

CMouseEventResult CSwitch::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  endEdit();
  return kMouseEventHandled;
}

void CSwitch::onMouseCancel() { endEdit(); }

bool CSwitch::onWheel(CPoint /*where*/, float steps, CButtonState /*buttons*/) {
  wheelRest -= steps;
  const float whole = std::trunc(wheelRest);
  wheelRest -= whole;
  if (whole == 0.0F || !(vmax > vmin)) return true;
  const float between = (vmax - vmin) / static_cast<float>(positions - 1);
  const float position = std::round((value - vmin) / between) + whole;
  beginEdit();
  changeValue(vmin + position * between);
  endEdit();
  return true;
}

float CVerticalSwitch::placeOf(CPoint where) const {
  return (where.y - size.top) / std::max(size.height(), 1.0F);
}

float CHorizontalSwitch::placeOf(CPoint where) const {
  return (where.x - size.left) / std::max(size.width(), 1.0F);
}

CRockerSwitch::CRockerSwitch(const ControlSetup& setup, Held<CBitmap> picture,
                             float heightOfOneImage, Style howItLies)
    : CControl(setup), style(howItLies) {
  strip.heightOfOneImage = heightOfOneImage;
  setMin(-1.0F);
  setBackground(std::move(picture));
}

void CRockerSwitch::draw(CDrawContext& context) {
  int shown = 0;
  if (value < 0.0F) shown = 1;
  if (value > 0.0F) shown = 2;
  strip.draw(context, getBackground(), size, shown);
  setDirty(false);
}

CMouseEventResult CRockerSwitch::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  beginEdit();
  return onMouseMoved(where, buttons);
}

CMouseEventResult CRockerSwitch::onMouseMoved(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  const CPoint middle = size.centre();
  const bool isFirst = style == Style::kHorizontal ? where.x < middle.x : where.y < middle.y;
  float pressed = 0.0F;
  if (hitTest(where)) pressed = isFirst ? vmin : vmax;
  changeValue(pressed);
  return kMouseEventHandled;
}

CMouseEventResult CRockerSwitch::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  changeValue(0.0F);
  endEdit();
  return kMouseEventHandled;
}

void CRockerSwitch::onMouseCancel() { onMouseUp({}, {}); }

bool CRockerSwitch::onWheel(CPoint /*where*/, float steps, CButtonState /*buttons*/) {
  if (steps == 0.0F) return false;
  const CFrame* const shownIn = getFrame();
  beginEdit();
  changeValue(steps > 0.0F ? vmin : vmax);
  if (getFrame() == shownIn) {
    changeValue(0.0F);
  } else {
    setValue(0.0F);  // nobody hears once it has been taken away
  }
  endEdit();
  return true;
}
