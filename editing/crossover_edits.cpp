#include "editing/crossover_edits.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "editing/crossover_spacing.h"
#include "editing/edited_parameters.h"
#include "editing/gesture_bands.h"
#include "editing/linked_edits.h"
#include "editing/parameter_ids.h"
#include "platform/index.h"

namespace {

bool isBandFrequency(int index) noexcept {
  return isBandParameter(index) && bandOneIdOf(index) == kB1Frequency;
}

}  // namespace

CrossoverEdits::Crossover CrossoverEdits::crossoverOf(int index) {
  Crossover found;
  if (!isBandFrequency(index)) return found;
  BandLayout& layout = parameters.layout();
  const BandLayout::Scope lock(layout);
  const auto band = std::ranges::find(layout.xover, bandOf(index));
  if (band == layout.xover.end()) return found;
  found.bands = layout.xover;
  found.place = static_cast<std::size_t>(band - layout.xover.begin());
  for (const std::int32_t listed : layout.xover) {
    found.centres.push_back(layout.frequency[at(listed)]);
  }
  return found;
}

void CrossoverEdits::automate(int index, float normalised) {
  const Crossover crossover = crossoverOf(index);
  if (crossover.bands.empty() || std::isnan(normalised) || !parameters.neighboursGiveWay()) {
    parameters.setAmongNeighbours(index, normalised);
    return;
  }
  const auto wanted =
      static_cast<double>(parameters.toPlain(index, std::clamp(normalised, 0.0F, 1.0F)));
  const auto spaced = spacedCrossover(crossover.centres, crossover.place, wanted);
  std::optional<UpdateHold> hold;
  for (std::size_t i = 0; i < spaced.size(); ++i) {
    if (i == crossover.place || spaced[i] == crossover.centres[i]) continue;
    if (!hold) hold.emplace(parameters.updates());
    moveNeighbour(bandParameterId(crossover.bands[i], kB1Frequency), spaced[i]);
  }
  const double own = spaced[crossover.place];
  if (own != wanted) normalised = parameters.toNormalised(index, static_cast<float>(own));
  parameters.setAmongNeighbours(index, normalised);
}

void CrossoverEdits::moveNeighbour(int index, double centre) {
  if (parameters.isLocked(index)) return;  // does not move, so there is nothing to tell
  const float normalised = parameters.toNormalised(index, static_cast<float>(centre));
  // Only the messages: this is not an edit by the user, so Auto Gain must not react.
  const bool told = !takesPart(index);
  if (told) parameters.tellGesture(index, true);
  parameters.setAmongNeighbours(index, normalised);
  if (told) parameters.tellGesture(index, false);
}

bool CrossoverEdits::takesPart(int index) const {
  const Gesture open = gesture.load();
  const bool isCompanion = open.isOpen && (open.companions >> bandOf(index) & 1U) != 0;
  return isCompanion || parameters.isOpen(index);
}

void CrossoverEdits::endLostGesture(int index) {
  const Gesture open = gesture.load();
  if (open.isOpen && !crossoverOf(index).bands.empty()) {
    parameters.endLost(bandParameterId(open.band, kB1Frequency));
  }
}

void CrossoverEdits::beginRecording(int index) {
  std::uint32_t others = 0;
  for (const std::int32_t band : crossoverOf(index).bands) others |= 1U << band;
  if (others == 0) return;
  others &= ~(1U << bandOf(index));
  gesture.store(
      {true, static_cast<std::uint8_t>(bandOf(index)), static_cast<std::uint16_t>(others)});
  forRowOfBands(kB1Frequency, others, [this](int id) {
    linkedEdits.beginRecording(id);
    parameters.note(id);
  });
}

void CrossoverEdits::beginEdit(int index) {
  if (!isBandFrequency(index)) return;
  const Gesture open = gesture.load();
  if (!open.isOpen || open.band != bandOf(index)) return;
  forRowOfBands(kB1Frequency, open.companions,
                [this](int id) { parameters.tellGesture(id, true); });
}

void CrossoverEdits::endEdit(int index) {
  Gesture open = gesture.load();
  if (!isBandFrequency(index) || !open.isOpen || open.band != bandOf(index)) return;
  if (!gesture.compare_exchange_strong(open, {})) return;
  forRowOfBands(kB1Frequency, open.companions, [this](int id) {
    parameters.endNote(id);
    linkedEdits.endRecording(id);
    parameters.tellGesture(id, false);
  });
}
