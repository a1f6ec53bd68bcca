#include "apps/aax_host/described_plugin.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <sstream>
#include <stdexcept>

namespace {

std::string given(const char* text) { return text != nullptr ? text : "(null)"; }

std::string propertiesText(const AAX_IPropertyMap* map) {
  return map != nullptr ? static_cast<const RecordedProperties*>(map)->text() : " (none)";
}

/// The four bytes of a meter's number, in memory order.
std::string bytesOf(AAX_CTypeID id) {
  std::string bytes(sizeof id, '\0');
  std::memcpy(bytes.data(), &id, sizeof id);
  return bytes;
}

/// The id as four letters if it consists of letters, otherwise in hexadecimal.
std::string numberText(AAX_CPropertyValue number) {
  std::string letters = bytesOf(static_cast<AAX_CTypeID>(number));
  std::ranges::reverse(letters);
  const auto isLetter = [](unsigned char byte) { return std::isprint(byte) != 0; };
  if (std::ranges::all_of(letters, isLetter)) return letters;
  std::ostringstream text;
  text << "0x" << std::hex << number;
  return text.str();
}

}  // namespace

bool RecordedProperties::GetProperty(AAX_EProperty property, AAX_CPropertyValue* value) const {
  const auto found = values.find(property);
  if (found != values.end()) *value = found->second;
  return found != values.end();
}

std::string RecordedProperties::text() const {
  std::string line;
  for (const auto& [property, value] : values) {
    line += " " + std::to_string(property) + "=" + numberText(value);
  }
  return line;
}

AAX_Result RecordedComponent::add(AAX_CFieldIndex index, FieldRecord field, const char* call) {
  if (fields.contains(index)) field.text += " (again)";
  fields[index] = std::move(field);
  return answer(call);
}

AAX_Result RecordedComponent::AddMIDINode(AAX_CFieldIndex field, AAX_EMIDINodeType type,
                                          const char* name, std::uint32_t channelMask) {
  const bool isTransport = type == AAX_eMIDINodeType_Transport;
  return add(
      field,
      {isTransport ? FieldKind::kTransport : FieldKind::kMidi,
       "MIDI node " + std::to_string(type) + ", " + numberText(channelMask) + ", " + given(name)},
      "AddMIDINode");
}

AAX_Result RecordedComponent::AddMeters(AAX_CFieldIndex field, const AAX_CTypeID* ids,
                                        std::uint32_t count) {
  FieldRecord meters{FieldKind::kMeters, "meters"};
  for (std::uint32_t i = 0; i < count; ++i) meters.text += " " + bytesOf(ids[i]);
  return add(field, meters, "AddMeters");
}

AAX_Result RecordedComponent::AddProcessProc_Native(AAX_CProcessProc proc,
                                                    AAX_IPropertyMap* properties) {
  AAX_CPropertyValue stem = AAX_eStemFormat_None;
  if (properties != nullptr) {
    static_cast<void>(properties->GetProperty(AAX_eProperty_InputStemFormat, &stem));
  }
  procs[stem] = proc;
  return Recorder::add("  process:" + propertiesText(properties), "AddProcessProc_Native");
}

std::string RecordedComponent::text() const {
  std::string all = "component\n";
  for (const auto& [index, field] : fields) {
    all += "  field " + std::to_string(index) + ": " + field.text + "\n";
  }
  return all + lines;
}

AAX_Result RecordedEffect::AddName(const char* name) {
  return add("  name " + given(name), "AddName");
}

AAX_Result RecordedEffect::SetProperties(AAX_IPropertyMap* map) {
  return add("  properties" + propertiesText(map), "SetProperties");
}

AAX_Result RecordedEffect::AddResourceInfo(AAX_EResourceType type, const char* name) {
  return add("  resource " + std::to_string(type) + " " + given(name), "AddResourceInfo");
}

AAX_Result RecordedEffect::AddMeterDescription(AAX_CTypeID id, const char* name,
                                               AAX_IPropertyMap* map) {
  return add("  meter " + bytesOf(id) + " " + given(name) + propertiesText(map),
             "AddMeterDescription");
}

std::string RecordedEffect::text() const {
  std::string all = lines;
  for (const RecordedComponent* component : components) all += component->text();
  return all;
}

const RecordedComponent& RecordedEffect::component(AAX_EStemFormat format) const {
  for (const RecordedComponent* component : components) {
    if (component->procs.contains(format)) return *component;
  }
  throw std::runtime_error("no process configuration of stem format " + std::to_string(format));
}

ACFRESULT RecordedCollection::QueryInterface(const acfIID& iid, void** object) {
  const bool known = iid == IID_IACFUnknown || iid == IID_AAX_ICollection;
  return give(known ? static_cast<AAX_ICollection*>(this) : nullptr, object);
}

AAX_Result RecordedCollection::AddEffect(const char* id, AAX_IEffectDescriptor* effect) {
  effects.push_back(static_cast<RecordedEffect*>(effect));
  lines += "effect " + given(id) + "\n" + effects.back()->text();
  return answer("AddEffect");
}

AAX_Result RecordedCollection::SetManufacturerName(const char* name) {
  return add("manufacturer " + given(name), "SetManufacturerName");
}

AAX_Result RecordedCollection::AddPackageName(const char* name) {
  return add("package " + given(name), "AddPackageName");
}

ACFRESULT HostUnknown::QueryInterface(const acfIID& iid, void** object) {
  if (iid == IID_AAX_IHostServices) return give(static_cast<AAX_IHostServices*>(this), object);
  const bool known = iid == IID_IACFUnknown || iid == IID_IACFComponentFactory;
  return give(known ? static_cast<IACFComponentFactory*>(this) : nullptr, object);
}

ACFRESULT HostUnknown::CreateInstance(const acfCLSID& classId, IACFUnknown* /*outer*/,
                                      const acfIID& iid, void** object) {
  *object = nullptr;
  if (!(classId == AAXCompID_AAXCollection)) return ACF_E_UNEXPECTED;
  RecordedCollection* const collection = make("CreateInstance");
  return collection != nullptr ? collection->QueryInterface(iid, object) : ACF_E_UNEXPECTED;
}

AAX_Result HostUnknown::HandleAssertFailure(const char* /*file*/, std::int32_t /*line*/,
                                            const char* note) {
  log.notes.push_back(given(note));
  return AAX_SUCCESS;
}
