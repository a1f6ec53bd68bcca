#pragma once

#include <cstdint>

#include "libraries/aax/aax_host.h"
#include "libraries/aax/aax_types.h"
#include "libraries/aax/acf.h"

/// The interface of an instance to the host: parameters, states and notifications.
///
/// `Initialize` is called once and first, `Uninitialize` last. Out pointers are not null. An
/// unknown identifier returns `AAX_ERROR_INVALID_PARAMETER_ID`. Threads: the host's control
/// threads; `ResetFieldData` while the instance does not render.
class AAX_IEffectParameters : public IACFUnknown {
 public:
  /// `controller` provides `AAX_IController` and `AAX_IAutomationDelegate`.
  virtual AAX_Result Initialize(IACFUnknown* controller) = 0;
  virtual AAX_Result Uninitialize() = 0;
  /// `data` is `size` bytes: a track's name, or an int32 for the preview state.
  virtual AAX_Result NotificationReceived(AAX_CTypeID type, const void* data,
                                          std::uint32_t size) = 0;

  // Description of the parameters.
  virtual AAX_Result GetNumberOfParameters(std::int32_t* count) const = 0;
  virtual AAX_Result GetParameterIDFromIndex(std::int32_t index, AAX_IString* id) const = 0;
  virtual AAX_Result GetParameterIndex(AAX_CParamID id, std::int32_t* index) const = 0;
  virtual AAX_Result GetParameterName(AAX_CParamID id, AAX_IString* name) const = 0;
  virtual AAX_Result GetParameterNumberOfSteps(AAX_CParamID id, std::int32_t* steps) const = 0;
  virtual AAX_Result GetParameterType(AAX_CParamID id, AAX_EParameterType* type) const = 0;
  virtual AAX_Result GetParameterDefaultNormalizedValue(AAX_CParamID id,
                                                        double* normalised) const = 0;
  virtual AAX_Result GetParameterStringFromValue(AAX_CParamID id, double normalised,
                                                 AAX_IString* text) const = 0;

  // Their values. The host decides when a value takes effect and then calls `Update...`.
  virtual AAX_Result GetParameterNormalizedValue(AAX_CParamID id, double* normalised) const = 0;
  virtual AAX_Result SetParameterNormalizedValue(AAX_CParamID id, double normalised) = 0;
  virtual AAX_Result TouchParameter(AAX_CParamID id) = 0;
  virtual AAX_Result ReleaseParameter(AAX_CParamID id) = 0;
  virtual AAX_Result UpdateParameterNormalizedValue(AAX_CParamID id, double normalised,
                                                    AAX_EUpdateSource source) = 0;

  /// Initialises the private data of a field of a context about to be used.
  virtual AAX_Result ResetFieldData(AAX_CFieldIndex field, void* data,
                                    std::uint32_t size) const = 0;

  // States. `GetChunkSize` returns the bytes of `fData` only; `GetChunk` fills a record that has
  // room for the size last returned.
  virtual AAX_Result GetNumberOfChunks(std::int32_t* count) const = 0;
  virtual AAX_Result GetChunkIDFromIndex(std::int32_t index, AAX_CTypeID* id) const = 0;
  virtual AAX_Result GetChunkSize(AAX_CTypeID id, std::uint32_t* size) const = 0;
  virtual AAX_Result GetChunk(AAX_CTypeID id, AAX_SPlugInChunk* chunk) const = 0;
  virtual AAX_Result SetChunk(AAX_CTypeID id, const AAX_SPlugInChunk* chunk) = 0;
  /// Number of changes so far, so that the host knows when to ask for a state.
  virtual AAX_Result GetNumberOfChanges(std::int32_t* changes) const = 0;

  /// Writes `count` values of a curve at `frequencies` (Hz) to `values`.
  virtual AAX_Result GetCurveData(AAX_CTypeID type, const float* frequencies, std::uint32_t count,
                                  float* values) const = 0;

 protected:
  ~AAX_IEffectParameters() = default;
};

inline constexpr acfIID IID_AAX_IEffectParameters = {
    {0x48564b41, 0x43460301, 0x07e5b3d2, 0xac49186f}};
