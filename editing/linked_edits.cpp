#include "editing/linked_edits.h"

#include <cstddef>

#include "editing/edited_parameters.h"
#include "platform/index.h"

void LinkedEdits::beginRecording(int index) {
  if (!isBandParameter(index) || !parameters.isLinked(index) || parameters.isLocked(index)) return;
  std::uint32_t linked = 0;
  for (int band = 0; band < kNumBands; ++band) {
    const int other = bandParameterId(band, bandOneIdOf(index));
    if (other != index && parameters.isLinked(other) && !parameters.isLocked(other))
      linked |= 1U << band;
  }
  const std::uint32_t following = followers[at(index)].begin(linked);
  forRowOfBands(bandOneIdOf(index), following, [this](int id) { parameters.note(id); });
}

void LinkedEdits::endRecording(int index) {
  if (!isBandParameter(index)) return;
  const std::uint32_t following = followers[at(index)].end();
  forRowOfBands(bandOneIdOf(index), following, [this](int id) { parameters.endNote(id); });
}
