#pragma once

#include <cstdint>

#include "libraries/aax/aax_types.h"
#include "libraries/aax/acf.h"

// The description that a plug-in gives of itself when it is loaded. The host owns all objects;
// those from a `New...` call live as long as the collection. A call that fails returns a negative
// code. Texts are copied. One thread, during `ACFRegisterPlugin`.

/// Numbered properties of an effect, a component or a meter.
class AAX_IPropertyMap {
 public:
  virtual AAX_Result AddProperty(AAX_EProperty property, AAX_CPropertyValue value) = 0;
  [[nodiscard]] virtual bool GetProperty(AAX_EProperty property,
                                         AAX_CPropertyValue* value) const = 0;

 protected:
  ~AAX_IPropertyMap() = default;
};

/// Renders the instances from `begin` to before `end`, given by pointers to their contexts. The
/// fields of a context lie in the order of their numbers.
using AAX_CProcessProc = void (*)(void* const* begin, const void* end);

/// One signal processing component: the fields of its context and its render callbacks.
class AAX_IComponentDescriptor {
 public:
  virtual AAX_Result AddAudioIn(AAX_CFieldIndex field) = 0;            ///< float**
  virtual AAX_Result AddAudioOut(AAX_CFieldIndex field) = 0;           ///< float**
  virtual AAX_Result AddAudioBufferLength(AAX_CFieldIndex field) = 0;  ///< int32*, frames
  virtual AAX_Result AddSampleRate(AAX_CFieldIndex field) = 0;         ///< AAX_CSampleRate*
  virtual AAX_Result AddClock(AAX_CFieldIndex field) = 0;              ///< AAX_CTimestamp*
  /// int32*: index of the sidechain among the channels of audio in; 0 for none.
  virtual AAX_Result AddSideChainIn(AAX_CFieldIndex field) = 0;
  /// AAX_IMIDINode*, null if the host has none.
  virtual AAX_Result AddMIDINode(AAX_CFieldIndex field, AAX_EMIDINodeType type, const char* name,
                                 std::uint32_t channelMask) = 0;
  /// A block of `size` bytes per instance, filled by `ResetFieldData`.
  virtual AAX_Result AddPrivateData(AAX_CFieldIndex field, std::int32_t size) = 0;
  /// float**: points to an array with one value per meter, in the order of `ids`.
  virtual AAX_Result AddMeters(AAX_CFieldIndex field, const AAX_CTypeID* ids,
                               std::uint32_t count) = 0;
  [[nodiscard]] virtual AAX_IPropertyMap* NewPropertyMap() = 0;
  virtual AAX_Result AddProcessProc_Native(AAX_CProcessProc proc, AAX_IPropertyMap* properties) = 0;

 protected:
  ~AAX_IComponentDescriptor() = default;
};

using AAX_CProcPtr = IACFUnknown* (*)();  ///< makes an object, with one reference for the caller

class AAX_IEffectDescriptor {
 public:
  [[nodiscard]] virtual AAX_IComponentDescriptor* NewComponentDescriptor() = 0;
  [[nodiscard]] virtual AAX_IPropertyMap* NewPropertyMap() = 0;
  virtual AAX_Result AddComponent(AAX_IComponentDescriptor* component) = 0;
  virtual AAX_Result AddName(const char* name) = 0;
  virtual AAX_Result AddCategory(AAX_EPlugInCategory category) = 0;
  virtual AAX_Result AddProcPtr(AAX_CProcPtr proc, AAX_CTypeID which) = 0;
  virtual AAX_Result SetProperties(AAX_IPropertyMap* properties) = 0;
  virtual AAX_Result AddResourceInfo(AAX_EResourceType type, const char* name) = 0;
  virtual AAX_Result AddMeterDescription(AAX_CTypeID id, const char* name,
                                         AAX_IPropertyMap* properties) = 0;

 protected:
  ~AAX_IEffectDescriptor() = default;
};

/// The effects of a library.
class AAX_ICollection : public IACFPluginDefinition {
 public:
  [[nodiscard]] virtual AAX_IEffectDescriptor* NewDescriptor() = 0;  ///< null when it fails
  virtual AAX_Result AddEffect(const char* id, AAX_IEffectDescriptor* effect) = 0;
  virtual AAX_Result SetManufacturerName(const char* name) = 0;
  virtual AAX_Result AddPackageName(const char* name) = 0;
  virtual AAX_Result SetPackageVersion(std::uint32_t version) = 0;

 protected:
  ~AAX_ICollection() = default;
};

inline constexpr acfCLSID AAXCompID_AAXCollection = {
    {0x48564b41, 0x43460101, 0x2b7d10e4, 0x9a6f3c18}};
inline constexpr acfIID IID_AAX_ICollection = {{0x48564b41, 0x43460102, 0x71c2f85b, 0x0e94ad36}};
