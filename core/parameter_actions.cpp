#include "core/parameter_actions.h"

#include <bit>
#include <utility>

#include "core/plug.h"

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

BandMask bandsOfKind(const Plug& plug, int band) {
  const float kind = plug.getPlainValue(bandParameterId(band, kB1Type));
  BandMask bands = 0;
  for (int other = 0; other < kNumBands; ++other) {
    if (plug.getPlainValue(bandParameterId(other, kB1Type)) == kind) bands |= 1U << other;
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

State parameterMenuState(Plug& plug, int id) {
  State state;
  state.locked = plug.isLocked(id);
  state.linked = plug.isLinked(id);
  state.crossoverBand =
      !isBandParameter(id) || plug.getPlainValue(bandParameterId(bandOf(id), kB1Type)) == 0.0F;
  state.selectedBands = std::popcount(plug.editorState().selectedBands & kEveryBand);
  const MIDIMap& midi = plug.machine().midiMap();
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
  const bool now = plug.isLocked(id);
  const auto set = [this, id](BandMask bands, bool on) {
    setFlags(id, bands, on, [this](int each, bool flag) { plug.setLocked(each, flag); });
  };
  if (action == kLockToggle) plug.setLocked(id, !now);
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
      set(bandsOfKind(plug, bandOf(id)), !now);
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
  if (action == kLinkOfKind) bands = bandsOfKind(plug, bandOf(id));
  if (action == kLinkSelected) bands = selected;
  const bool now = plug.isLinked(id);
  setFlags(id, bands, !now, [this](int each, bool flag) { plug.setLinked(each, flag); });
  const Plug::UpdateHold hold(plug);
  plug.beginEdit(id);
  plug.alignLinked(id);
  plug.endEdit(id);
}

void ParameterActions::propagate(int id, int action, BandMask selected) {
  if (!canBeShared(id) || action < kPropagateToAll || action > kPropagateToSelected) return;
  BandMask bands = kEveryBand;
  if (action == kPropagateToKind) bands = bandsOfKind(plug, bandOf(id));
  if (action == kPropagateToSelected) bands = selected;
  const float normalised = plug.getParameter(id);
  const Plug::UpdateHold hold(plug);
  plug.beginHistoryGroup();
  for (int band = 0; band < kNumBands; ++band) {
    if (!isIn(bands, band)) continue;
    const int target = bandParameterId(band, bandOneIdOf(id));
    plug.beginEdit(target);
    plug.setParameterAutomated(target, normalised);
    plug.endEdit(target);
  }
  plug.endHistoryGroup();
}
