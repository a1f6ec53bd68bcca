#pragma once

#include <atomic>
#include <cstdint>

#include "libraries/aax/aax_effect_parameters.h"
#include "libraries/aax/aax_packet_dispatcher.h"
#include "libraries/aax/aax_parameter_manager.h"
#include "libraries/aax/acf_reference.h"

/// The parts of an instance that all plug-ins share: reference counting, connection to the host,
/// parameters and the chunk of their values. Starts with one reference, which belongs to its maker,
/// and deletes itself with the last. Null arguments return `AAX_ERROR_NULL_ARGUMENT`, null
/// identifiers count as unknown. No exception leaves an operation of the interface.
class AAX_CEffectParameters : public AAX_IEffectParameters {
 public:
  AAX_CEffectParameters(const AAX_CEffectParameters&) = delete;
  AAX_CEffectParameters& operator=(const AAX_CEffectParameters&) = delete;

  ACFRESULT QueryInterface(const acfIID& iid, void** object) override;
  std::uint32_t AddRef() override;
  std::uint32_t Release() override;

  /// Gets the host's objects and calls `EffectInit`; if that fails, everything is as before.
  AAX_Result Initialize(IACFUnknown* host) override;
  AAX_Result Uninitialize() override;
  AAX_Result NotificationReceived(AAX_CTypeID type, const void* data, std::uint32_t size) override;

  AAX_Result GetNumberOfParameters(std::int32_t* count) const override;
  AAX_Result GetParameterIDFromIndex(std::int32_t index, AAX_IString* id) const override;
  AAX_Result GetParameterIndex(AAX_CParamID id, std::int32_t* index) const override;
  AAX_Result GetParameterName(AAX_CParamID id, AAX_IString* name) const override;
  AAX_Result GetParameterNumberOfSteps(AAX_CParamID id, std::int32_t* steps) const override;
  AAX_Result GetParameterType(AAX_CParamID id, AAX_EParameterType* type) const override;
  AAX_Result GetParameterDefaultNormalizedValue(AAX_CParamID id, double* normalised) const override;
  AAX_Result GetParameterStringFromValue(AAX_CParamID id, double normalised,
                                         AAX_IString* text) const override;

  AAX_Result GetParameterNormalizedValue(AAX_CParamID id, double* normalised) const override;
  /// Asks the host to set the value, or sets it at once if there is no automation. NaN does
  /// nothing.
  AAX_Result SetParameterNormalizedValue(AAX_CParamID id, double normalised) override;
  AAX_Result TouchParameter(AAX_CParamID id) override;
  AAX_Result ReleaseParameter(AAX_CParamID id) override;
  AAX_Result UpdateParameterNormalizedValue(AAX_CParamID id, double normalised,
                                            AAX_EUpdateSource source) override;

  /// Fills the field with zeros.
  AAX_Result ResetFieldData(AAX_CFieldIndex field, void* data, std::uint32_t size) const override;

  AAX_Result GetNumberOfChunks(std::int32_t* count) const override;
  AAX_Result GetChunkIDFromIndex(std::int32_t index, AAX_CTypeID* id) const override;
  AAX_Result GetChunkSize(AAX_CTypeID id, std::uint32_t* size) const override;
  AAX_Result GetChunk(AAX_CTypeID id, AAX_SPlugInChunk* chunk) const override;
  /// Asks the host to set every value whose parameter is known. Damaged bytes change nothing and
  /// return `AAX_ERROR_INCORRECT_CHUNK_SIZE`.
  AAX_Result SetChunk(AAX_CTypeID id, const AAX_SPlugInChunk* chunk) override;
  AAX_Result GetNumberOfChanges(std::int32_t* changes) const override;
  AAX_Result GetCurveData(AAX_CTypeID type, const float* frequencies, std::uint32_t count,
                          float* values) const override;

 protected:
  AAX_CEffectParameters() : parameterManager(automation) {}
  virtual ~AAX_CEffectParameters() = default;

  /// Registers the parameters; may fail with any code. The controller is available.
  virtual AAX_Result EffectInit() = 0;

  /// True from the end of `Initialize` to `Uninitialize`; other threads must check it before they
  /// access parameters.
  [[nodiscard]] bool isInitialised() const noexcept {
    return initialised.load(std::memory_order_acquire);
  }
  /// Stores a value and marks it for the host.
  void storeParameter(AAX_IParameter& parameter, double normalised);
  void countChange() noexcept { numPlugInChanges.fetch_add(1, std::memory_order_relaxed); }
  /// Copies a text to the name of a chunk, cut to fit.
  static void nameChunk(AAX_SPlugInChunk& chunk, const char* name) noexcept;

  SharedAcfReference<AAX_IController> controller;  // both empty unless `isInitialised`
  SharedAcfReference<AAX_IAutomationDelegate> automation;
  AAX_CParameterManager parameterManager;
  AAX_CPacketDispatcher packetDispatcher;

 private:
  template <typename Read>
  AAX_Result readParameter(AAX_CParamID id, const void* target, const Read& read) const noexcept;
  void letHostGo();

  std::atomic<std::uint32_t> references{1};
  std::atomic<bool> started{false};
  std::atomic<bool> initialised{false};
  std::atomic<std::int32_t> numPlugInChanges{0};
  mutable std::atomic<std::uint32_t> controlsSize{0};  // as last returned by `GetChunkSize`
};
