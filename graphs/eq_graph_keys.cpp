// What the keys do to the main graph.

#include <algorithm>
#include <cmath>

#include "core/plug.h"
#include "editor/layout/tag_table.h"
#include "graphs/eq_graph.h"
#include "platform/index.h"

namespace {

constexpr double kColumnsPerKey = 4.0;

}  // namespace

void EQGraph::takeFocus() {
  EQGraphBase::takeFocus();
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
    return EQGraphBase::moveByKey(keyHandle, key, kColumnsPerKey);
  }
  beginDrag(Drag::kCrossover, keyHandle, {});
  beginMoving();
  moveCrossover(crossoverFrom * keyFactor(key, kColumnsPerKey));
  endDrag();
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
  if (EQGraphBase::onKeyDown(key)) return true;
  if (key.key == Key::kTab) return walkHandles(!key.modifiers.has(kShift));
  if (key.modifiers.has(kControl) || key.modifiers.has(kAlt)) return false;
  if (moveByKey(key)) return true;
  freshenHandles();
  if (!isHandle(keyHandle) || !handleOf(keyHandle).isActive) return false;
  return handleKey(key, bandOfHandle(keyHandle));
}
