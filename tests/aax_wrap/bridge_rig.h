#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "core/plug.h"
#include "host/parameter_record.h"
#include "libraries/aax_wrap/aaxwrap_host_callback.h"
#include "libraries/aax_wrap/aaxwrap_parameters.h"
#include "libraries/aax_wrap/aaxwrap_render.h"
#include "tests/support/real_time.h"

/// An effect that nobody idles and that tells what reached it.
class ObservedPlug : public Plug {
 public:
  explicit ObservedPlug(Machine& machine)
      : Plug(
            &aaxHostCallback, Idle::kCaller, [this] { return now += 100; }, machine) {}

  void setTrackName(const char* name) override { trackName = name; }
  void processReplacing(float** inputs, float** outputs, std::int32_t frames) override {
    std::copy_n(inputs, lastInputs.size(), lastInputs.begin());
    std::copy_n(outputs, lastOutputs.size(), lastOutputs.begin());
    ++calls;
    Plug::processReplacing(inputs, outputs, frames);
  }

  std::string trackName;
  std::array<float*, 4> lastInputs{};
  std::array<float*, 2> lastOutputs{};
  int calls = 0;
  VstMidiEvent lastMidi{};

 protected:
  void processMidi(const VstMidiEvent& event) noexcept override { lastMidi = event; }

 private:
  std::atomic<std::int64_t> now{0};
};

/// A host that answers at once: values posted come back. It counts the references it gave.
class EchoingHost final : public AAX_IController, public AAX_IAutomationDelegate {
 public:
  ACFRESULT QueryInterface(const acfIID& iid, void** object) override {
    *object = nullptr;
    if (iid == IID_AAX_IController) *object = static_cast<AAX_IController*>(this);
    if (iid == IID_AAX_IAutomationDelegate && automates) {
      *object = static_cast<AAX_IAutomationDelegate*>(this);
    }
    if (*object == nullptr) return ACF_E_NOINTERFACE;
    ++references;
    return ACF_OK;
  }
  std::uint32_t AddRef() override { return ++references; }
  std::uint32_t Release() override { return --references; }
  AAX_Result GetSampleRate(AAX_CSampleRate* hz) const override {
    *hz = rate;
    return rateResult;
  }
  AAX_Result GetInputStemFormat(AAX_EStemFormat* format) const override {
    *format = AAX_eStemFormat_Stereo;
    return AAX_SUCCESS;
  }
  AAX_Result SetSignalLatency(std::int32_t samples) override {
    latency = samples;
    return AAX_SUCCESS;
  }
  AAX_Result RegisterParameter(AAX_CParamID /*id*/) override { return ++registered, AAX_SUCCESS; }
  AAX_Result UnregisterParameter(AAX_CParamID /*id*/) override { return --registered, AAX_SUCCESS; }
  AAX_Result PostSetValueRequest(AAX_CParamID id, double normalised) override {
    ++posted;
    return target->UpdateParameterNormalizedValue(id, normalised, AAX_eUpdateSource_Parameter);
  }
  AAX_Result PostTouchRequest(AAX_CParamID id) override { return gestures += id, AAX_SUCCESS; }
  AAX_Result PostReleaseRequest(AAX_CParamID id) override {
    return gestures += std::string("/") + id, AAX_SUCCESS;
  }
  [[nodiscard]] IACFUnknown* unknown() { return static_cast<AAX_IController*>(this); }

  AAX_IEffectParameters* target = nullptr;
  bool automates = true;
  AAX_Result rateResult = AAX_SUCCESS;
  AAX_CSampleRate rate = 44100.0F;  // that of a new effect, which then has no other latency to tell
  std::uint32_t references = 0;
  std::int32_t latency = -1;
  int registered = 0;
  int posted = 0;
  std::string gestures;  // identifiers touched, and released behind a stroke
};

/// A stream of one packet, and a position that plays or loops.
class FixedNode final : public AAX_IMIDINode, public AAX_ITransport {
 public:
  AAX_CMidiStream* GetNodeBuffer() override { return &stream; }
  AAX_Result PostMIDIPacket(AAX_CMidiPacket* /*packet*/) override {
    return AAX_ERROR_UNIMPLEMENTED;
  }
  AAX_ITransport* GetTransport() override { return this; }
  AAX_Result GetCurrentTempo(double* tempo) const override { return *tempo = 97.0, AAX_SUCCESS; }
  AAX_Result GetCurrentMeter(std::int32_t* above, std::int32_t* below) const override {
    return *above = 7, *below = 8, AAX_SUCCESS;
  }
  AAX_Result IsTransportPlaying(bool* playing) const override {
    return *playing = plays, AAX_SUCCESS;
  }
  AAX_Result GetCurrentTickPosition(std::int64_t* ticks) const override {
    return *ticks = 2400000, AAX_SUCCESS;
  }
  AAX_Result GetCurrentLoopPosition(bool* looping, std::int64_t* start,
                                    std::int64_t* end) const override {
    return *looping = !plays, *start = 960000, *end = 3840000, AAX_SUCCESS;
  }
  AAX_Result GetCurrentNativeSampleLocation(std::int64_t* samples) const override {
    return *samples = 123456, AAX_SUCCESS;
  }

  bool plays = false;
  AAX_CMidiPacket packet{7, 2, {0xb0, 0x11, 0x22, 0x33}, 1};
  AAX_CMidiStream stream{1, &packet};
};

/// One instance in its host.
class BridgeRig {
 public:
  explicit BridgeRig(bool initialises = true) {
    auto made = std::make_unique<ObservedPlug>(machine);
    effect = made.get();
    instance = new AAXWrap_Parameters(std::move(made));
    host.target = instance;
    if (initialises) instance->Initialize(host.unknown());
  }
  ~BridgeRig() {
    instance->Uninitialize();
    instance->Release();
  }
  BridgeRig(const BridgeRig&) = delete;
  BridgeRig& operator=(const BridgeRig&) = delete;

  [[nodiscard]] std::vector<char> chunk(AAX_CTypeID id) const {
    std::uint32_t size = 0;
    if (instance->GetChunkSize(id, &size) != AAX_SUCCESS) return {};
    std::vector<char> bytes(sizeof(AAX_SPlugInChunk) + size);
    if (instance->GetChunk(id, record(bytes)) != AAX_SUCCESS) return {};
    return bytes;
  }
  AAX_Result restore(AAX_CTypeID id, std::vector<char> bytes) const {
    return instance->SetChunk(id, record(bytes));
  }
  [[nodiscard]] static AAX_SPlugInChunk* record(std::vector<char>& bytes) {
    return reinterpret_cast<AAX_SPlugInChunk*>(bytes.data());
  }
  std::intptr_t tell(std::int32_t opcode, std::int32_t index = 0, float opt = 0.0F,
                     void* ptr = nullptr) const {
    return aaxHostCallback(effect->getAeffect(), opcode, index, 0, ptr, opt);
  }
  [[nodiscard]] double hostValue(AAX_CParamID id) const {
    double normalised = std::numeric_limits<double>::quiet_NaN();
    instance->GetParameterNormalizedValue(id, &normalised);
    return normalised;
  }

  Machine machine{std::make_unique<MemoryStore>(), {}};
  EchoingHost host;
  ObservedPlug* effect = nullptr;  // the instance's
  AAXWrap_Parameters* instance = nullptr;
};

/// An instance with a context to render 64 frames, behind one without instance in the same batch.
template <int kChannels>
struct RenderRig : BridgeRig {
  RenderRig() {
    for (std::size_t c = 0; c < 3; ++c) audio[c].fill(0.25F * static_cast<float>(c + 1));
    instance->ResetFieldData(kFieldInstance, &own, sizeof own);
  }
  void render() {
    values.fill(-1.0F);
    inRealTime([this] { aaxRender<kChannels>(batch.data(), batch.data() + batch.size()); });
  }

  std::array<std::array<float, 64>, 5> audio{};  // two main channels, one of the sidechain, out
  std::array<float*, 3> in = {audio[0].data(), audio[1].data(), audio[2].data()};
  std::array<float*, 2> out = {audio[3].data(), audio[4].data()};
  std::array<float, 6> values{};  // of the meters
  float* meters = values.data();
  std::int32_t frames = 64;
  std::int32_t side = 0;
  float rate = 44100.0F;
  std::int64_t clock = 99;
  FixedNode node;
  SAAXWrap_Alg_Context_Private own{};
  SAAXWrap_Alg_Context_Private nobody{};
  SAAXWrap_Alg_Context context{in.data(), out.data(), &frames, &rate,   &clock, &node,
                               nullptr,   &node,      &own,    &meters, &side};
  SAAXWrap_Alg_Context skipped{in.data(), out.data(), &frames, &rate,   &clock, &node,
                               nullptr,   &node,      &nobody, &meters, &side};
  std::array<void*, 2> batch = {&skipped, &context};
};
