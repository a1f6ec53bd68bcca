#include "graphs/eq_graph_edits.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <iterator>
#include <string>
#include <utility>

#include "core/plug.h"
#include "editing/graph_nodes.h"
#include "editing/parameter_ids.h"
#include "editor/controls/action_menu.h"
#include "editor/controls/tiled_menus.h"
#include "editor/layout/tag_table.h"
#include "platform/index.h"

namespace {

constexpr double kFineDrag = 0.1;
constexpr double kLongStem = graph_handles::kReach;  // shorter ones jump under the mouse
constexpr double kRowsPerNotch = 20.0;               // of a drag that turns Q
constexpr double kLeastRatio = 1.02;                 // between bands of the crossover

}  // namespace

void EQGraphEdits::selectPressed(int band, CButtonState buttons) {
  togglesOnRelease = false;
  const bool isAmong = isSelected(band);
  if (buttons.isLeft() && !buttons.isDouble() && extendsSelection(buttons)) {
    // One that is selected may be about to be dragged.
    togglesOnRelease = isAmong;
    if (!isAmong) tell(kGUIShiftSelect, band);
  } else if (isAmong) {
    selectAmong(band);
  } else {
    tell(kGUISelectOnly, band);
  }
}

void EQGraphEdits::selectAmong(int band) {
  if (band == selectedBand || getListener() == nullptr) return;
  const Held<GraphUpdate> update =
      Held<GraphUpdate>::adopt(new GraphUpdate(ControlSetup{{}, getListener(), kGUISelectedBand}));
  update->setValue(static_cast<float>(band));
  getListener()->valueChanged(*update);
}

bool EQGraphEdits::createBand(CPoint where, CButtonState buttons) {
  constexpr double kAxis = 35.0;  // from the lower edge
  const graph_handles::Point point = toPlot(where);
  if (point.y >= levels.height - kAxis || activeCount() >= kBands) return false;
  int list = kPostList;
  if (buttons.has(kShift)) list = kXoverList;
  if (buttons.has(kAlt)) list = kPreList;
  int band = -1;
  {
    const HistoryGroup group(plugin.edits());
    band = plugin.addBand(list, frequencies.frequencyAt(point.x));
    if (band < 0) return false;
    const std::int32_t gain = bandParameter(kNodeGain, band);
    edit(gain, values.normalisedOf(gain, static_cast<float>(levels.gainAt(point.y))));
  }
  tell(kGUISelectOnly, band);
  freshenHandles();
  keyHandle = band;
  showBar(band);
  grabOffset = 0.0;
  beginDrag(Drag::kBand, band, where);
  return true;
}

void EQGraphEdits::toggleBand(int band) {
  const std::int32_t id = bandParameter(kNodeOn, band);
  edit(id, 1.0F - plugin.getPlainValue(id));
}

void EQGraphEdits::toggleSelected(int hit) {
  const HistoryGroup group(plugin.edits());
  const std::uint32_t others = selectedMask & ~bitOf(hit);
  for (int band = 0; std::popcount(selectedMask) > 1 && band < kBands; ++band) {
    if ((others & bitOf(band)) == 0 || !isActive(band)) continue;
    tell(kGUIShiftSelect, band);
    toggleBand(band);
  }
  toggleBand(hit);
}

int EQGraphEdits::nextSelected(std::uint32_t gone) const {
  const auto stays = [&](int band) { return isActive(band) && (gone & bitOf(band)) == 0; };
  if (stays(selectedBand)) return selectedBand;
  if (stays(previousBand)) return previousBand;
  for (int band = kBands - 1; band >= 0; --band) {
    if (stays(band)) return band;
  }
  return -1;
}

void EQGraphEdits::deleteBands(std::uint32_t bands) {
  const bool isOfSeveral = std::popcount(selectedMask) > 1;
  std::uint32_t gone = 0;
  {
    const HistoryGroup group(plugin.edits());
    for (int band = 0; band < kBands; ++band) {
      if ((bands & bitOf(band)) == 0 || !isActive(band) || activeCount() <= 1) continue;
      if (isOfSeveral && isSelected(band)) tell(kGUISelectToggle, band);
      plugin.deleteBand(band);
      gone |= bitOf(band);
    }
  }
  if (gone == 0) return;
  showBar(-1);
  underMouse = -1;
  const int next = nextSelected(gone);
  if (next >= 0) tell(kGUISelectOnly, next);
  keyHandle = next;
  isStale = true;
  setDirty();
}

void EQGraphEdits::openMenu(int handle, CPoint where) {
  const CPoint place = localToFrame(where);
  tell(kGUIOpenBandMenu, bandOfHandle(handle), {place.x, place.y, place.x, place.y});
}

void EQGraphEdits::openRangeMenu(CPoint where) {
  Menu menu;
  for (int i = 0; i < static_cast<int>(std::size(kGraphRanges)); ++i) {
    const float range = kGraphRanges[i];
    menu.addChecked(std::to_string(static_cast<int>(range)) + "dB",
                    static_cast<double>(range) == levels.range,
                    [this, i] { tell(kGUIGraphRangeChanged, i); });
  }
  openActionMenu(*this, std::move(menu), {where.x, where.y, where.x, where.y}, true);
}

// Drags.

void EQGraphEdits::beginDrag(Drag kind, int handle, CPoint where) {
  drag = kind;
  dragBand = handle;
  isMoving = false;
  dragFrom = lastPoint = toPlot(where);
  dragShift = {};
  dragTags = {-1, -1};
  rubberBands = 0;
  isRubberSeen = false;
  rememberMouse(getFrame());
  setDirty();
}

/// The host may take a band away while it is held, or one beside the point that is.
bool EQGraphEdits::isDraggedThere() const {
  if (drag == Drag::kRubber) return true;
  if (drag != Drag::kCrossover) return isActive(dragBand);
  if (nodeOf(dragBand) < 0) return false;
  const auto place = at(dragBand - kBands);
  const bool isSame = !isMoving || dragTags[0] == bandParameterId(xover[place], kB1Frequency);
  return isSame && isActive(xover[place]) && isActive(xover[place + 1]);
}

/// The edits begin with the first move: what only presses edits nothing.
void EQGraphEdits::beginMoving() {
  isMoving = true;
  togglesOnRelease = false;
  if (drag == Drag::kRubber) return;
  hideMouse(getFrame(), values);
  const graph_handles::Handle& held = handleOf(dragBand);
  const double stem = held.centre.y - held.targetRow;
  stemRows = std::abs(stem) > kLongStem ? stem : 0.0;
  const auto frequencyOf = [this](int band) {
    return static_cast<double>(getBandValue(kNodeFrequency, band));
  };
  if (drag == Drag::kBand) {
    dragTags = {bandParameter(kNodeFrequency, dragBand), bandParameter(kNodeGain, dragBand)};
  } else if (drag == Drag::kQ) {
    if ((getBandFlags(dragBand) & kNodeHasQ) != 0) dragTags[0] = bandParameter(kNodeQ, dragBand);
  } else {
    const auto place = at(dragBand - kBands);
    dragTags[0] = bandParameterId(xover[place], kB1Frequency);
    crossoverFrom =
        graph_handles::crossoverFrequency(frequencyOf(xover[place]), frequencyOf(xover[place + 1]));
  }
  const HistoryGroup group(plugin.edits());
  for (const std::int32_t id : dragTags) beginEdit(id);
}

void EQGraphEdits::moveDrag(CPoint where, CButtonState buttons) {
  const graph_handles::Point now = toPlot(where);
  const graph_handles::Point moved{now.x - lastPoint.x, now.y - lastPoint.y};
  lastPoint = now;
  if (moved.x == 0.0 && moved.y == 0.0) return;
  if (!isDraggedThere()) {
    endDrag();
    return;
  }
  if (!isMoving) beginMoving();
  if (drag == Drag::kRubber) {
    moveRubber(where);
    return;
  }
  const bool isFine = buttons.has(kShift);
  if (isFine) {
    dragShift.x -= moved.x * (1.0 - kFineDrag);
    dragShift.y -= moved.y * (1.0 - kFineDrag);
  }
  const graph_handles::Point to{now.x + dragShift.x, now.y + dragShift.y};
  if (drag == Drag::kBand) {
    moveBand(to, moved);
  } else if (drag == Drag::kCrossover) {
    moveCrossover(frequencies.frequencyAt(to.x - grabOffset));
  } else if (dragTags[0] >= 0) {
    const double notches = -moved.y * (isFine ? kFineDrag : 1.0) / kRowsPerNotch;
    const double factor = std::pow(1.5, preferences.invertedQ ? -notches : notches);
    const ValueSteps steps = values.stepsOf(dragTags[0]);
    writePlain(dragTags[0],
               std::clamp(static_cast<double>(getBandValue(kNodeQ, dragBand)) * factor,
                          static_cast<double>(steps.least), static_cast<double>(steps.most)));
  }
  isStale = true;
  setDirty();
}

/// A handle may stand at the edge for a frequency beyond it: a drag up or down leaves that alone.
void EQGraphEdits::moveBand(graph_handles::Point to, graph_handles::Point moved) {
  if (moved.x != 0.0) writePlain(dragTags[0], frequencies.frequencyAt(to.x - grabOffset));
  if (moved.y != 0.0) writePlain(dragTags[1], levels.gainAt(to.y - stemRows));
}

/// Both bands beside the point move by the same ratio, as far as the next ones leave room.
void EQGraphEdits::moveCrossover(double frequency) {
  const auto place = at(dragBand - kBands);
  if (place + 1 >= xover.size()) return;
  const auto frequencyOf = [this](int band) {
    return static_cast<double>(getBandValue(kNodeFrequency, band));
  };
  const double low = frequencyOf(xover[place]);
  const double high = frequencyOf(xover[place + 1]);
  double factor = frequency / graph_handles::crossoverFrequency(low, high);
  if (place > 0) {
    factor = std::max(factor, std::min(1.0, frequencyOf(xover[place - 1]) * kLeastRatio / low));
  }
  if (place + 2 < xover.size()) {
    factor = std::min(factor, std::max(1.0, frequencyOf(xover[place + 2]) / kLeastRatio / high));
  }
  PlugEdits& edited = plugin.edits();
  const int lowId = bandParameterId(xover[place], kB1Frequency);
  const int highId = bandParameterId(xover[place + 1], kB1Frequency);
  const auto moved = [factor](double from) { return static_cast<float>(from * factor); };
  {
    const UpdateHold hold(edited.updates());
    edited.set(lowId, edited.toNormalised(lowId, moved(low)));
    edited.set(highId, edited.toNormalised(highId, moved(high)));
  }
  // The others make room once both are there.
  edited.set(lowId, edited.get(lowId));
}

void EQGraphEdits::shiftCrossover(int handle, double factor) {
  beginDrag(Drag::kCrossover, handle, {});
  beginMoving();
  moveCrossover(crossoverFrom * factor);
  endDrag();
}

void EQGraphEdits::moveRubber(CPoint where) {
  const CPoint from = fromPlot(dragFrom);
  const CRect around{std::min(from.x, where.x), std::min(from.y, where.y),
                     std::max(from.x, where.x), std::max(from.y, where.y)};
  rubber = around.cutTo(size);
  isRubberSeen = true;
  freshenHandles();
  std::uint32_t inside = 0;
  for (int band = 0; band < kBands; ++band) {
    if (handleOf(band).isActive && around.contains(fromPlot(handleOf(band).centre))) {
      inside |= bitOf(band);
    }
  }
  for (std::uint32_t changed = inside ^ std::exchange(rubberBands, inside); changed != 0;
       changed &= changed - 1) {
    tell(kGUISelectToggle, std::countr_zero(changed));
  }
  setDirty();
}

void EQGraphEdits::endDrag() {
  const Drag ended = std::exchange(drag, Drag::kNone);
  const int band = std::exchange(dragBand, -1);
  if (ended == Drag::kNone) return;
  if (std::exchange(isMoving, false)) {
    if (ended == Drag::kRubber) {
      tell(kGUISelectToggle, -1);
    } else {
      for (const std::int32_t id : std::exchange(dragTags, {-1, -1})) endEdit(id);
    }
  } else if (togglesOnRelease && isBand(band)) {
    tell(kGUIShiftSelect, band);
  }
  togglesOnRelease = false;
  isRubberSeen = false;
  restoreMouse(getFrame());
  isStale = true;
  setDirty();
}
