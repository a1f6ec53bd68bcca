#include "host/edit_gestures.h"

#include "platform/index.h"

EditGestures::EditGestures(const ParameterStore& store, EditHistory& edits, HostLink& hostLink,
                           EngineLink& engineLink)
    : values(store),
      history(edits),
      host(hostLink),
      engine(engineLink),
      open(at(store.count())),
      lateEnds(at(store.count())) {}

void EditGestures::begin(std::int32_t index) {
  if (values.contains(index)) open[at(index)].store(true);
  history.begin(index);
  history.editHasBegun(index);
  host.tellGesture(index, true);
}

void EditGestures::end(std::int32_t index) {
  if (values.contains(index)) open[at(index)].store(false);
  history.end(index);
  engine.update(true);
  host.tellGesture(index, false);
}

bool EditGestures::isOpen(std::int32_t index) const noexcept {
  return values.contains(index) && open[at(index)].load();
}

void EditGestures::expectLateEnd(std::int32_t index) noexcept {
  if (values.contains(index)) lateEnds[at(index)].store(true);
}

bool EditGestures::isLateEnd(std::int32_t index) noexcept {
  return values.contains(index) && !isOpen(index) && lateEnds[at(index)].exchange(false);
}
