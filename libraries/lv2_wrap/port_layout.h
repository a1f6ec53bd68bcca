#pragma once

#include <array>
#include <string_view>

#include "editing/parameter_ids.h"

/// The plug-ins of the bundle and the order of their ports. Sessions store port numbers, so the
/// order must never change, and new ports go to the end.
namespace lv2 {

/// Prefix of all our URIs.
inline constexpr std::string_view kBaseUri = "https://halvekro.com/lv2/corvanthelis";
// Keys of the stored state.
inline constexpr const char* kChunkUri = "https://halvekro.com/lv2/corvanthelis#chunk";
inline constexpr const char* kPortValuesUri = "https://halvekro.com/lv2/corvanthelis#ports";
/// Key in presets without a state. Hosts restore a state all the same, and an empty one would mean
/// that of a new instance.
inline constexpr const char* kPortsOnlyUri = "https://halvekro.com/lv2/corvanthelis#portsOnly";

/// Buffer size that the event ports request, in bytes.
inline constexpr int kEventPortBytes = 65536;

/// The ports of a plug-in: audio first (main inputs, outputs, sidechain inputs), then `control` and
/// `notify` (events in and out), `latency`, `enabled`, `freewheel`, then the parameters: globals,
/// then bands 1 to 8; last the gain meters: of all bands together, then of each.
struct PortLayout {
  const char* uri;       ///< of the plug-in
  const char* fileStem;  ///< of its Turtle file
  const char* name;      ///< shown to users
  int mainChannels;      ///< number of inputs and of outputs
  int sideChannels;

  [[nodiscard]] constexpr int input(int channel) const noexcept { return channel; }
  [[nodiscard]] constexpr int output(int channel) const noexcept { return mainChannels + channel; }
  [[nodiscard]] constexpr int sidechain(int channel) const noexcept {
    return 2 * mainChannels + channel;
  }
  [[nodiscard]] constexpr int control() const noexcept { return 2 * mainChannels + sideChannels; }
  [[nodiscard]] constexpr int notify() const noexcept { return control() + 1; }
  [[nodiscard]] constexpr int latency() const noexcept { return control() + 2; }
  [[nodiscard]] constexpr int enabled() const noexcept { return control() + 3; }
  [[nodiscard]] constexpr int freewheel() const noexcept { return control() + 4; }
  /// The port of `parameterInPlace(0)`; the others follow.
  [[nodiscard]] constexpr int firstParameter() const noexcept { return control() + 5; }
  [[nodiscard]] constexpr int chainGain() const noexcept { return firstParameter() + kNumParams; }
  [[nodiscard]] constexpr int bandGain(int band) const noexcept { return chainGain() + 1 + band; }
  [[nodiscard]] constexpr int count() const noexcept { return bandGain(kNumBands); }
};

/// In the order in which the library returns its descriptors.
inline constexpr std::array<PortLayout, 4> kPlugins = {{
    {"https://halvekro.com/lv2/corvanthelis/sidechain", "sidechain", "Corvanthelis Sidechain", 2,
     2},
    {"https://halvekro.com/lv2/corvanthelis/stereo", "stereo", "Corvanthelis Stereo", 2, 0},
    {"https://halvekro.com/lv2/corvanthelis/mono", "mono", "Corvanthelis Mono", 1, 0},
    {"https://halvekro.com/lv2/corvanthelis/mono-sidechain", "mono-sidechain",
     "Corvanthelis Mono Sidechain", 1, 1},
}};

/// The parameter at `place` 0..421 in the order of ports, and the reverse.
[[nodiscard]] constexpr int parameterInPlace(int place) noexcept {
  constexpr int kGlobalsBehind = kNumParams - kBandOrder;
  if (place < kB1State) return place;
  if (place < kB1State + kGlobalsBehind) return kBandOrder + place - kB1State;
  return place - kGlobalsBehind;
}
[[nodiscard]] constexpr int placeOfParameter(int id) noexcept {
  if (id < kB1State) return id;
  return isBandParameter(id) ? id + (kNumParams - kBandOrder) : id - kBandOrder + kB1State;
}

}  // namespace lv2
