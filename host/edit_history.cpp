#include "host/edit_history.h"

#include "host/raised.h"

namespace {

constexpr float kBankStep = 0.125F;  // one bank in the values that the history records

}  // namespace

float EditHistory::valueOf(std::int32_t id) const noexcept {
  if (id >= 0 && id == values.bankSelector()) {
    return static_cast<float>(values.currentBank()) * kBankStep;
  }
  return values.normalised(id);
}

void EditHistory::begin(std::int32_t id) {
  if (values.contains(id) || isLoadMarker(id)) undoStack.push({id, valueOf(id)});
}

void EditHistory::end(std::int32_t id) {
  if (isLoadMarker(id)) redoStack.clear();
  if (!values.contains(id)) return;
  const bool unchanged = undoStack.removeUnchanged(id, values.normalised(id));
  if (!unchanged && !isStepping()) redoStack.clear();
}

void EditHistory::beginGroup() {
  if (openGroups.fetch_add(1) > 0) return;
  try {
    undoStack.push({historyGroupBegin, 0.0F});
  } catch (...) {
    openGroups.fetch_sub(1);
    throw;
  }
}

void EditHistory::endGroup() {
  if (openGroups.load() == 0 || openGroups.fetch_sub(1) > 1) return;
  undoStack.endGroup();
}

void EditHistory::endGroupWithEdit(std::int32_t index) {
  if (groupEndsWith.exchange(index) >= 0) endGroup();
}

void EditHistory::editHasBegun(std::int32_t index) {
  if (index >= 0 && groupEndsWith.compare_exchange_strong(index, -1)) endGroup();
}

void EditHistory::clear() {
  openGroups.store(0);
  groupEndsWith.store(-1);
  undoStack.clear();
  redoStack.clear();
}

void EditHistory::endOpenGroups() {
  groupEndsWith.store(-1);
  if (openGroups.load() == 0) return;
  openGroups.store(1);
  endGroup();
}

void EditHistory::step(bool towardsRedo, const Restore& restore) {
  endOpenGroups();  // an end that came later would stand alone, after the entries taken back now
  const Raised now(stepping);
  const std::int32_t loaded = walk(towardsRedo, restore);
  if (loaded != 0) restore.loadedState(loaded);
}

/// Returns the marker of a loaded state, or 0.
std::int32_t EditHistory::walk(bool towardsRedo, const Restore& restore) {
  HistoryStack& from = towardsRedo ? redoStack : undoStack;
  HistoryStack& to = towardsRedo ? undoStack : redoStack;
  // Walking back through the undo stack meets the end of a group first.
  const std::int32_t opens = towardsRedo ? historyGroupBegin : historyGroupEnd;
  const std::int32_t closes = towardsRedo ? historyGroupEnd : historyGroupBegin;
  std::int32_t loaded = 0;
  bool inGroup = false;
  const UpdateHold hold(engine);
  const auto present = [this](std::int32_t id) { return valueOf(id); };
  while (const auto entry = from.moveNewest(to, present)) {
    if (isLoadMarker(entry->id)) loaded = entry->id;
    if (values.contains(entry->id)) restore.parameter(*entry);
    if (entry->id == opens) inGroup = true;
    if (!inGroup || entry->id == closes) break;
  }
  return loaded;
}
