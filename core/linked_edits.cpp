#include "core/linked_edits.h"

#include <cstddef>

#include "core/plug.h"

namespace {

template <typename Each>
void forRows(int index, std::uint32_t bands, const Each& each) {
  for (int band = 0; band < kNumBands; ++band) {
    if ((bands >> band & 1U) != 0) each(bandParameterId(band, bandOneIdOf(index)));
  }
}

}  // namespace

void LinkedEdits::beginRecording(int index) {
  endRecording(index);  // of a gesture whose end was lost, or comes after that of this one
  if (!isBandParameter(index) || !plug.isLinked(index) || plug.isLocked(index)) return;
  std::uint32_t following = 0;
  for (int band = 0; band < kNumBands; ++band) {
    const int other = bandParameterId(band, bandOneIdOf(index));
    if (other != index && plug.isLinked(other) && !plug.isLocked(other)) following |= 1U << band;
  }
  if (following == 0) return;
  followers[static_cast<std::size_t>(index)] = following;
  plug.beginHistoryGroup();
  forRows(index, following, [this](int id) { plug.beginRecording(id); });
}

void LinkedEdits::endRecording(int index) {
  if (!isBandParameter(index)) return;
  const std::uint32_t following = followers[static_cast<std::size_t>(index)].exchange(0);
  if (following == 0) return;
  forRows(index, following, [this](int id) { plug.endRecording(id); });
  plug.endHistoryGroup();
}
