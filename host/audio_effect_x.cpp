#include "host/audio_effect_x.h"

std::intptr_t AudioEffectX::dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                       void* ptr, float opt) {
  switch (opcode) {
    case kEffectProcessEvents:
      return processEvents(static_cast<const VstEvents*>(ptr));
    case kEffectCanBeAutomated:
      return canParameterBeAutomated(index) ? 1 : 0;
    case kEffectStringToParameter:
      return ptr != nullptr && stringToParameter(index, static_cast<const char*>(ptr)) ? 1 : 0;
    case kEffectGetProgramNameIndexed:
      if (ptr == nullptr) return 0;
      return getProgramNameIndexed(static_cast<std::int32_t>(value), index,
                                   static_cast<char*>(ptr));
    case kEffectGetInputProperties:
    case kEffectGetOutputProperties:
      return dispatchProperties(opcode, index, ptr);
    case kEffectSetBypass:
      return setBypass(value != 0) ? 1 : 0;
    case kEffectGetVendorVersion:
      return getVendorVersion();
    case kEffectVendorSpecific:
      return vendorSpecific(index, value, ptr, opt);
    case kEffectGetTailSize:
      return getTailSize();
    case kEffectGetInterfaceVersion:
      return kInterfaceVersion;
    case kEffectCanDo:
    case kEffectGetEffectName:
    case kEffectGetVendorString:
    case kEffectGetProductString:
      return dispatchStrings(opcode, static_cast<char*>(ptr));
    default:
      return AudioEffect::dispatcher(opcode, index, value, ptr, opt);
  }
}

std::intptr_t AudioEffectX::dispatchProperties(std::int32_t opcode, std::int32_t index, void* ptr) {
  if (ptr == nullptr) return 0;
  auto* const properties = static_cast<VstPinProperties*>(ptr);
  const bool known = opcode == kEffectGetInputProperties ? getInputProperties(index, properties)
                                                         : getOutputProperties(index, properties);
  return known ? 1 : 0;
}

std::intptr_t AudioEffectX::dispatchStrings(std::int32_t opcode, char* text) {
  if (text == nullptr) return 0;
  switch (opcode) {
    case kEffectCanDo:
      return canDo(text);
    case kEffectGetEffectName:
      return getEffectName(text) ? 1 : 0;
    case kEffectGetVendorString:
      return getVendorString(text) ? 1 : 0;
    default:
      return getProductString(text) ? 1 : 0;
  }
}
