#include "core/plug_edits.h"

#include <cstddef>

#include "host/shared_value.h"

PlugEdits::PlugEdits(const EditedParts& parts, const InstallFolders& folders)
    : the(parts), bandTemplate(parts.values.defaults()), bandFiles(*this, folders) {}

float PlugEdits::getDefault(int id) const {
  if (!the.values.contains(id)) return 0.0F;
  return loadShared(bandTemplate.values[static_cast<std::size_t>(id)]);
}

void PlugEdits::setDefault(int id, float normalised) {
  if (!the.values.contains(id)) return;
  storeShared(bandTemplate.values[static_cast<std::size_t>(id)], normalised);
  the.editor.defaultsStale = true;
}

void PlugEdits::begin(int id) {
  endLost(id);
  crossover.endLostGesture(id);
  {
    const EditStep step(*this);
    crossover.beginRecording(id);
    links.beginRecording(id);
    the.gestures.begin(id);
  }
  crossover.beginEdit(id);
  autoGain.beginEdit(id);
}

void PlugEdits::end(int id) {
  if (the.gestures.isLateEnd(id)) return;
  the.gestures.end(id);
  links.endRecording(id);
  crossover.endEdit(id);
  autoGain.endEdit();
}

void PlugEdits::endLost(int id) {
  if (!isOpen(id)) return;
  end(id);
  the.gestures.expectLateEnd(id);
}

void PlugEdits::endAll() {
  for (int id = 0; id < kNumParams; ++id) endLost(id);
  the.history.endOpenGroups();
}

void PlugEdits::flagsChanged() noexcept {
  the.editor.flagsStale = true;
  markChanged();
}

void PlugEdits::setLocked(int id, bool on) {
  the.rules.locked.set(id, on);
  flagsChanged();
}

void PlugEdits::setLinked(int id, bool on) {
  the.rules.linked.set(id, on);
  flagsChanged();
}

void PlugEdits::setLockWords(std::span<const std::int32_t> words) {
  the.rules.locked.setWords(words);
  flagsChanged();
}

void PlugEdits::setLinkWords(std::span<const std::int32_t> words) {
  the.rules.linked.setWords(words);
  flagsChanged();
}

bool PlugEdits::neighboursGiveWay() const {
  return !the.input.loading().load() && !the.history.isStepping() && !the.handOver.isHeld();
}
