#include "libraries/aax/aax_c_effect_parameters.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <span>

#include "libraries/aax/aax_controls_chunk.h"
#include "libraries/aax/aax_guard.h"

ACFRESULT AAX_CEffectParameters::QueryInterface(const acfIID& iid, void** object) {
  if (object == nullptr) return ACF_E_POINTER;
  *object = nullptr;
  if (iid == IID_AAX_IEffectParameters) {
    *object = static_cast<AAX_IEffectParameters*>(this);
  } else if (iid == IID_IACFUnknown) {
    *object = static_cast<IACFUnknown*>(this);
  } else {
    return ACF_E_NOINTERFACE;
  }
  AddRef();
  return ACF_OK;
}

std::uint32_t AAX_CEffectParameters::AddRef() {
  return references.fetch_add(1, std::memory_order_relaxed) + 1;
}

std::uint32_t AAX_CEffectParameters::Release() {
  const std::uint32_t left = references.fetch_sub(1, std::memory_order_acq_rel) - 1;
  if (left == 0) delete this;
  return left;
}

AAX_Result AAX_CEffectParameters::Initialize(IACFUnknown* host) {
  if (host == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  if (started.exchange(true)) return ACF_E_UNEXPECTED;
  const AAX_Result result = aaxGuarded([&] {
    auto newController = acfQuery<AAX_IController>(host, IID_AAX_IController);
    auto newAutomation = acfQuery<AAX_IAutomationDelegate>(host, IID_AAX_IAutomationDelegate);
    if (!newController || !newAutomation) return AAX_ERROR_NULL_OBJECT;
    controller.set(std::move(newController));
    automation.set(std::move(newAutomation));
    return EffectInit();
  });
  if (result == AAX_SUCCESS) {
    initialised.store(true, std::memory_order_release);
  } else {
    aaxGuarded([&] {
      letHostGo();
      parameterManager.RemoveAllParameters();
      return AAX_SUCCESS;
    });
    started.store(false);
  }
  return result;
}

AAX_Result AAX_CEffectParameters::Uninitialize() {
  initialised.store(false, std::memory_order_release);
  return aaxGuarded([&] {
    letHostGo();
    return AAX_SUCCESS;
  });
}

void AAX_CEffectParameters::letHostGo() {
  parameterManager.UnregisterParameters();
  automation.reset();
  controller.reset();
}

AAX_Result AAX_CEffectParameters::NotificationReceived(AAX_CTypeID /*type*/, const void* /*data*/,
                                                       std::uint32_t /*size*/) {
  return AAX_SUCCESS;
}

/// Calls `read` with the parameter, unless that is unknown or `target` is null.
template <typename Read>
AAX_Result AAX_CEffectParameters::readParameter(AAX_CParamID id, const void* target,
                                                const Read& read) const noexcept {
  return aaxGuarded([&] {
    if (target == nullptr) return AAX_ERROR_NULL_ARGUMENT;
    const AAX_IParameter* const parameter = parameterManager.GetParameterByID(id);
    if (parameter == nullptr) return AAX_ERROR_INVALID_PARAMETER_ID;
    read(*parameter);
    return AAX_SUCCESS;
  });
}

AAX_Result AAX_CEffectParameters::GetNumberOfParameters(std::int32_t* count) const {
  if (count == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  *count = parameterManager.NumParameters();
  return AAX_SUCCESS;
}

AAX_Result AAX_CEffectParameters::GetParameterIDFromIndex(std::int32_t index,
                                                          AAX_IString* id) const {
  if (id == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  const AAX_IParameter* const parameter = parameterManager.GetParameter(index);
  if (parameter == nullptr) return AAX_ERROR_INVALID_PARAMETER_ID;
  return aaxGuarded([&] {
    id->Set(parameter->Identifier());
    return AAX_SUCCESS;
  });
}

AAX_Result AAX_CEffectParameters::GetParameterIndex(AAX_CParamID id, std::int32_t* index) const {
  return readParameter(id, index, [&](const AAX_IParameter& /*parameter*/) {
    *index = parameterManager.GetParameterIndex(id);
  });
}

AAX_Result AAX_CEffectParameters::GetParameterName(AAX_CParamID id, AAX_IString* name) const {
  return readParameter(id, name,
                       [&](const AAX_IParameter& parameter) { name->Set(parameter.Name()); });
}

AAX_Result AAX_CEffectParameters::GetParameterNumberOfSteps(AAX_CParamID id,
                                                            std::int32_t* steps) const {
  return readParameter(
      id, steps, [&](const AAX_IParameter& parameter) { *steps = parameter.GetNumberOfSteps(); });
}

AAX_Result AAX_CEffectParameters::GetParameterType(AAX_CParamID id,
                                                   AAX_EParameterType* type) const {
  return readParameter(id, type,
                       [&](const AAX_IParameter& parameter) { *type = parameter.GetType(); });
}

AAX_Result AAX_CEffectParameters::GetParameterDefaultNormalizedValue(AAX_CParamID id,
                                                                     double* normalised) const {
  return readParameter(id, normalised, [&](const AAX_IParameter& parameter) {
    *normalised = parameter.GetNormalizedDefaultValue();
  });
}

AAX_Result AAX_CEffectParameters::GetParameterStringFromValue(AAX_CParamID id, double normalised,
                                                              AAX_IString* text) const {
  return readParameter(id, text, [&](const AAX_IParameter& parameter) {
    parameter.GetStringFromNormalizedValue(normalised, text);
  });
}

AAX_Result AAX_CEffectParameters::GetParameterNormalizedValue(AAX_CParamID id,
                                                              double* normalised) const {
  return readParameter(id, normalised, [&](const AAX_IParameter& parameter) {
    *normalised = parameter.GetNormalizedValue();
  });
}

AAX_Result AAX_CEffectParameters::SetParameterNormalizedValue(AAX_CParamID id, double normalised) {
  return aaxGuarded([&]() -> AAX_Result {
    const AAX_IParameter* const parameter = parameterManager.GetParameterByID(id);
    if (parameter == nullptr) return AAX_ERROR_INVALID_PARAMETER_ID;
    if (std::isnan(normalised)) return AAX_SUCCESS;
    const double clamped = std::clamp(normalised, 0.0, 1.0);
    if (const auto delegate = automation.get()) {
      return delegate->PostSetValueRequest(parameter->Identifier(), clamped);
    }
    return UpdateParameterNormalizedValue(id, clamped, AAX_eUpdateSource_Unspecified);
  });
}

AAX_Result AAX_CEffectParameters::TouchParameter(AAX_CParamID id) {
  return aaxGuarded([&]() -> AAX_Result {
    AAX_IParameter* const parameter = parameterManager.GetParameterByID(id);
    return parameter != nullptr ? parameter->Touch() : AAX_ERROR_INVALID_PARAMETER_ID;
  });
}

AAX_Result AAX_CEffectParameters::ReleaseParameter(AAX_CParamID id) {
  return aaxGuarded([&]() -> AAX_Result {
    AAX_IParameter* const parameter = parameterManager.GetParameterByID(id);
    return parameter != nullptr ? parameter->Release() : AAX_ERROR_INVALID_PARAMETER_ID;
  });
}

AAX_Result AAX_CEffectParameters::UpdateParameterNormalizedValue(AAX_CParamID id, double normalised,
                                                                 AAX_EUpdateSource /*source*/) {
  return aaxGuarded([&] {
    AAX_IParameter* const parameter = parameterManager.GetParameterByID(id);
    if (parameter == nullptr) return AAX_ERROR_INVALID_PARAMETER_ID;
    if (std::isnan(normalised)) return AAX_SUCCESS;
    storeParameter(*parameter, normalised);
    countChange();
    return AAX_SUCCESS;
  });
}

void AAX_CEffectParameters::storeParameter(AAX_IParameter& parameter, double normalised) {
  parameter.UpdateNormalizedValue(normalised);
  packetDispatcher.SetDirty(parameter.Identifier(), true);
}

AAX_Result AAX_CEffectParameters::ResetFieldData(AAX_CFieldIndex /*field*/, void* data,
                                                 std::uint32_t size) const {
  if (data == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  std::memset(data, 0, size);
  return AAX_SUCCESS;
}

AAX_Result AAX_CEffectParameters::GetNumberOfChunks(std::int32_t* count) const {
  if (count == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  *count = 1;
  return AAX_SUCCESS;
}

AAX_Result AAX_CEffectParameters::GetChunkIDFromIndex(std::int32_t index, AAX_CTypeID* id) const {
  if (id == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  if (index != 0) return AAX_ERROR_INVALID_CHUNK_INDEX;
  *id = kAAX_ControlsChunkID;
  return AAX_SUCCESS;
}

AAX_Result AAX_CEffectParameters::GetChunkSize(AAX_CTypeID id, std::uint32_t* size) const {
  if (size == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  if (id != kAAX_ControlsChunkID) return AAX_ERROR_INVALID_CHUNK_ID;
  *size = static_cast<std::uint32_t>(controlsChunkSize(parameterManager));
  controlsSize.store(*size, std::memory_order_relaxed);
  return AAX_SUCCESS;
}

AAX_Result AAX_CEffectParameters::GetChunk(AAX_CTypeID id, AAX_SPlugInChunk* chunk) const {
  if (chunk == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  if (id != kAAX_ControlsChunkID) return AAX_ERROR_INVALID_CHUNK_ID;
  const std::size_t size = controlsChunkSize(parameterManager);
  // The record has no more room than the size last returned.
  if (size != controlsSize.load(std::memory_order_relaxed)) return AAX_ERROR_INCORRECT_CHUNK_SIZE;
  writeControlsChunk(parameterManager, chunk->fData);
  chunk->fSize = static_cast<std::int32_t>(size);
  nameChunk(*chunk, kAAX_ControlsChunkDescription);
  return AAX_SUCCESS;
}

void AAX_CEffectParameters::nameChunk(AAX_SPlugInChunk& chunk, const char* name) noexcept {
  const std::size_t length = std::min(std::strlen(name), sizeof chunk.fName - 1);
  std::memset(chunk.fName, 0, sizeof chunk.fName);
  std::memcpy(chunk.fName, name, length);
}

AAX_Result AAX_CEffectParameters::SetChunk(AAX_CTypeID id, const AAX_SPlugInChunk* chunk) {
  if (chunk == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  if (id != kAAX_ControlsChunkID) return AAX_ERROR_INVALID_CHUNK_ID;
  if (chunk->fSize < 0) return AAX_ERROR_INCORRECT_CHUNK_SIZE;
  return aaxGuarded([&] {
    const auto size = static_cast<std::size_t>(chunk->fSize);
    const auto values = readControlsChunk(std::span<const char>(chunk->fData, size));
    if (!values) return AAX_ERROR_INCORRECT_CHUNK_SIZE;
    for (const AaxControlValue& value : *values) {
      // A state of another version may know parameters that this one does not.
      SetParameterNormalizedValue(value.id.c_str(), value.normalised);
    }
    return AAX_SUCCESS;
  });
}

AAX_Result AAX_CEffectParameters::GetNumberOfChanges(std::int32_t* changes) const {
  if (changes == nullptr) return AAX_ERROR_NULL_ARGUMENT;
  *changes = numPlugInChanges.load(std::memory_order_relaxed);
  return AAX_SUCCESS;
}

AAX_Result AAX_CEffectParameters::GetCurveData(AAX_CTypeID /*type*/, const float* /*frequencies*/,
                                               std::uint32_t /*count*/, float* /*values*/) const {
  return AAX_ERROR_UNIMPLEMENTED;
}
