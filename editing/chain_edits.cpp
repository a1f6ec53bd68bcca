#include "editing/chain_edits.h"

#include <cstddef>
#include <cstdint>

#include "dynamics/band_layout.h"
#include "dynamics/engine_settings.h"
#include "editing/chain_repair.h"
#include "editing/crossover_edits.h"
#include "editing/crossover_spacing.h"
#include "editing/edited_parameters.h"
#include "editing/linked_edits.h"
#include "editing/parameter_ids.h"
#include "host/alerts.h"

// All frequencies, from the start, since crossover bands move when others do.
ChainEdits::NotedGroup::NotedGroup(EditedParameters& edited) : parameters(edited), group(edited) {
  for (int band = 0; band < kNumBands; ++band) {
    parameters.note(bandParameterId(band, kB1Frequency));
  }
}

ChainEdits::NotedGroup::~NotedGroup() {
  for (int band = 0; band < kNumBands; ++band) {
    parameters.endNote(bandParameterId(band, kB1Frequency));
  }
}

void ChainEdits::set(int index, float normalised) {
  const bool isFrequency = isBandParameter(index) && bandOneIdOf(index) == kB1Frequency;
  if (isFrequency) {
    parameters.set(index, normalised);
    return;
  }
  linkedEdits.beginRecording(index);
  parameters.note(index);
  parameters.set(index, normalised);
  parameters.endNote(index);
  linkedEdits.endRecording(index);
}

double ChainEdits::frequencyOf(const Room& room) const {
  return static_cast<double>(parameters.toPlain(kB1Frequency, room.own));
}

/// Clears a band's locks and links. Values that a lock kept out of the live bank are stored in it.
void ChainEdits::freeBand(int band) {
  for (int row = kB1State; row <= kB1SCHFType; ++row) {
    const int id = bandParameterId(band, row);
    const bool wasLocked = parameters.isLocked(id);
    parameters.setLocked(id, false);
    parameters.setLinked(id, false);
    if (wasLocked) parameters.setAlone(id, parameters.get(id));
  }
}

void ChainEdits::automate(int index, double plain) {
  set(index, parameters.toNormalised(index, static_cast<float>(plain)));
}

/// Sets the order even if it is locked, since it must describe the chain.
void ChainEdits::automateOrder(float plain) {
  const float normalised = parameters.toNormalised(kBandOrder, plain);
  const bool wasLocked = parameters.isLocked(kBandOrder);
  parameters.setLocked(kBandOrder, false);
  set(kBandOrder, normalised);
  parameters.setLocked(kBandOrder, wasLocked);
}

/// Finds room for a band in the crossover; if there is none, tells the user. A new band gets its
/// frequency if possible; a band that comes from another list gives way as if dragged there.
std::optional<ChainEdits::Room> ChainEdits::findRoom(int band, float wanted, bool isNew) {
  BandLayout& layout = parameters.layout();
  std::vector<CrossoverPlace> others;
  {
    // Includes bands that an invalid order keeps out of the list: the order is repaired later.
    const BandLayout::Scope lock(layout);
    for (std::int32_t other = 0; other < kNumBands; ++other) {
      const auto index = static_cast<std::size_t>(other);
      if (other == band || !layout.state[index] || !layout.isXover[index]) continue;
      others.push_back({other, layout.frequency[index],
                        parameters.isLocked(bandParameterId(other, kB1Frequency))});
    }
  }
  separateEqual(others);
  Room room{wanted, {}};
  auto found = isNew ? std::nullopt : roomByRule(others, frequencyOf(room));
  if (!found) found = roomInCrossover(others, frequencyOf(room));
  if (!found) {
    Alerts::instance().add("Halvekro : Band Error",
                           "There is no room for a crossover band at this frequency: the bands "
                           "beside it are locked. Nothing has been changed.");
    return std::nullopt;
  }
  if (found->own != frequencyOf(room)) {
    room.own = parameters.toNormalised(kB1Frequency, static_cast<float>(found->own));
  }
  for (std::size_t i = 0; i < others.size(); ++i) {
    const int id = bandParameterId(others[i].band, kB1Frequency);
    const auto hz = static_cast<double>(parameters.getPlain(id));
    if (found->others[i] != hz) room.moves.emplace_back(id, found->others[i]);
  }
  return room;
}

void ChainEdits::makeRoom(const Room& room) {
  for (const auto& [id, hz] : room.moves) crossoverEdits.moveNeighbour(id, hz);
}

/// Repairs an order that is no valid chain, as a host's automation may leave it.
void ChainEdits::repairOrder() {
  const auto repair = chainRepair(parameters);
  if (!repair) return;
  for (const auto& [id, normalised] : repair->frequencies) {
    parameters.setAlone(id, normalised);  // links would move other bands, too
    parameters.tellInGesture(id);
  }
  automateOrder(parameters.toPlain(kBandOrder, repair->order));
}

int ChainEdits::addBand(int list, double wanted) {
  if (list < kPreList || list > kPostList) return -1;
  BandLayout& layout = parameters.layout();
  const BandLayout::List off = layout.copyOf(layout.off);
  if (off.empty()) return -1;
  const int band = off.front();
  Room room{parameters.toNormalised(kB1Frequency, static_cast<float>(wanted)), {}};
  if (list == kXoverList) {
    const auto found = findRoom(band, room.own, true);
    if (!found) return -1;
    room = *found;
  }
  const NotedGroup group(parameters);
  const UpdateHold hold(parameters.updates());
  makeRoom(room);
  const float order = parameters.moveBand(band, list, frequencyOf(room));
  freeBand(band);
  automate(bandParameterId(band, kB1State), 1.0);
  automate(bandParameterId(band, kB1Type), list == kXoverList ? 0.0 : 1.0);
  set(bandParameterId(band, kB1Frequency), room.own);
  automateOrder(order);
  repairOrder();
  for (int id = kB1State; id <= kB1SCHFType; ++id) {
    if (id == kB1State || id == kB1Type || id == kB1Frequency) continue;
    const int index = bandParameterId(band, id);
    set(index, parameters.getDefault(index));
  }
  return band;
}

bool ChainEdits::setBandPosition(int band, int list) {
  if (!isBand(band) || list < kPreList || list > kOffList) return false;
  if (list == kOffList) {
    deleteBand(band);
    return true;
  }
  const int frequency = bandParameterId(band, kB1Frequency);
  Room room{parameters.get(frequency), {}};
  if (list == kXoverList) {
    const auto found = findRoom(band, room.own, false);
    if (!found) return false;
    room = *found;
  }
  const NotedGroup group(parameters);
  const UpdateHold hold(parameters.updates());
  const float order = parameters.moveBand(band, list, frequencyOf(room));
  freeBand(band);
  automate(bandParameterId(band, kB1State), 1.0);
  automate(bandParameterId(band, kB1Type), list == kXoverList ? 0.0 : 1.0);
  automateOrder(order);
  checkSidechainSources();
  makeRoom(room);
  if (list == kXoverList) set(frequency, room.own);
  repairOrder();
  return true;
}

void ChainEdits::deleteBand(int band) {
  if (!isBand(band)) return;
  const NotedGroup group(parameters);
  freeBand(band);
  const UpdateHold hold(parameters.updates());
  const float order = parameters.moveBand(band, kOffList, 0.0);
  automate(bandParameterId(band, kB1State), 0.0);
  automateOrder(order);
  repairOrder();
  checkSidechainSources();
}

void ChainEdits::checkSidechainSources() {
  const HistoryGroup group(parameters);
  for (int band = 0; band < kNumBands; ++band) {
    const int id = bandParameterId(band, kB1SCSBand);
    const int source = static_cast<int>(parameters.getPlain(id));
    if (source == -1 || parameters.layout().crossoverIndex(source) != -1) continue;
    automate(id, -1.0);
    automate(bandParameterId(band, kB1SCSrc), SidechainRoute::kBand);
  }
}
