#include "libraries/lv2_wrap/host_features.h"

#include <lv2/atom/atom.h>
#include <lv2/midi/midi.h>
#include <lv2/state/state.h>

#include <string_view>

#include "libraries/lv2_wrap/port_layout.h"

namespace lv2 {

namespace {

template <typename Feature>
Feature* find(const LV2_Feature* const* features, std::string_view uri) {
  for (; features != nullptr && *features != nullptr; ++features) {
    if ((*features)->URI != nullptr && uri == (*features)->URI) {
      return static_cast<Feature*>((*features)->data);
    }
  }
  return nullptr;
}

Urids mapAll(const LV2_URID_Map* map) {
  if (map == nullptr) return {};
  const auto urid = [map](const char* uri) { return map->map(map->handle, uri); };
  return {.atomChunk = urid(LV2_ATOM__Chunk),
          .atomFloat = urid(LV2_ATOM__Float),
          .atomSequence = urid(LV2_ATOM__Sequence),
          .atomVector = urid(LV2_ATOM__Vector),
          .midiEvent = urid(LV2_MIDI__MidiEvent),
          .stateChanged = urid(LV2_STATE__StateChanged),
          .chunk = urid(kChunkUri),
          .portValues = urid(kPortValuesUri),
          .portsOnly = urid(kPortsOnlyUri)};
}

}  // namespace

HostFeatures readFeatures(const LV2_Feature* const* features) {
  HostFeatures found;
  found.map = find<LV2_URID_Map>(features, LV2_URID__map);
  found.worker = find<LV2_Worker_Schedule>(features, LV2_WORKER__schedule);
  found.changeRequest = find<PortChangeRequest>(features, kPortChangeRequestUri);
  lv2_log_logger_init(&found.logger, found.map, find<LV2_Log_Log>(features, LV2_LOG__log));
  found.urids = mapAll(found.map);
  return found;
}

}  // namespace lv2
