#include "graphs/eq_graph.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include "core/plug.h"
#include "editor/layout/tag_table.h"
#include "platform/index.h"

namespace {

constexpr double kBandColumnsPerKey = 4.0;
constexpr float kFiguresWidth = 44.0F;  // of the levels at the right edge

}  // namespace

// The keys.

void EQGraph::takeFocus() {
  EQGraphEdits::takeFocus();
  if (!isHandle(keyHandle) || !handleOf(keyHandle).isActive) keyHandle = selectedBand;
}

bool EQGraph::walkHandles(bool forward) {
  const int next = nextHandle(forward);
  if (next < 0) return false;
  if (next < kBands) tell(kGUISelectOnly, next);
  keyHandle = next;
  showBar(next);
  setDirty();
  return true;
}

bool EQGraph::moveByKey(const KeyEvent& key) {
  freshenHandles();
  if (!isHandle(keyHandle) || !handleOf(keyHandle).isActive) return false;
  const bool isSideways = key.key == Key::kLeft || key.key == Key::kRight;
  if (!isSideways || keyHandle < kBands) {
    return EQGraphEdits::moveByKey(keyHandle, key, kBandColumnsPerKey);
  }
  shiftCrossover(keyHandle, keyFactor(key, kBandColumnsPerKey));
  return true;
}

bool EQGraph::handleKey(const KeyEvent& key, int band) {
  if (isMenuKey(key)) {
    openMenu(keyHandle, fromPlot(handleOf(keyHandle).centre));
    return true;
  }
  if (key.key == Key::kSpace && keyHandle < kBands) {
    toggleBand(band);
    return true;
  }
  if (key.key == Key::kDelete && keyHandle < kBands) {
    deleteBands(isSelected(band) && activeCount() > 1 ? selectedMask : 1U << band);
    return true;
  }
  if (!opensEntry(key)) return false;
  showBar(keyHandle);
  const int box = keyHandle < kBands ? hover_bar::kFrequency : hover_bar::kSlope;
  const CRect& place = hoverBoxes[at(box)];
  if (place.isEmpty()) return true;
  openTextEdit(hover_bar::kFieldKinds[at(box - hover_bar::kFrequency)], keyHandle, place,
               place.centre(), kLButton);
  onMouseUp(place.centre(), kLButton);
  // A figure is the first of the entry.
  if (isTextOpen() && !key.text.empty() && key.key != Key::kReturn && key.key != Key::kEnter) {
    getFrame()->onKeyDown(key);
  }
  return true;
}

bool EQGraph::onKeyDown(const KeyEvent& key) {
  if (drag != Drag::kNone) return false;
  if (EQGraphEdits::onKeyDown(key)) return true;
  if (key.key == Key::kTab) return walkHandles(!key.modifiers.has(kShift));
  if (key.modifiers.has(kControl) || key.modifiers.has(kAlt)) return false;
  if (moveByKey(key)) return true;
  freshenHandles();
  if (!isHandle(keyHandle) || !handleOf(keyHandle).isActive) return false;
  return handleKey(key, bandOfHandle(keyHandle));
}

// The mouse.

CMouseEventResult EQGraph::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft() && !buttons.isRight()) return kMouseEventNotHandled;
  const Held<CView> stays(this);
  if (buttons.isLeft()) getFrame()->setFocusView(this);
  if (isOnBar(where)) {
    const int box = hover_bar::boxAt(hoverBoxes, where);
    return box >= 0 && buttons.isLeft() ? pressBox(box, where, buttons)
                                        : kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  closeTextEdit();
  const CMouseEventResult byStrip = EQGraphEdits::onMouseDown(where, buttons);
  if (byStrip != kMouseEventNotHandled) return byStrip;
  const int hit = handleAt(where);
  return hit >= 0 ? pressHandle(hit, where, buttons) : pressEmpty(where, buttons);
}

CMouseEventResult EQGraph::pressHandle(int handle, CPoint where, CButtonState buttons) {
  constexpr auto kDone = kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  const bool isOfBand = handle < kBands;
  keyHandle = handle;
  if (isOfBand) selectPressed(handle, buttons);
  if (buttons.isRight()) {
    openMenu(handle, where);
    return kDone;
  }
  if (isOfBand && buttons.isDouble()) {
    toggleSelected(handle);
    return kDone;
  }
  if (isOfBand && buttons.has(kAlt)) {
    const std::uint32_t bands = activeOf(isSelected(handle) ? selectedMask : bitOf(handle));
    if (activeCount() > std::popcount(bands)) deleteBands(bands);
    return kDone;
  }
  Drag kind = isOfBand ? Drag::kBand : Drag::kCrossover;
  if (isOfBand && buttons.has(kControl)) kind = Drag::kQ;
  beginDrag(kind, handle, where);
  return kMouseEventHandled;
}

CMouseEventResult EQGraph::pressEmpty(CPoint where, CButtonState buttons) {
  if (buttons.isRight()) {
    if (where.x < size.right - kFiguresWidth) return kMouseEventNotHandled;
    openRangeMenu(where);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (buttons.isDouble() && createBand(where, buttons)) return kMouseEventHandled;
  if (!extendsSelection(buttons)) tell(kGUISelectOnly, -1);
  beginDrag(Drag::kRubber, -1, where);
  return kMouseEventHandled;
}

CMouseEventResult EQGraph::pressBox(int box, CPoint where, CButtonState buttons) {
  const int handle = hoverBand;
  const int band = bandOfHandle(handle);
  switch (box) {
    case hover_bar::kPower:
      if (band == handle) toggleBand(band);
      break;
    case hover_bar::kTitle:
    case hover_bar::kKind: {
      const CRect& pressed = hoverBoxes[at(box)];
      openMenu(handle, {pressed.left, pressed.bottom});
      break;
    }
    case hover_bar::kDelete:
      deleteBands(1U << band);
      break;
    default:
      openTextEdit(hover_bar::kFieldKinds[at(box - hover_bar::kFrequency)], handle,
                   hoverBoxes[at(box)], where, buttons);
      return kMouseEventHandled;
  }
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

CMouseEventResult EQGraph::onMouseMoved(CPoint where, CButtonState buttons) {
  const CMouseEventResult byBase = EQGraphEdits::onMouseMoved(where, buttons);
  if (byBase != kMouseEventNotHandled) {
    if (buttons.buttons() == 0) underMouse = hotBox = -1;  // it is on the strip
    return byBase;
  }
  if (drag != Drag::kNone && buttons.buttons() != 0) {
    moveDrag(where, buttons);
  } else if (buttons.buttons() == 0) {
    followMouse(where, buttons);
  }
  return kMouseEventHandled;
}

void EQGraph::followMouse(CPoint where, CButtonState buttons) {
  const int box = isOnBar(where) ? hover_bar::boxAt(hoverBoxes, where) : -1;
  const int hit = isOnBar(where) ? -1 : handleAt(where);
  if (hit != underMouse || box != hotBox) {
    underMouse = hit;
    hotBox = box;
    setDirty();
    getFrame()->getEditor()->mouseOver(this);
  }
  if (hit >= 0) {
    showBar(hit);
  } else if (!isNearBar(where) && !isTextOpen()) {
    showBar(isActive(selectedBand) ? selectedBand : -1);
  }
  getFrame()->setCursor(hit >= 0 ? getBandCursor(hit, buttons) : Cursor::kArrow);
}

CMouseEventResult EQGraph::onMouseUp(CPoint where, CButtonState buttons) {
  const CMouseEventResult byBase = EQGraphEdits::onMouseUp(where, buttons);
  if (byBase != kMouseEventNotHandled) return byBase;
  endDrag();
  if (size.contains(where)) followMouse(where, buttons.modifiers());
  return kMouseEventHandled;
}

void EQGraph::onMouseCancel() {
  EQGraphEdits::onMouseCancel();
  endDrag();
}

void EQGraph::onMouseExited() {
  underMouse = hotBox = -1;
  if (drag == Drag::kNone && !isTextOpen()) showBar(-1);
  EQGraphEdits::onMouseExited();
}

void EQGraph::removed() {
  endDrag();
  EQGraphEdits::removed();
}

bool EQGraph::turnField(float steps, bool fine) {
  if (hotBox < hover_bar::kFrequency) return true;
  const std::int32_t id =
      bandParameter(hover_bar::kFieldKinds[at(hotBox - hover_bar::kFrequency)], hoverBand);
  if (id < 0) return true;
  const bool isStepped = plainStepOf(values.stepsOf(id).curve) > 0.0F;
  const float notches = isStepped ? static_cast<float>(fieldNotches.take(steps, values))
                                  : steps * wheelSensitivity(values);
  if (notches != 0.0F) edit(id, valueAfter(values, id, values.valueOf(id), notches, fine));
  return true;
}

bool EQGraph::onWheel(CPoint where, float steps, CButtonState buttons) {
  if (drag != Drag::kNone) return true;
  followMouse(where, buttons.modifiers());
  if (isOnBar(where)) return turnField(steps, buttons.has(kShift));
  // Its Q may move a disc away from under the mouse: the next notch is meant for it, too.
  const bool isSameTurn = where == wheelAt && isHandle(wheelHandle);
  if (!isSameTurn || underMouse >= 0) wheelHandle = underMouse;
  wheelAt = where;
  if (isHandle(wheelHandle) && handleOf(wheelHandle).isActive) {
    turnQ(wheelHandle, steps * wheelSensitivity(values), buttons.has(kShift));
    return true;
  }
  const bool zooms = EQGraphEdits::onWheel(where, steps, buttons);
  if (zooms) followMouse(where, buttons.modifiers());
  return zooms;
}
