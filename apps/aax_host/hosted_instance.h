#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "apps/aax_host/described_plugin.h"
#include "apps/aax_host/host_memory.h"
#include "libraries/aax/aax_effect_parameters.h"

/// Audio by channel and frame.
using Signal = std::vector<std::vector<float>>;

/// Text that the plug-in sets.
class HostString final : public AAX_IString {
 public:
  std::uint32_t Length() const override { return static_cast<std::uint32_t>(text.size()); }
  const char* Get() const override { return text.c_str(); }
  void Set(const char* newText) override {
    const HostMemory own;
    text = newText;
  }
  std::string text;
};

/// A touch 'T', a posted value 'P' or a release 'R'.
struct AutomationEvent {
  char kind;
  std::string id;
  double normalised;
};

/// Returns `value` through `out`, with success.
template <typename Value>
AAX_Result tell(Value* out, Value value) {
  *out = value;
  return AAX_SUCCESS;
}

/// The host's view of one instance. Calls of the plug-in may come on any thread.
class InstanceHost final : public Counted<AAX_IController, AAX_IAutomationDelegate> {
 public:
  InstanceHost(AAX_EStemFormat stemFormat, float sampleRate)
      : rate(sampleRate), format(stemFormat) {}
  ACFRESULT QueryInterface(const acfIID& iid, void** object) override;
  AAX_Result GetSampleRate(AAX_CSampleRate* hz) const override {
    *hz = rate;
    return rateResult;
  }
  AAX_Result GetInputStemFormat(AAX_EStemFormat* stemFormat) const override {
    return tell(stemFormat, format);
  }
  AAX_Result SetSignalLatency(std::int32_t samples) override {
    const std::scoped_lock lock(mutex);
    return tell(&lastLatency, samples);
  }
  AAX_Result RegisterParameter(AAX_CParamID id) override { return count(id, 1); }
  AAX_Result UnregisterParameter(AAX_CParamID id) override { return count(id, -1); }
  AAX_Result PostSetValueRequest(AAX_CParamID id, double normalised) override;
  AAX_Result PostTouchRequest(AAX_CParamID id) override { return note('T', id, 0.0); }
  AAX_Result PostReleaseRequest(AAX_CParamID id) override { return note('R', id, 0.0); }

  /// Latency last reported, in samples; -1 before any.
  [[nodiscard]] int latency() const {
    const std::scoped_lock lock(mutex);
    return lastLatency;
  }
  /// The events since the last call.
  [[nodiscard]] std::vector<AutomationEvent> takeEvents() {
    const std::scoped_lock lock(mutex);
    return std::exchange(events, {});
  }

  std::map<std::string, int> registrations;
  AAX_IEffectParameters* echo = nullptr;  ///< if set, posted values are sent back to it at once
  bool automates = true;                  ///< whether the host has automation
  float rate;
  AAX_Result rateResult = AAX_SUCCESS;
  std::size_t mostParameters = 1000;  ///< refuses to register more

 private:
  AAX_Result count(AAX_CParamID id, int change);
  AAX_Result note(char kind, AAX_CParamID id, double normalised);
  const AAX_EStemFormat format;
  mutable std::mutex mutex;
  std::int32_t lastLatency = -1;
  std::vector<AutomationEvent> events;
};

/// A transport with a fixed position; records the questions it is asked.
class FixedTransport final : public AAX_ITransport {
 public:
  AAX_Result GetCurrentTempo(double* tempo) const override { return say(kTempo, tempo, 97.5); }
  AAX_Result GetCurrentMeter(std::int32_t* above, std::int32_t* below) const override {
    static_cast<void>(say(kMeter, below, 8));
    return say(kMeter, above, 7);
  }
  AAX_Result IsTransportPlaying(bool* nowPlays) const override {
    return say(kPlaying, nowPlays, plays);
  }
  AAX_Result GetCurrentTickPosition(std::int64_t* ticks) const override {
    return say(kTicks, ticks, std::int64_t{2400000});
  }
  AAX_Result GetCurrentLoopPosition(bool* nowLoops, std::int64_t* start,
                                    std::int64_t* end) const override {
    static_cast<void>(say(kLoop, start, std::int64_t{960000}));
    static_cast<void>(say(kLoop, end, std::int64_t{9600000}));
    return say(kLoop, nowLoops, loops);
  }
  AAX_Result GetCurrentNativeSampleLocation(std::int64_t* samples) const override {
    return say(kSamples, samples, std::int64_t{123456});
  }

  enum Question : unsigned {
    kTempo = 1,
    kMeter = 2,
    kPlaying = 4,
    kTicks = 8,
    kLoop = 16,
    kSamples = 32,
    kAll = 63
  };
  mutable unsigned asked = 0;  ///< a sum of `Question`
  bool plays = true;
  bool loops = true;
  AAX_Result result = AAX_SUCCESS;  ///< of all questions; if it is an error, no value is returned

 private:
  template <typename Value>
  AAX_Result say(Question question, Value* out, Value value) const {
    asked |= question;
    if (result == AAX_SUCCESS) *out = value;
    return result;
  }
};

/// A node that provides the packets of one block, or a transport.
class FedMidiNode final : public AAX_IMIDINode {
 public:
  AAX_CMidiStream* GetNodeBuffer() override {
    stream = {static_cast<std::uint32_t>(packets.size()), packets.data()};
    return &stream;
  }
  AAX_Result PostMIDIPacket(AAX_CMidiPacket* /*packet*/) override { return AAX_SUCCESS; }
  AAX_ITransport* GetTransport() override { return transport; }

  std::vector<AAX_CMidiPacket> packets;
  AAX_ITransport* transport = nullptr;

 private:
  AAX_CMidiStream stream{};
};

/// A chunk as the host stores it.
struct StoredChunk {
  AAX_Result result;  ///< of the first call that failed
  std::string name;
  std::string data;
  bool overrun = false;  ///< the plug-in wrote more than it announced
};

/// One initialised instance and the context for rendering it, with fields in the places that were
/// registered. For one thread, except for calls from the plug-in.
class HostedInstance {
 public:
  static constexpr float kRate = 48000.0F;

  /// `channels`: 1 or 2. Throws std::runtime_error if the instance cannot be made.
  HostedInstance(const RecordedEffect& effect, int channels, float sampleRate = kRate);
  ~HostedInstance() { close(); }
  HostedInstance(const HostedInstance&) = delete;
  HostedInstance& operator=(const HostedInstance&) = delete;

  void close();  ///< ends the instance; only `host` may be used afterwards
  /// The identifier of parameter 0..422, as the plug-in returns it.
  [[nodiscard]] std::string id(int index) const;
  AAX_Result update(const std::string& parameterId, double normalised);
  /// Sets a parameter of the effect to the value that a host would store for a plain value.
  void set(int index, double plain);
  [[nodiscard]] double normalised(const std::string& parameterId) const;
  void notify(AAX_CTypeID type, std::string_view data = {});

  /// `in` holds the main channels and, optionally, the sidechain after them. Returns the main
  /// channels.
  [[nodiscard]] Signal render(Signal in);
  /// Calls `block(frame, frames)` for consecutive blocks of various lengths.
  template <typename Block>
  static void forBlocks(int frames, const Block& block) {
    constexpr std::array kLengths = {512, 1, 1024, 63, 64, 7, 1000, 256, 2};
    std::size_t turn = 0;
    for (int at = 0, count = 0; at < frames; at += count) {
      count = std::min(kLengths[turn++ % kLengths.size()], frames - at);
      block(at, count);
    }
  }
  /// Sets up the context for a block of `frames` from `frame` on; for `in` see `render`.
  void prepareBlock(Signal& in, Signal& out, int frame, int frames);
  [[nodiscard]] void* context() { return fields.data(); }
  /// The context's field of this number.
  [[nodiscard]] void*& field(AAX_CFieldIndex index) { return fields[index]; }
  [[nodiscard]] void*& privatePointer() const { return *static_cast<void**>(fields[8]); }

  [[nodiscard]] StoredChunk chunk(AAX_CTypeID chunkId) const;
  AAX_Result restore(AAX_CTypeID chunkId, std::string_view data);

  const int channels;
  const AAX_EStemFormat format;
  const RecordedComponent& component;
  const AAX_CProcessProc proc;
  InstanceHost host;
  AAX_IEffectParameters* parameters = nullptr;
  FixedTransport transport;
  bool nodesPresent = true;              ///< whether the host has MIDI nodes
  std::vector<AAX_CMidiPacket> packets;  ///< for the next block
  std::array<float, 8> meters{};

 private:
  void layOutContext();

  std::vector<float*> inputs;
  std::vector<float*> outputs;
  std::vector<float> decoy;  // in place of a missing sidechain, and of a superfluous output
  std::int32_t length = 0;
  AAX_CSampleRate rate;
  AAX_CTimestamp clock = 0;
  std::int32_t sideIndex = 0;
  std::array<float*, 8> meterPointers{};
  FedMidiNode midiIn;
  FedMidiNode transportNode;
  std::map<AAX_CFieldIndex, std::vector<std::uint64_t>> privateData;
  std::vector<void*> fields;
};
