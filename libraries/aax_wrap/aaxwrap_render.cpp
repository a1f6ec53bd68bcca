#include "libraries/aax_wrap/aaxwrap_render.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "libraries/aax_wrap/aaxwrap_parameters.h"

namespace {

constexpr double kTicksPerQuarter = 960000.0;
constexpr std::int32_t kValidTime =
    kVstNanosValid | kVstPpqPosValid | kVstTempoValid | kVstCyclePosValid | kVstTimeSigValid;
constexpr std::uint32_t kPacketBytes = 4;

/// Reads position and tempo; values that the host refuses stay as they were.
void takePosition(AAX_IMIDINode* node, VstTimeInfo& time) {
  const AAX_ITransport* const transport = node != nullptr ? node->GetTransport() : nullptr;
  if (transport == nullptr) return;
  transport->GetCurrentTempo(&time.tempo);
  transport->GetCurrentMeter(&time.timeSigNumerator, &time.timeSigDenominator);
  bool playing = false;
  transport->IsTransportPlaying(&playing);
  bool looping = false;
  std::int64_t loopStart = 0;
  std::int64_t loopEnd = 0;
  if (transport->GetCurrentLoopPosition(&looping, &loopStart, &loopEnd) == AAX_SUCCESS) {
    time.cycleStartPos = static_cast<double>(loopStart) / kTicksPerQuarter;
    time.cycleEndPos = static_cast<double>(loopEnd) / kTicksPerQuarter;
  } else {
    looping = false;
  }
  std::int64_t ticks = 0;
  if (transport->GetCurrentTickPosition(&ticks) == AAX_SUCCESS) {
    time.ppqPos = static_cast<double>(ticks) / kTicksPerQuarter;
  }
  std::int64_t samples = 0;
  if (transport->GetCurrentNativeSampleLocation(&samples) == AAX_SUCCESS) {
    time.samplePos = static_cast<double>(samples);
  }
  time.flags =
      kValidTime | (playing ? kVstTransportPlaying : 0) | (looping ? kVstTransportCycleActive : 0);
}

/// Passes MIDI packets to the effect one at a time.
void sendMidi(AAX_IMIDINode* node, Plug& plug) {
  const AAX_CMidiStream* const stream = node != nullptr ? node->GetNodeBuffer() : nullptr;
  if (stream == nullptr || stream->mBuffer == nullptr) return;
  for (std::uint32_t i = 0; i < stream->mBufferSize; ++i) {
    const AAX_CMidiPacket& packet = stream->mBuffer[i];
    VstMidiEvent event{};
    event.type = kVstMidiType;
    event.byteSize = sizeof event;
    event.deltaFrames = static_cast<std::int32_t>(packet.mTimestamp);
    event.flags = packet.mIsImmediate != 0 ? 1 : 0;
    std::copy_n(packet.mData, std::min(packet.mLength, kPacketBytes), event.midiData);
    VstEvents events{1, 0, {reinterpret_cast<VstEvent*>(&event), nullptr}};
    AEffect* const record = plug.getAeffect();
    record->dispatcher(record, kEffectProcessEvents, 0, 0, &events, 0.0F);
  }
}

float* inputOf(const SAAXWrap_Alg_Context& context, int place) {
  return context.audioIn != nullptr ? context.audioIn[place] : nullptr;
}

template <int mainChannels>
void passThrough(const SAAXWrap_Alg_Context& context, std::int32_t frames) {
  for (int c = 0; c < mainChannels; ++c) {
    const float* const in = inputOf(context, c);
    float* const out = context.audioOut[c];
    if (out == nullptr || in == out) continue;
    if (in != nullptr) {
      std::copy_n(in, frames, out);
    } else {
      std::fill_n(out, frames, 0.0F);
    }
  }
}

template <int mainChannels>
void process(const SAAXWrap_Alg_Context& context, Plug& plug, std::int32_t frames) {
  const std::int32_t sideChain = context.sideChain != nullptr ? *context.sideChain : 0;
  // The missing output marks a mono call: one main input, then one sidechain input.
  std::array<float*, 4> inputs{};
  std::array<float*, 2> outputs{};
  for (int c = 0; c < mainChannels; ++c) {
    const auto at = static_cast<std::size_t>(c);
    inputs[at] = inputOf(context, c);
    inputs[at + mainChannels] = sideChain > 0 ? inputOf(context, sideChain) : nullptr;
    outputs[at] = context.audioOut[c];
  }
  plug.processReplacing(inputs.data(), outputs.data(), frames);
}

template <int mainChannels>
void writeMeters(float* meters, AAXWrap_Parameters& adapter) {
  const Plug& plug = adapter.plug();
  for (int i = 0; i < 4; ++i) meters[i] = static_cast<float>(plug.getMeterValue(i % 2));
  // A mono instance has only one meter for the gain reduction, which is not written.
  if (aaxMeterCount(mainChannels) < 6) return;
  GainReductionReader& reader = adapter.reductions();
  for (int c = 0; c < 2; ++c) meters[4 + c] = static_cast<float>(1.0 - reader.getGainReduction(c));
}

template <int mainChannels>
void renderInstance(const SAAXWrap_Alg_Context& context) {
  if (context.instance == nullptr || context.instance->parameters == nullptr) return;
  AAXWrap_Parameters& adapter = *context.instance->parameters;
  adapter.markRendered();
  VstTimeInfo& time = adapter.timeInfo;
  if (context.sampleRate != nullptr) time.sampleRate = static_cast<double>(*context.sampleRate);
  if (context.clock != nullptr) time.nanoSeconds = static_cast<double>(*context.clock);
  takePosition(context.transport, time);
  if (adapter.takesMidi()) sendMidi(context.midiIn, adapter.plug());

  const std::int32_t frames = context.bufferLength != nullptr ? *context.bufferLength : 0;
  float* const meters = context.meters != nullptr ? *context.meters : nullptr;
  if (adapter.isBypassed()) {
    if (context.audioOut != nullptr) passThrough<mainChannels>(context, std::max(frames, 0));
    if (meters != nullptr) std::fill_n(meters, aaxMeterCount(mainChannels), 0.0F);
  } else {
    if (context.audioOut != nullptr) process<mainChannels>(context, adapter.plug(), frames);
    if (meters != nullptr) writeMeters<mainChannels>(meters, adapter);
  }
  adapter.clearMidiOut();
}

}  // namespace

template <int mainChannels>
void aaxRender(void* const* begin, const void* end) noexcept {
  for (void* const* at = begin; static_cast<const void*>(at) < end; ++at) {
    if (*at != nullptr)
      renderInstance<mainChannels>(*static_cast<const SAAXWrap_Alg_Context*>(*at));
  }
}

template void aaxRender<1>(void* const* begin, const void* end) noexcept;
template void aaxRender<2>(void* const* begin, const void* end) noexcept;
