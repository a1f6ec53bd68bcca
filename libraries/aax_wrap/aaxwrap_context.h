#pragma once

#include <cstddef>
#include <cstdint>

#include "libraries/aax/aax_host.h"
#include "libraries/aax/aax_types.h"

class AAXWrap_Parameters;

/// Leads the render callback to the instance.
struct SAAXWrap_Alg_Context_Private {
  AAXWrap_Parameters* parameters;  ///< not owned
};

/// What the host passes to the render callback for each instance: pointers in the order of the
/// fields' numbers; null for what the host does not have.
struct SAAXWrap_Alg_Context {
  float* const* audioIn;              ///< channels, including the sidechain
  float* const* audioOut;             ///< channels
  const std::int32_t* bufferLength;   ///< frames
  const AAX_CSampleRate* sampleRate;  ///< Hz
  const AAX_CTimestamp* clock;        ///< samples
  AAX_IMIDINode* midiIn;
  void* midiOut;  ///< not used; reserves the field
  AAX_IMIDINode* transport;
  const SAAXWrap_Alg_Context_Private* instance;
  float* const* meters;           ///< points to an array with one value per meter
  const std::int32_t* sideChain;  ///< index of the sidechain in `audioIn`; 0 for none
};

/// Numbers of the fields above.
enum SAAXWrap_Alg_Field : AAX_CFieldIndex {
  kFieldAudioIn = 0,
  kFieldAudioOut = 1,
  kFieldBufferLength = 2,
  kFieldSampleRate = 3,
  kFieldClock = 4,
  kFieldMidiIn = 5,
  kFieldMidiOut = 6,
  kFieldTransport = 7,
  kFieldInstance = 8,
  kFieldMeters = 9,
  kFieldSideChain = 10,
};

static_assert(sizeof(SAAXWrap_Alg_Context) == 11 * sizeof(void*));
static_assert(offsetof(SAAXWrap_Alg_Context, instance) == kFieldInstance * sizeof(void*));

/// Number of meters for this many main channels: two inputs, two outputs, then the gain reduction
/// of each channel.
[[nodiscard]] constexpr std::uint32_t aaxMeterCount(int mainChannels) noexcept {
  return 4 + static_cast<std::uint32_t>(mainChannels);
}
