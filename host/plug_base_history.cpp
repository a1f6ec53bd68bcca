// What the user can take back.

#include "host/aeff_editor.h"
#include "host/plug_base.h"

namespace {

constexpr float kBankStep = 0.125F;  // one bank, as the history notes it

}  // namespace

float PlugBase::historyValue(std::int32_t id) const noexcept {
  if (id == abParameter) return static_cast<float>(curBank.load(relaxed)) * kBankStep;
  return isParameter(id) ? normalisedValue(id) : 0.0F;
}

void PlugBase::beginRecording(std::int32_t index) {
  if (isParameter(index) || isLoadMarker(index)) undoStack.push({index, historyValue(index)});
}

void PlugBase::endRecording(std::int32_t index) {
  if (isLoadMarker(index)) redoStack.clear();
  if (!isParameter(index)) return;
  const bool unchanged = undoStack.removeUnchanged(index, normalisedValue(index));
  if (!unchanged && !inHistoryStep.load()) redoStack.clear();
}

void PlugBase::beginHistoryGroup() {
  if (historyGroups.fetch_add(1) == 0) undoStack.push({historyGroupBegin, 0.0F});
}

void PlugBase::endHistoryGroup() {
  if (historyGroups.load() == 0 || historyGroups.fetch_sub(1) > 1) return;
  undoStack.endGroup();
}

void PlugBase::endGroupWithEdit(std::int32_t index) {
  if (groupEndsWith.exchange(index) >= 0) endHistoryGroup();
}

/// Behind the begin of an edit, which may be the one that a group waits for.
void PlugBase::endAwaitedGroup(std::int32_t index) {
  if (index >= 0 && groupEndsWith.compare_exchange_strong(index, -1)) endHistoryGroup();
}

void PlugBase::endLostGesture(std::int32_t index) {
  if (!inGesture(index)) return;
  endEdit(index);
  lateEnds[static_cast<std::size_t>(index)].store(true);
}

bool PlugBase::isLateEnd(std::int32_t index) noexcept {
  return isParameter(index) && !inGesture(index) &&
         lateEnds[static_cast<std::size_t>(index)].exchange(false);
}

bool PlugBase::inGesture(std::int32_t index) const noexcept {
  return isParameter(index) && openGestures[static_cast<std::size_t>(index)].load();
}

void PlugBase::clearHistory() {
  historyGroups.store(0);
  groupEndsWith.store(-1);
  undoStack.clear();
  redoStack.clear();
}

void PlugBase::undo() { stepHistory(false); }

void PlugBase::redo() { stepHistory(true); }

void PlugBase::stepHistory(bool towardsRedo) {
  // A group still open ends here: its own end must not stand alone behind what is taken back now.
  groupEndsWith.store(-1);
  if (historyGroups.load() > 0) {
    historyGroups.store(1);
    endHistoryGroup();
  }
  HistoryStack& from = towardsRedo ? redoStack : undoStack;
  HistoryStack& to = towardsRedo ? undoStack : redoStack;
  // The marks of a group come in the order in which it is walked.
  const std::int32_t opens = towardsRedo ? historyGroupBegin : historyGroupEnd;
  const std::int32_t closes = towardsRedo ? historyGroupEnd : historyGroupBegin;
  std::int32_t loaded = 0;
  inHistoryStep.store(true);
  {
    const UpdateBatch batch(*this);
    bool inGroup = false;
    while (const auto entry = from.pop()) {
      to.push({entry->id, historyValue(entry->id)});
      if (isLoadMarker(entry->id)) loaded = entry->id;
      restoreParameter(*entry, towardsRedo);
      if (entry->id == opens) inGroup = true;
      if (!inGroup || entry->id == closes) break;
    }
  }
  if (loaded != 0) restoreLoadedState(loaded, towardsRedo);
  inHistoryStep.store(false);
}

void PlugBase::restoreParameter(HistoryEntry entry, bool towardsRedo) {
  if (!isParameter(entry.id)) return;
  tellGesture(entry.id, true);
  if (towardsRedo) {
    setParameterAutomated(entry.id, entry.value);
    expectEcho(entry.id);
  } else {
    setParameter(entry.id, entry.value);
    tellValue(entry.id);
  }
  tellGesture(entry.id, false);
}

void PlugBase::restoreLoadedState(std::int32_t marker, bool towardsRedo) {
  if (AEffEditor* const editor = getEditor())
    editor->setParameter(marker, towardsRedo ? 1.0F : 0.0F);
}
