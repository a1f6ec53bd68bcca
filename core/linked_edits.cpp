#include "core/linked_edits.h"

#include <cstddef>

#include "core/plug.h"

void LinkedEdits::beginRecording(int index) {
  if (!isBandParameter(index) || !plug.isLinked(index) || plug.isLocked(index)) return;
  std::uint32_t linked = 0;
  for (int band = 0; band < kNumBands; ++band) {
    const int other = bandParameterId(band, bandOneIdOf(index));
    if (other != index && plug.isLinked(other) && !plug.isLocked(other)) linked |= 1U << band;
  }
  const std::uint32_t following = followers[static_cast<std::size_t>(index)].begin(linked);
  forRowOfBands(bandOneIdOf(index), following, [this](int id) { plug.beginRecording(id); });
}

void LinkedEdits::endRecording(int index) {
  if (!isBandParameter(index)) return;
  const std::uint32_t following = followers[static_cast<std::size_t>(index)].end();
  forRowOfBands(bandOneIdOf(index), following, [this](int id) { plug.endRecording(id); });
}
