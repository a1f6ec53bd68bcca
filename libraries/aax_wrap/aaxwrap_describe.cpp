#include "libraries/aax_wrap/aaxwrap_describe.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

#include "libraries/aax/aax_host_services.h"
#include "libraries/aax_wrap/aaxwrap_context.h"
#include "libraries/aax_wrap/aaxwrap_host_callback.h"
#include "libraries/aax_wrap/aaxwrap_parameters.h"
#include "libraries/aax_wrap/aaxwrap_render.h"

namespace {

constexpr const char* kProductName = "Corvanthelis";
constexpr const char* kManufacturerName = "Halvekro";
constexpr const char* kEffectId = "com.halvekro.Corvanthelis.aax";
constexpr const char* kMidiInName = "Corvanthelis MIDI In";
constexpr AAX_CTypeID kManufacturer = AAX_TypeID("HVKA");
constexpr AAX_CTypeID kProduct = AAX_TypeID("CvnP");
constexpr std::uint32_t kPackageVersion = 1;
constexpr std::uint32_t kMidiInChannels = 0xf;
constexpr std::uint32_t kTransportChannels = 0xffff;
constexpr std::int32_t kMidiOutSize = 4;

/// Four letters that appear in memory in reading order.
constexpr AAX_CTypeID meterId(std::string_view letters) {
  AAX_CTypeID id = 0;
  for (std::size_t i = 4; i-- > 0;) id = id << 8 | static_cast<unsigned char>(letters[i]);
  return id;
}

constexpr std::string_view kMeterLetters = "lmnirmnilmuormuo1mrg2mrg";

struct Meter {
  const char* name;
  AAX_CPropertyValue type;         // 0 input, 1 output, 2 and 3 gain reduction
  AAX_CPropertyValue orientation;  // 1 from the top
};
constexpr std::array<Meter, 6> kMeters = {{{"LeftIn", 0, 0},
                                           {"RightIn", 0, 0},
                                           {"LeftOut", 1, 0},
                                           {"RightOut", 1, 0},
                                           {"GR1", 2, 1},
                                           {"GR2", 3, 1}}};

constexpr std::array<AAX_CTypeID, kMeters.size()> kMeterIds = [] {
  std::array<AAX_CTypeID, kMeters.size()> ids{};
  for (std::size_t i = 0; i < ids.size(); ++i) ids[i] = meterId(kMeterLetters.substr(4 * i, 4));
  return ids;
}();

struct Configuration {
  AAX_EStemFormat stem;
  AAX_CTypeID nativeId;
  AAX_CTypeID audioSuiteId;
  AAX_CProcessProc render;
};
constexpr std::array<Configuration, 2> kConfigurations = {
    {{AAX_eStemFormat_Mono, AAX_TypeID("RTMN"), AAX_TypeID("ASMN"), &aaxRender<1>},
     {AAX_eStemFormat_Stereo, AAX_TypeID("RTST"), AAX_TypeID("ASST"), &aaxRender<2>}}};

/// Logs a failed call of the host, with its line in this file.
void check(AAX_Result err, std::int32_t line = __builtin_LINE()) {
  if (err == AAX_SUCCESS) return;
  AAX_CHostServices::HandleAssertFailure(__FILE__, line, "err == AAX_SUCCESS");
}

/// Logs if the host could not make an object; returns whether it could.
bool isThere(const void* object, std::int32_t line = __builtin_LINE()) {
  if (object == nullptr) check(AAX_ERROR_NULL_OBJECT, line);
  return object != nullptr;
}

void describeFields(AAX_IComponentDescriptor& component, int mainChannels) {
  check(component.AddAudioIn(kFieldAudioIn));
  check(component.AddAudioOut(kFieldAudioOut));
  check(component.AddAudioBufferLength(kFieldBufferLength));
  check(component.AddSampleRate(kFieldSampleRate));
  check(component.AddClock(kFieldClock));
  check(component.AddMIDINode(kFieldMidiIn, AAX_eMIDINodeType_LocalInput, kMidiInName,
                              kMidiInChannels));
  check(component.AddPrivateData(kFieldMidiOut, kMidiOutSize));
  check(component.AddMIDINode(kFieldTransport, AAX_eMIDINodeType_Transport, "Transport",
                              kTransportChannels));
  check(component.AddPrivateData(kFieldInstance, sizeof(SAAXWrap_Alg_Context_Private)));
  check(component.AddMeters(kFieldMeters, kMeterIds.data(), aaxMeterCount(mainChannels)));
  check(component.AddSideChainIn(kFieldSideChain));
}

void describeProcess(AAX_IComponentDescriptor& component, const Configuration& configuration) {
  AAX_IPropertyMap* const properties = component.NewPropertyMap();
  if (!isThere(properties)) return;
  const struct {
    AAX_EProperty property;
    AAX_CPropertyValue value;
  } rows[] = {
      {AAX_eProperty_ManufacturerID, kManufacturer},
      {AAX_eProperty_ProductID, kProduct},
      {AAX_eProperty_InputStemFormat, configuration.stem},
      {AAX_eProperty_OutputStemFormat, configuration.stem},
      {AAX_eProperty_CanBypass, 1},
      {AAX_eProperty_SupportsSideChainInput, 1},
      {AAX_eProperty_PlugInID_Native, configuration.nativeId},
      {AAX_eProperty_PlugInID_AudioSuite, configuration.audioSuiteId},
  };
  for (const auto& row : rows) check(properties->AddProperty(row.property, row.value));
  check(component.AddProcessProc_Native(configuration.render, properties));
}

void describeComponent(AAX_IEffectDescriptor& effect, const Configuration& configuration) {
  AAX_IComponentDescriptor* const component = effect.NewComponentDescriptor();
  if (!isThere(component)) return;
  describeFields(*component, AAX_STEM_FORMAT_CHANNEL_COUNT(configuration.stem));
  describeProcess(*component, configuration);
  check(effect.AddComponent(component));
}

void describeMeters(AAX_IEffectDescriptor& effect) {
  for (std::size_t i = 0; i < kMeters.size(); ++i) {
    AAX_IPropertyMap* const properties = effect.NewPropertyMap();
    if (!isThere(properties)) return;
    check(properties->AddProperty(AAX_eProperty_Meter_Type, kMeters[i].type));
    check(properties->AddProperty(AAX_eProperty_Meter_Orientation, kMeters[i].orientation));
    check(effect.AddMeterDescription(kMeterIds[i], kMeters[i].name, properties));
  }
}

/// Makes an instance; null if memory runs out.
IACFUnknown* makeParameters() {
  try {
    // The host owns the reference with which it starts.
    return new AAXWrap_Parameters(std::make_unique<Plug>(&aaxHostCallback));
  } catch (...) {
    return nullptr;
  }
}

void describeEffect(AAX_IEffectDescriptor& effect) {
  check(effect.AddName(kProductName));
  check(effect.AddCategory(AAX_ePlugInCategory_Dynamics));
  check(effect.AddProcPtr(&makeParameters, kAAX_ProcPtrID_Create_EffectParameters));
  check(effect.AddResourceInfo(AAX_eResourceType_PageTable, "PageTable.xml"));
  describeMeters(effect);
  for (const Configuration& configuration : kConfigurations) {
    describeComponent(effect, configuration);
  }
}

}  // namespace

AAX_Result aaxDescribe(AAX_ICollection& collection) {
  AAX_IEffectDescriptor* const effect = collection.NewDescriptor();
  if (effect == nullptr) return AAX_ERROR_NULL_OBJECT;
  describeEffect(*effect);
  check(collection.AddEffect(kEffectId, effect));
  check(collection.SetManufacturerName(kManufacturerName));
  check(collection.AddPackageName(kProductName));
  check(collection.SetPackageVersion(kPackageVersion));
  return AAX_SUCCESS;
}
