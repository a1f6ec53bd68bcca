// What the keys do to the main graph.

#include <algorithm>
#include <cmath>

#include "core/plug.h"
#include "editor/layout/tag_table.h"
#include "graphs/eq_graph.h"
#include "platform/index.h"

namespace {

constexpr int kKindGain = 4;
constexpr int kKindFrequency = 5;
constexpr double kColumnsPerKey = 4.0;
constexpr double kFine = 0.1;

}  // namespace

void EQGraph::takeFocus() {
  EQGraphBase::takeFocus();
  if (!isHandle(keyHandle) || !handleOf(keyHandle).isActive) keyHandle = selectedBand;
  walked = 1;
}

/// From the present one to its neighbours, each once; then on to what comes after the graph.
bool EQGraph::walkHandles(bool forward) {
  freshenHandles();
  std::vector<int> order;
  for (int handle = 0; handle < kHandles; ++handle) {
    if (handleOf(handle).isActive) order.push_back(handle);
  }
  std::ranges::stable_sort(
      order, [this](int a, int b) { return handleOf(a).centre.x < handleOf(b).centre.x; });
  if (!forward) std::ranges::reverse(order);
  if (walked >= order.size()) return false;
  ++walked;
  auto next = std::ranges::find(order, keyHandle);
  if (next != order.end()) ++next;
  const int handle = next != order.end() ? *next : order.front();
  if (handle < kBands) tell(kGUISelectOnly, handle);
  keyHandle = handle;
  showBar(handle);
  setDirty();
  return true;
}

bool EQGraph::moveByKey(const KeyEvent& key) {
  const bool isUp = key.key == Key::kUp || key.key == Key::kPageUp;
  const bool isDown = key.key == Key::kDown || key.key == Key::kPageDown;
  const bool isSideways = key.key == Key::kLeft || key.key == Key::kRight;
  if (!isUp && !isDown && !isSideways) return false;
  freshenHandles();
  if (!isHandle(keyHandle) || !handleOf(keyHandle).isActive) return false;
  const bool isFine = key.modifiers.has(kShift);
  if (!isSideways) {
    const std::int32_t id = bandParameter(kKindGain, keyHandle);
    if (const auto moved = parameterByKey(values, id, values.valueOf(id), key)) edit(id, *moved);
    return true;
  }
  const double step =
      (key.key == Key::kLeft ? -kColumnsPerKey : kColumnsPerKey) * (isFine ? kFine : 1.0);
  const double factor = frequencies.frequencyAt(step) / frequencies.frequencyAt(0.0);
  if (keyHandle >= kBands) {
    beginDrag(Drag::kCrossover, keyHandle, {});
    beginMoving();
    moveCrossover(crossoverFrom * factor);
    endDrag();
    return true;
  }
  const std::int32_t id = bandParameter(kKindFrequency, keyHandle);
  const double now = static_cast<double>(getBandValue(kKindFrequency, keyHandle));
  edit(id, values.normalisedOf(id, static_cast<float>(now * factor)));
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
