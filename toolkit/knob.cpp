#include "toolkit/knob.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "toolkit/frame.h"

namespace {

constexpr float kHalfTurn = std::numbers::pi_v<float>;
constexpr float kReach = 0.75F * kHalfTurn;  // to either side of straight up
constexpr float kFullWay = 200.0F;           // pixels of a straight drag from end to end

}  // namespace

CKnob::CKnob(const ControlSetup& setup, Held<CBitmap> handlePicture, Held<CBitmap> picture)
    : CControl(setup), handle(std::move(handlePicture)) {
  setBackground(std::move(picture));
}

float CKnob::place() const {
  return vmax > vmin ? std::clamp((value - vmin) / (vmax - vmin), 0.0F, 1.0F) : 0.0F;
}

float CKnob::angle() const { return (place() * 2.0F - 1.0F) * kReach; }

float CKnob::placeAt(CPoint where) const {
  const CPoint from = where - size.centre();
  const float turned = std::atan2(from.x, -from.y);
  return std::clamp((turned / kReach + 1.0F) * 0.5F, 0.0F, 1.0F);
}

bool CKnob::followsCircle() const {
  const VSTGUIEditorInterface* const editor =
      getFrame() != nullptr ? getFrame()->getEditor() : nullptr;
  return editor != nullptr && editor->getKnobMode() != kLinearMode;
}

void CKnob::draw(CDrawContext& context) {
  CView::draw(context);
  if (handle) {
    const float radius = (size.width() - static_cast<float>(handle->getWidth())) * 0.5F;
    const CPoint middle =
        size.centre() + CPoint{std::sin(angle()) * radius, -std::cos(angle()) * radius};
    const float halfWidth = static_cast<float>(handle->getWidth()) * 0.5F;
    const float halfHeight = static_cast<float>(handle->getHeight()) * 0.5F;
    context.drawBitmap(*handle, {middle.x - halfWidth, middle.y - halfHeight, middle.x + halfWidth,
                                 middle.y + halfHeight});
  }
  setDirty(false);
}

CMouseEventResult CKnob::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  if (isModifierClick(buttons) || checkDefaultValue(buttons)) {
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  const bool jumps = followsCircle() && getFrame()->getEditor()->getKnobMode() == kCircularMode;
  grab = jumps ? 0.0F : placeAt(where) - place();
  startAt = where;
  startPlace = place();
  fine = buttons.has(kShift);
  beginEdit();
  return jumps ? onMouseMoved(where, buttons) : kMouseEventHandled;
}

CMouseEventResult CKnob::onMouseMoved(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  if (buttons.has(kShift) != fine) {
    fine = !fine;
    startAt = where;
    startPlace = place();
    grab = placeAt(where) - place();
  }
  const float range = vmax - vmin;
  if (followsCircle() && !fine) {
    changeValue(vmin + (placeAt(where) - grab) * range);
  } else {
    const float moved = (startAt.y - where.y) / kFullWay * (fine ? 0.1F : 1.0F);
    changeValue(vmin + (startPlace + moved) * range);
  }
  return kMouseEventHandled;
}

CMouseEventResult CKnob::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  endEdit();
  return kMouseEventHandled;
}

void CKnob::onMouseCancel() { endEdit(); }

CAnimKnob::CAnimKnob(const ControlSetup& setup, Held<CBitmap> picture, FilmStrip pictures)
    : CKnob(setup, {}, std::move(picture)), strip(pictures) {}

void CAnimKnob::draw(CDrawContext& context) {
  strip.draw(context, getBackground(), size, strip.frameAt(place()));
  setDirty(false);
}
