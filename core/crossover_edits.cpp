#include "core/crossover_edits.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "core/crossover_spacing.h"
#include "core/gesture_bands.h"
#include "core/plug.h"

namespace {

bool isBandFrequency(int index) noexcept {
  return isBandParameter(index) && bandOneIdOf(index) == kB1Frequency;
}

}  // namespace

CrossoverEdits::Crossover CrossoverEdits::crossoverOf(int index) {
  Crossover found;
  if (!isBandFrequency(index)) return found;
  BandLayout& layout = plug.engine.layout;
  const BandLayout::Scope lock(layout);
  const auto band = std::ranges::find(layout.xover, bandOf(index));
  if (band == layout.xover.end()) return found;
  found.bands = layout.xover;
  found.place = static_cast<std::size_t>(band - layout.xover.begin());
  for (const std::int32_t listed : layout.xover) {
    found.centres.push_back(layout.frequency[static_cast<std::size_t>(listed)]);
  }
  return found;
}

void CrossoverEdits::automate(int index, float normalised) {
  const Crossover crossover = crossoverOf(index);
  const bool alone = crossover.bands.empty() || std::isnan(normalised) || plug.isLoading.load() ||
                     plug.inHistoryStep.load() || plug.updatesHeld();
  if (alone) {
    plug.PlugBaseJSON::setParameterAutomated(index, normalised);
    return;
  }
  const auto wanted =
      static_cast<double>(plug.normalisedToPlain(index, std::clamp(normalised, 0.0F, 1.0F)));
  const auto spaced = spacedCrossover(crossover.centres, crossover.place, wanted);
  std::optional<Plug::UpdateHold> hold;
  for (std::size_t i = 0; i < spaced.size(); ++i) {
    if (i == crossover.place || spaced[i] == crossover.centres[i]) continue;
    if (!hold) hold.emplace(plug);
    moveNeighbour(bandParameterId(crossover.bands[i], kB1Frequency), spaced[i]);
  }
  const double own = spaced[crossover.place];
  if (own != wanted) normalised = plug.plainToNormalised(index, static_cast<float>(own));
  plug.PlugBaseJSON::setParameterAutomated(index, normalised);
}

void CrossoverEdits::moveNeighbour(int index, double centre) {
  if (plug.isLocked(index)) return;  // stays, and so there is nothing to tell
  const float normalised = plug.plainToNormalised(index, static_cast<float>(centre));
  // The messages alone: this is no edit of the user's that Auto Gain should follow.
  const bool told = gesturesTold() && !takesPart(index);
  if (told) plug.AudioEffectX::beginEdit(index);
  plug.PlugBaseJSON::setParameterAutomated(index, normalised);
  if (told) plug.AudioEffectX::endEdit(index);
}

bool CrossoverEdits::takesPart(int index) const {
  const Gesture open = gesture.load();
  const bool isCompanion = open.isOpen && (open.companions >> bandOf(index) & 1U) != 0;
  return isCompanion || plug.inGesture(index);
}

void CrossoverEdits::endLostGesture(int index) {
  const Gesture open = gesture.load();
  if (open.isOpen && !crossoverOf(index).bands.empty()) {
    plug.endLostGesture(bandParameterId(open.band, kB1Frequency));
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
    plug.linkedEdits.beginRecording(id);
    plug.beginRecording(id);
  });
}

void CrossoverEdits::beginEdit(int index) {
  if (!isBandFrequency(index) || !gesturesTold()) return;
  const Gesture open = gesture.load();
  if (!open.isOpen || open.band != bandOf(index)) return;
  forRowOfBands(kB1Frequency, open.companions,
                [this](int id) { plug.AudioEffectX::beginEdit(id); });
}

void CrossoverEdits::endEdit(int index) {
  Gesture open = gesture.load();
  if (!isBandFrequency(index) || !open.isOpen || open.band != bandOf(index)) return;
  if (!gesture.compare_exchange_strong(open, {})) return;
  forRowOfBands(kB1Frequency, open.companions, [this](int id) {
    plug.endRecording(id);
    plug.linkedEdits.endRecording(id);
    if (gesturesTold()) plug.AudioEffectX::endEdit(id);
  });
}

bool CrossoverEdits::gesturesTold() const {
  return !plug.gesturesOff.load(std::memory_order_relaxed);
}
