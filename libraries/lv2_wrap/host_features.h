#pragma once

#include <lv2/atom/forge.h>
#include <lv2/log/logger.h>
#include <lv2/urid/urid.h>
#include <lv2/worker/worker.h>

#include "libraries/lv2_wrap/port_change_request.h"

namespace lv2 {

/// Numbers that the host maps names to; all 0 if it maps none.
struct Urids {
  LV2_URID atomChunk = 0, atomFloat = 0, atomSequence = 0, atomVector = 0;
  LV2_URID midiEvent = 0, stateChanged = 0;
  LV2_URID chunk = 0, portValues = 0, portsOnly = 0;  // keys of the stored state
};

/// The features that a host offers to an instance; null if missing. All are optional, but without
/// `map` there is neither MIDI nor state.
struct HostFeatures {
  LV2_URID_Map* map = nullptr;
  const LV2_Worker_Schedule* worker = nullptr;
  const PortChangeRequest* changeRequest = nullptr;
  LV2_Log_Logger logger{};  // writes to stderr if the host has no log
  Urids urids;
};

/// `features`: the host's list, which ends with a null pointer or is null itself.
[[nodiscard]] HostFeatures readFeatures(const LV2_Feature* const* features);

}  // namespace lv2
