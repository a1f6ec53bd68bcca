#include "libraries/aax_wrap/aaxwrap_parameters.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <utility>

#include "libraries/aax/aax_controls_chunk.h"
#include "libraries/aax/aax_guard.h"
#include "libraries/aax/aax_host_services.h"
#include "libraries/aax_wrap/aaxwrap_channel_labels.h"
#include "libraries/aax_wrap/aaxwrap_context.h"
#include "libraries/aax_wrap/aaxwrap_display_delegate.h"

namespace {

constexpr std::int32_t kContinuousSteps = 1000;
constexpr std::uint32_t kContinuousIdentifier = 0x206c6420;
constexpr std::uint32_t kSteppedIdentifier = 0x20646420;
constexpr const char* kBypassIdentifier = "bypass";
constexpr const char* kPreviewIdentifier = "PreviewID";
constexpr const char* kEffectChunkName = "Plugin Chunk";
constexpr std::size_t kLongestTrackName = 127;
constexpr std::size_t kMidiOutCapacity = 512;  // events per block

std::atomic<std::int32_t> instances{0};

}  // namespace

std::array<char, 5> aaxParameterIdentifier(std::int32_t index, bool stepped) noexcept {
  const std::uint32_t number =
      (stepped ? kSteppedIdentifier : kContinuousIdentifier) + static_cast<std::uint32_t>(index);
  std::array<char, 5> identifier{};
  for (std::size_t i = 0; i < 4; ++i) identifier[i] = static_cast<char>(number >> (8 * i) & 0xff);
  return identifier;
}

std::string aaxTrackName(std::span<const char> name) {
  std::string text;
  for (const char c : name.first(std::min(name.size(), kLongestTrackName))) {
    if (c == '\0') break;
    text += static_cast<unsigned char>(c) > 127 ? '?' : c;
  }
  return text;
}

AAXWrap_Parameters::AAXWrap_Parameters(std::unique_ptr<Plug> newEffect)
    : effect(std::move(newEffect)),
      reductionReader(std::in_place, effect->getEngine().meterPeaks()),
      receivesMidi(effect->canDo("receiveVstEvents") == 1) {
  midiOutQueue.reserve(kMidiOutCapacity);
  sysexOutQueue.reserve(kMidiOutCapacity);
  instances.fetch_add(1);
  // Last: from here on the effect's timer may call.
  void*& user = effect->getAeffect()->user;
  std::atomic_ref<void*>(user).store(this, std::memory_order_release);
}

AAXWrap_Parameters::~AAXWrap_Parameters() {
  reductionReader.reset();
  // Before the members that its last messages use. Not by `reset`, which clears the pointer first:
  // a message under way on another thread still asks the effect for values.
  std::default_delete<Plug>()(effect.get());
  static_cast<void>(effect.release());
  instances.fetch_sub(1);
}

std::int32_t AAXWrap_Parameters::liveInstances() noexcept { return instances.load(); }

AAX_Result AAXWrap_Parameters::EffectInit() {
  const auto host = controller.get();
  AAX_CSampleRate rate = 0.0F;
  AAX_EStemFormat stem = AAX_eStemFormat_None;
  AAX_Result result = host->GetSampleRate(&rate);
  if (result == AAX_SUCCESS) result = host->GetInputStemFormat(&stem);
  if (result != AAX_SUCCESS) return result;
  if (!isSampleRate(static_cast<double>(rate))) return ACF_E_UNEXPECTED;

  if (const auto channels = AAX_STEM_FORMAT_CHANNEL_COUNT(stem);
      effect->acceptsChannels(channels)) {
    effect->getAeffect()->numInputs = channels;
    effect->getAeffect()->numOutputs = channels;
  }
  effect->setChannelLabels(aaxChannelLabels(stem));
  effect->setSampleRate(rate);
  effect->resume();
  result = reportLatency(false);
  if (result != AAX_SUCCESS) return result;
  {
    const std::lock_guard guard(chunkLock);
    chunkData.clear();
  }
  return registerParameters();
}

AAX_Result AAXWrap_Parameters::registerParameters() {
  const auto add = [this](std::unique_ptr<AAX_IParameter> parameter) {
    packetDispatcher.SetDirty(parameter->Identifier(), false);  // later calls do not allocate
    return parameterManager.AddParameter(std::move(parameter));
  };
  for (std::int32_t i = 0; i < effect->parameterCount(); ++i) {
    const AAX_Result result = add(makeParameter(i));
    if (result != AAX_SUCCESS) return result;
  }
  auto bypass = std::make_unique<AAX_CParameter<bool>>(
      kBypassIdentifier, "Master Bypass", false, std::make_unique<AAX_CBinaryTaperDelegate<bool>>(),
      std::make_unique<AAX_CBinaryDisplayDelegate<bool>>("off", "on"));
  bypass->SetNumberOfSteps(2);
  bypass->SetType(AAX_eParameterType_Discrete);
  AAX_IParameter* const added = bypass.get();
  const AAX_Result result = add(std::move(bypass));
  if (result == AAX_SUCCESS) bypassParameter = added;
  return result;
}

std::unique_ptr<AAX_IParameter> AAXWrap_Parameters::makeParameter(std::int32_t index) const {
  std::array<char, PlugBase::kTextCapacity> name{};
  effect->getParameterName(index, name.data());
  const std::int32_t steps = effect->getStepCount(index);
  const float present = effect->getParameter(index);
  const float usual = steps > 1 ? stepShare(index, plainAt(index, present)) : present;
  auto parameter = std::make_unique<AAX_CParameter<float>>(
      aaxParameterIdentifier(index, steps > 0).data(), name.data(), usual,
      std::make_unique<AAX_CLinearTaperDelegate<float>>(0.0F, 1.0F),
      std::make_unique<AAXWrap_DisplayDelegate>(*effect, index));
  if (steps == 0) {
    parameter->SetNumberOfSteps(kContinuousSteps);
  } else {
    parameter->SetNumberOfSteps(effect->getStepSize(index) > 1 ? steps : steps + 1);
    parameter->SetType(AAX_eParameterType_Discrete);
  }
  return parameter;
}

float AAXWrap_Parameters::plainAt(std::int32_t index, float normalised) const {
  return effect->normalisedToPlain(index, normalised);
}

/// A plain value as a share of the range plus one step, which is how the host counts steps.
float AAXWrap_Parameters::stepShare(std::int32_t index, float plain) const {
  const float lowest = plainAt(index, 0.0F);
  return (plain - lowest) / (plainAt(index, 1.0F) - lowest + 1.0F);
}

/// The host's value for one of the effect's. For parameters with steps it is computed from the
/// effect's plain value, since the host's nearest step may be a different one.
float AAXWrap_Parameters::hostValue(std::int32_t index, float normalised) const {
  if (effect->getStepCount(index) <= 1) return normalised;
  const float plain = plainAt(index, normalised);
  const bool wholeSteps = effect->getStepSize(index) == 1;
  return wholeSteps ? stepShare(index, plain) : effect->plainToNormalised(index, plain);
}

/// The effect's value for the host's; for parameters with steps exactly that of the host's step.
float AAXWrap_Parameters::effectValue(std::int32_t index, const AAX_IParameter& parameter) const {
  if (effect->getStepCount(index) <= 1) return static_cast<float>(parameter.GetNormalizedValue());
  const std::int32_t units = parameter.GetStepValue() * effect->getStepSize(index);
  const float plain = plainAt(index, 0.0F) + static_cast<float>(units);
  return effect->plainToNormalised(index, plain);
}

AAX_Result AAXWrap_Parameters::UpdateParameterNormalizedValue(AAX_CParamID id, double normalised,
                                                              AAX_EUpdateSource /*source*/) {
  return aaxGuarded([&] {
    const std::int32_t index = parameterManager.GetParameterIndex(id);
    AAX_IParameter* const parameter = parameterManager.GetParameter(index);
    if (parameter == nullptr) return AAX_ERROR_INVALID_PARAMETER_ID;
    if (std::isnan(normalised)) return AAX_SUCCESS;
    storeParameter(*parameter, normalised);
    if (parameter == bypassParameter) {
      bypassChanged();
    } else {
      effect->setParameter(index, effectValue(index, *parameter));
    }
    countChange();
    return AAX_SUCCESS;
  });
}

void AAXWrap_Parameters::bypassChanged() {
  const bool on = bypassParameter->GetValueAsBool();
  bypassOn.store(on, std::memory_order_relaxed);
  reportLatency(false);
  if (effectHandlesBypass) effect->setBypass(on);
}

bool AAXWrap_Parameters::isBypassed() const noexcept {
  return !effectHandlesBypass && bypassParameter != nullptr && bypassParameter->GetValueAsBool();
}

AAX_Result AAXWrap_Parameters::reportLatency(bool onlyOnceRendered) {
  const auto host = controller.get();
  if (!host) return AAX_SUCCESS;
  const auto latency = [&] {
    const bool mayHide = !onlyOnceRendered || hasRendered.load(std::memory_order_relaxed) != 0;
    return mayHide && bypassOn.load(std::memory_order_relaxed) ? 0 : effect->getInitialDelay();
  };
  // Another thread may report meanwhile: repeat until the value told is still the current one.
  AAX_Result result = AAX_SUCCESS;
  std::int32_t told = 0;
  do {
    told = latency();
    result = host->SetSignalLatency(told);
  } while (latency() != told);
  return result;
}

AAX_IParameter* AAXWrap_Parameters::effectParameter(std::int32_t index) const noexcept {
  const bool isOne = isInitialised() && index >= 0 && index < kNumParams;
  return isOne ? parameterManager.GetParameter(index) : nullptr;
}

void AAXWrap_Parameters::automate(std::int32_t index, float normalised) {
  const AAX_IParameter* const parameter = effectParameter(index);
  if (parameter == nullptr) return;
  const auto value = static_cast<double>(hostValue(index, normalised));
  AAX_CEffectParameters::SetParameterNormalizedValue(parameter->Identifier(), value);
}

void AAXWrap_Parameters::touch(std::int32_t index) {
  if (AAX_IParameter* const parameter = effectParameter(index)) parameter->Touch();
}

void AAXWrap_Parameters::release(std::int32_t index) {
  if (AAX_IParameter* const parameter = effectParameter(index)) parameter->Release();
}

void AAXWrap_Parameters::latencyChanged() { reportLatency(true); }

void AAXWrap_Parameters::takeEffectValues() {
  for (std::int32_t i = 0; i < kNumParams; ++i) {
    AAX_IParameter* const parameter = effectParameter(i);
    if (parameter == nullptr) return;
    const float value = effect->getParameter(i);
    if (effectValue(i, *parameter) == value) continue;  // the host's value stays, bit by bit
    storeParameter(*parameter, static_cast<double>(hostValue(i, value)));
  }
}

void AAXWrap_Parameters::queueMidiOut(const VstEvents* events) noexcept {
  if (events == nullptr) return;
  VstEvent* const* const list = events->events;  // longer than declared
  const auto append = [](auto& queue, const VstEvent* event) {
    if (queue.size() == queue.capacity()) return;
    auto& place = queue.emplace_back();
    // Copied, since the memory need not hold objects of these types.
    std::memcpy(&place, event, sizeof place);
  };
  for (std::int32_t i = 0; i < events->numEvents; ++i) {
    if (list[i] == nullptr) continue;
    if (list[i]->type == kVstMidiType) append(midiOutQueue, list[i]);
    if (list[i]->type == kVstSysExType) append(sysexOutQueue, list[i]);
  }
}

void AAXWrap_Parameters::clearMidiOut() noexcept {
  midiOutQueue.clear();
  sysexOutQueue.clear();
}

AAX_Result AAXWrap_Parameters::NotificationReceived(AAX_CTypeID type, const void* data,
                                                    std::uint32_t size) {
  return aaxGuarded([&] {
    switch (type) {
      case AAX_eNotificationEvent_EnteringOfflineMode:
        isOfflineRender.store(true, std::memory_order_relaxed);
        break;
      case AAX_eNotificationEvent_ExitingOfflineMode:
        isOfflineRender.store(false, std::memory_order_relaxed);
        break;
      case AAX_eNotificationEvent_TrackNameChanged:
        if (data != nullptr) {
          effect->setTrackName(aaxTrackName({static_cast<const char*>(data), size}).c_str());
        }
        break;
      case AAX_eNotificationEvent_ASPreviewState: {
        std::int32_t state = 0;
        if (data == nullptr || size < sizeof state) break;
        std::memcpy(&state, data, sizeof state);
        // Of use only to effects with a parameter of that name.
        SetParameterNormalizedValue(kPreviewIdentifier, static_cast<double>(state));
        break;
      }
      default:
        break;
    }
    return AAX_CEffectParameters::NotificationReceived(type, data, size);
  });
}

AAX_Result AAXWrap_Parameters::ResetFieldData(AAX_CFieldIndex field, void* data,
                                              std::uint32_t size) const {
  const AAX_Result result = AAX_CEffectParameters::ResetFieldData(field, data, size);
  if (field != kFieldInstance || result != AAX_SUCCESS) return result;
  const SAAXWrap_Alg_Context_Private own{const_cast<AAXWrap_Parameters*>(this)};
  if (size != sizeof own) {
    AAX_CHostServices::HandleAssertFailure(__FILE__, __LINE__,
                                           "iDataSize==sizeof(SAAXWrap_Alg_Context_Private)");
  }
  if (size < sizeof own) return ACF_E_UNEXPECTED;
  std::memcpy(data, &own, sizeof own);
  return AAX_SUCCESS;
}

AAX_Result AAXWrap_Parameters::GetNumberOfChunks(std::int32_t* count) const {
  if (count == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  *count = 2;
  return AAX_SUCCESS;
}

AAX_CTypeID AAXWrap_Parameters::effectChunkId() const noexcept {
  return static_cast<AAX_CTypeID>(effect->getAeffect()->uniqueID);
}

AAX_Result AAXWrap_Parameters::GetChunkIDFromIndex(std::int32_t index, AAX_CTypeID* id) const {
  if (index != 1 || id == nullptr) return AAX_CEffectParameters::GetChunkIDFromIndex(index, id);
  *id = effectChunkId();
  return AAX_SUCCESS;
}

void AAXWrap_Parameters::fetchChunk() const {
  void* data = nullptr;
  const std::int32_t size = effect->getChunk(&data, false);
  if (data == nullptr) throw std::bad_alloc();
  const auto* const bytes = static_cast<const char*>(data);
  chunkData.assign(bytes, bytes + size);
}

AAX_Result AAXWrap_Parameters::GetChunkSize(AAX_CTypeID id, std::uint32_t* size) const {
  if (id != effectChunkId() || size == nullptr) {
    return AAX_CEffectParameters::GetChunkSize(id, size);
  }
  return aaxGuarded([&] {
    const std::lock_guard guard(chunkLock);
    fetchChunk();
    *size = static_cast<std::uint32_t>(chunkData.size());
    return AAX_SUCCESS;
  });
}

AAX_Result AAXWrap_Parameters::GetChunk(AAX_CTypeID id, AAX_SPlugInChunk* chunk) const {
  if (id != effectChunkId() || chunk == nullptr) return AAX_CEffectParameters::GetChunk(id, chunk);
  return aaxGuarded([&] {
    const std::lock_guard guard(chunkLock);
    if (chunkData.empty()) fetchChunk();
    char* const target = chunk->fData;  // longer than declared
    std::copy(chunkData.begin(), chunkData.end(), target);
    chunk->fSize = static_cast<std::int32_t>(chunkData.size());
    nameChunk(*chunk, kEffectChunkName);
    return AAX_SUCCESS;
  });
}

AAX_Result AAXWrap_Parameters::SetChunk(AAX_CTypeID id, const AAX_SPlugInChunk* chunk) {
  if (id == kAAX_ControlsChunkID && chunk != nullptr) return restoreControls(*chunk);
  if (id != effectChunkId() || chunk == nullptr) return AAX_CEffectParameters::SetChunk(id, chunk);
  if (chunk->fSize <= 0) return AAX_ERROR_INCORRECT_CHUNK_SIZE;
  return aaxGuarded([&] {
    const char* const source = chunk->fData;  // longer than declared
    const std::vector<char> block(source, source + chunk->fSize);
    effect->setChunk(block.data(), chunk->fSize, false);
    return effect->chunkRefused() ? AAX_ERROR_INCORRECT_CHUNK_SIZE : AAX_SUCCESS;
  });
}

/// Restores all values as one change. The bank comes first, since switching banks replaces the
/// others.
AAX_Result AAXWrap_Parameters::restoreControls(const AAX_SPlugInChunk& chunk) {
  return aaxGuarded([&] {
    const auto size = static_cast<std::size_t>(std::max(chunk.fSize, 0));
    const auto values = readControlsChunk(std::span<const char>(chunk.fData, size));
    if (!values) return AAX_ERROR_INCORRECT_CHUNK_SIZE;
    const AAX_IParameter* const selector = effectParameter(kABBank);
    const UpdateHold together(effect->updates());
    for (const AaxControlValue& value : *values) {
      if (selector == nullptr || value.id != selector->Identifier()) continue;
      SetParameterNormalizedValue(value.id.c_str(), value.normalised);
    }
    const AAX_Result result = AAX_CEffectParameters::SetChunk(kAAX_ControlsChunkID, &chunk);
    effect->edits().chain.repair();
    takeEffectValues();  // the repair of the chain does not report what it changes
    return result;
  });
}

AAX_Result AAXWrap_Parameters::GetCurveData(AAX_CTypeID type, const float* frequencies,
                                            std::uint32_t count, float* values) const {
  return aaxGuarded([&] {
    const bool isThere = type == AAX_eCurveType_EQ && frequencies != nullptr && values != nullptr &&
                         effect->getCurve(frequencies, count, values);
    return isThere ? AAX_SUCCESS
                   : AAX_CEffectParameters::GetCurveData(type, frequencies, count, values);
  });
}
