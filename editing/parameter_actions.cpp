#include "editing/parameter_actions.h"

#include <bit>
#include <utility>

#include "editing/edited_parameters.h"
#include "host/editor_state.h"
#include "state/midi_map.h"

namespace {

using Part = ParameterMenuPart;
using State = ParameterMenuState;

bool hasMenu(int id) noexcept {
  if (isBandParameter(id)) return bandOneIdOf(id) != kB1State;
  return id >= 0 && id < kNumParams && id != kBandOrder;
}

/// Switches that are clicked by themselves keep out of locks and links.
bool canBeLocked(int id) noexcept {
  if (!isBandParameter(id)) return hasMenu(id);
  const int row = bandOneIdOf(id);
  return row != kB1State && row != kB1Bypass && row != kB1Solo;
}

/// Frequencies are what tells bands apart.
bool canBeShared(int id) noexcept {
  return isBandParameter(id) && canBeLocked(id) && bandOneIdOf(id) != kB1Frequency;
}

std::string kindOf(const State& state) { return state.crossoverBand ? "XOver" : "Dynamic"; }

Part lockPart(int id, const State& state) {
  const std::string verb = state.locked ? "Unlock" : "Lock";
  if (!isBandParameter(id)) return {Part::Kind::kLocking, "", {verb}};
  Part part{Part::Kind::kLocking,
            "Locking",
            {verb, "Lock all others", "Unlock all others", verb + " all",
             verb + " all " + kindOf(state)}};
  if (state.selectedBands > 1) part.entries.push_back(verb + " selected");
  return part;
}

Part propagatePart(const State& state) {
  Part part{Part::Kind::kPropagate,
            "Propagate",
            {"To all bands", "To other " + kindOf(state) + " bands"}};
  if (state.selectedBands > 1) part.entries.emplace_back("To selected bands");
  return part;
}

Part linkPart(const State& state) {
  const std::string verb = state.linked ? "Unlink" : "Link";
  Part part{Part::Kind::kLink,
            "Link",
            {verb, verb + " all bands", verb + " all " + kindOf(state) + " bands"}};
  // follows the lock although it is about the link: kept
  if (state.selectedBands > 1) {
    part.entries.emplace_back(state.locked ? "Unlink selected" : "Link selected");
  }
  return part;
}

Part midiPart(const State& state) {
  switch (state.midi) {
    case State::Midi::kLearning:
      return {Part::Kind::kMidi, "", {"Cancel Learn"}};
    case State::Midi::kMapped:
      return {Part::Kind::kMidi,
              "MIDI",
              {"Mapped to CC#" + std::to_string(state.controller), "", "Relearn...", "Unlearn"}};
    default:
      return {Part::Kind::kMidi, "", {"Learn..."}};
  }
}

/// Sets the flag of a row in some bands.
template <typename Set>
void setFlags(int id, BandMask bands, bool on, const Set& set) {
  for (int band = 0; band < kNumBands; ++band) {
    if (isIn(bands, band)) set(bandParameterId(band, bandOneIdOf(id)), on);
  }
}

}  // namespace

BandMask bandsOfKind(const EditedParameters& parameters, int band) {
  const float kind = parameters.getPlain(bandParameterId(band, kB1Type));
  BandMask bands = 0;
  for (int other = 0; other < kNumBands; ++other) {
    if (parameters.getPlain(bandParameterId(other, kB1Type)) == kind) bands |= 1U << other;
  }
  return bands;
}

std::vector<Part> parameterMenu(int id, const State& state) {
  std::vector<Part> menu;
  if (!hasMenu(id)) return menu;
  if (canBeLocked(id)) menu.push_back(lockPart(id, state));
  if (canBeShared(id)) {
    menu.push_back(propagatePart(state));
    menu.push_back(linkPart(state));
  }
  menu.push_back(midiPart(state));
  return menu;
}

State parameterMenuState(const EditedParameters& parameters, const EditorState& editor,
                         const MIDIMap& midi, int id) {
  State state;
  state.locked = parameters.isLocked(id);
  state.linked = parameters.isLinked(id);
  state.crossoverBand =
      !isBandParameter(id) || parameters.getPlain(bandParameterId(bandOf(id), kB1Type)) == 0.0F;
  state.selectedBands = std::popcount(editor.selectedBands & kEveryBand);
  state.controller = midi.controllerOf(id);
  if (midi.getLearnTarget() == id) {
    state.midi = State::Midi::kLearning;
  } else if (state.controller >= 0) {
    state.midi = State::Midi::kMapped;
  }
  return state;
}

void ParameterActions::lock(int id, int action, BandMask selected) {
  if (!canBeLocked(id)) return;
  const bool now = parameters.isLocked(id);
  const auto set = [this, id](BandMask bands, bool on) {
    setFlags(id, bands, on, [this](int each, bool flag) { parameters.setLocked(each, flag); });
  };
  if (action == kLockToggle) parameters.setLocked(id, !now);
  if (!isBandParameter(id)) return;
  switch (action) {
    case kLockAllOthers:
    case kUnlockAllOthers:
      set(kEveryBand & ~(1U << bandOf(id)), action == kLockAllOthers);
      break;
    case kLockAllBands:
      set(kEveryBand, !now);
      break;
    case kLockOfKind:
      set(bandsOfKind(parameters, bandOf(id)), !now);
      break;
    case kLockSelected:
      set(selected, !now);
      break;
    default:
      break;
  }
}

void ParameterActions::link(int id, int action, BandMask selected) {
  if (!canBeShared(id) || action < kLinkToggle || action > kLinkSelected) return;
  BandMask bands = 1U << bandOf(id);
  if (action == kLinkAllBands) bands = kEveryBand;
  if (action == kLinkOfKind) bands = bandsOfKind(parameters, bandOf(id));
  if (action == kLinkSelected) bands = selected;
  const bool now = parameters.isLinked(id);
  setFlags(id, bands, !now, [this](int each, bool flag) { parameters.setLinked(each, flag); });
  const EditHold hold(parameters);
  parameters.begin(id);
  parameters.align(id);
  parameters.end(id);
}

void ParameterActions::propagate(int id, int action, BandMask selected) {
  if (!canBeShared(id) || action < kPropagateToAll || action > kPropagateToSelected) return;
  BandMask bands = kEveryBand;
  if (action == kPropagateToKind) bands = bandsOfKind(parameters, bandOf(id));
  if (action == kPropagateToSelected) bands = selected;
  const float normalised = parameters.get(id);
  const EditHold hold(parameters);
  parameters.beginStep();
  for (int band = 0; band < kNumBands; ++band) {
    if (!isIn(bands, band)) continue;
    const int target = bandParameterId(band, bandOneIdOf(id));
    parameters.begin(target);
    parameters.set(target, normalised);
    parameters.end(target);
  }
  parameters.endStep();
}
