#include "core/plug_edits.h"

#include <cstddef>

#include "host/shared_value.h"
#include "platform/index.h"

PlugEdits::PlugEdits(const EditedParts& editedParts, const InstallFolders& folders)
    : parts(editedParts), bandTemplate(parts.values.defaults()), bandFiles(*this, folders) {}

float PlugEdits::getDefault(int id) const {
  if (!parts.values.contains(id)) return 0.0F;
  return loadShared(bandTemplate.values[static_cast<std::size_t>(id)]);
}

void PlugEdits::setDefault(int id, float normalised) {
  if (!parts.values.contains(id)) return;
  storeShared(bandTemplate.values[static_cast<std::size_t>(id)], normalised);
  parts.editor.defaultsStale = true;
}

void PlugEdits::begin(int id) {
  endLost(id);
  crossover.endLostGesture(id);
  {
    const HistoryGroup group(*this);
    crossover.beginRecording(id);
    links.beginRecording(id);
    parts.gestures.begin(id);
  }
  crossover.beginEdit(id);
  autoGain.beginEdit(id);
}

void PlugEdits::end(int id) {
  if (parts.gestures.isLateEnd(id)) return;
  parts.gestures.end(id);
  links.endRecording(id);
  crossover.endEdit(id);
  autoGain.endEdit();
}

void PlugEdits::beginAlone(int id) {
  endLost(id);
  parts.gestures.begin(id);
}

void PlugEdits::endAlone(int id) {
  if (!parts.gestures.isLateEnd(id)) parts.gestures.end(id);
}

void PlugEdits::endLost(int id) {
  if (!isOpen(id)) return;
  end(id);
  parts.gestures.expectLateEnd(id);
}

void PlugEdits::endAll() {
  for (int id = 0; id < kNumParams; ++id) endLost(id);
  parts.history.endOpenGroups();
}

void PlugEdits::flagsChanged() noexcept {
  parts.editor.flagsStale = true;
  markChanged();
}

void PlugEdits::setLocked(int id, bool on) {
  parts.rules.locked.set(id, on);
  flagsChanged();
}

void PlugEdits::setLinked(int id, bool on) {
  parts.rules.linked.set(id, on);
  flagsChanged();
}

void PlugEdits::setLockWords(std::span<const std::int32_t> words) {
  parts.rules.locked.setWords(words);
  flagsChanged();
}

void PlugEdits::setLinkWords(std::span<const std::int32_t> words) {
  parts.rules.linked.setWords(words);
  flagsChanged();
}

bool PlugEdits::neighboursGiveWay() const {
  return !parts.input.loading().load() && !parts.history.isStepping() && !parts.handOver.isHeld();
}
