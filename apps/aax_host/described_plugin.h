#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "libraries/aax/aax_descriptors.h"
#include "libraries/aax/aax_host.h"

// A host while it loads a plug-in: its objects record the plug-in's description and can print it.

/// An object of the host with one or several interfaces. It counts its references but is owned by
/// its maker, so that leaked references can be detected.
template <typename... Interfaces>
class Counted : public Interfaces... {
 public:
  std::uint32_t AddRef() final { return ++references; }
  std::uint32_t Release() final { return --references; }
  [[nodiscard]] std::uint32_t referenceCount() const { return references; }

 protected:
  ~Counted() = default;
  /// Result of `QueryInterface`: the interface `object`, or none if that is null.
  ACFRESULT give(void* object, void** out) {
    if (object != nullptr) AddRef();
    *out = object;
    return object != nullptr ? ACF_OK : ACF_E_NOINTERFACE;
  }

 private:
  std::uint32_t references = 0;
};

/// The call that the host refuses, and the messages of failed assertions.
struct HostLog {
  std::string refusedCall;
  std::vector<std::string> notes;
};

/// An object that records the calls it gets, one line each, and owns the objects it makes.
template <typename Made>
class Recorder {
 public:
  explicit Recorder(HostLog& hostLog) : log(hostLog) {}
  [[nodiscard]] std::string text() const { return lines; }

 protected:
  [[nodiscard]] AAX_Result answer(const char* call) const {
    return log.refusedCall == call ? -20050 : AAX_SUCCESS;
  }
  AAX_Result add(const std::string& line, const char* call) {
    lines += line + "\n";
    return answer(call);
  }
  /// Makes an object of the host; null if the host refuses.
  Made* make(const char* call) {
    if (answer(call) != AAX_SUCCESS) return nullptr;
    return made.emplace_back(std::make_unique<Made>(log)).get();
  }
  HostLog& log;
  std::string lines;
  std::vector<std::unique_ptr<Made>> made;
};

class RecordedProperties final : public AAX_IPropertyMap, private Recorder<int> {
 public:
  using Recorder::Recorder;
  AAX_Result AddProperty(AAX_EProperty property, AAX_CPropertyValue value) override {
    values[property] = value;
    return answer("AddProperty");
  }
  bool GetProperty(AAX_EProperty property, AAX_CPropertyValue* value) const override;
  [[nodiscard]] std::string text() const;

 private:
  std::map<int, AAX_CPropertyValue> values;
};

enum class FieldKind { kIn, kOut, kLength, kRate, kClock, kSide, kMidi, kTransport, kMeters, kOwn };

/// One field of a context; `text` describes everything registered for it.
struct FieldRecord {
  FieldKind kind;
  std::string text;
  std::int32_t bytes = 0;  ///< size of private data; 0 for other fields
};

class RecordedComponent final : public AAX_IComponentDescriptor,
                                public Recorder<RecordedProperties> {
 public:
  using Recorder::Recorder;
  AAX_Result AddAudioIn(AAX_CFieldIndex field) override {
    return add(field, {FieldKind::kIn, "audio in"}, "AddAudioIn");
  }
  AAX_Result AddAudioOut(AAX_CFieldIndex field) override {
    return add(field, {FieldKind::kOut, "audio out"}, "AddAudioOut");
  }
  AAX_Result AddAudioBufferLength(AAX_CFieldIndex field) override {
    return add(field, {FieldKind::kLength, "buffer length"}, "AddAudioBufferLength");
  }
  AAX_Result AddSampleRate(AAX_CFieldIndex field) override {
    return add(field, {FieldKind::kRate, "sample rate"}, "AddSampleRate");
  }
  AAX_Result AddClock(AAX_CFieldIndex field) override {
    return add(field, {FieldKind::kClock, "clock"}, "AddClock");
  }
  AAX_Result AddSideChainIn(AAX_CFieldIndex field) override {
    return add(field, {FieldKind::kSide, "sidechain in"}, "AddSideChainIn");
  }
  AAX_Result AddPrivateData(AAX_CFieldIndex field, std::int32_t size) override {
    return add(field, {FieldKind::kOwn, "private data, " + std::to_string(size), size},
               "AddPrivateData");
  }
  AAX_Result AddMIDINode(AAX_CFieldIndex field, AAX_EMIDINodeType type, const char* name,
                         std::uint32_t channelMask) override;
  AAX_Result AddMeters(AAX_CFieldIndex field, const AAX_CTypeID* ids, std::uint32_t count) override;
  AAX_IPropertyMap* NewPropertyMap() override { return make("NewPropertyMap"); }
  AAX_Result AddProcessProc_Native(AAX_CProcessProc proc, AAX_IPropertyMap* properties) override;
  [[nodiscard]] std::string text() const;

  std::map<AAX_CFieldIndex, FieldRecord> fields;
  /// Render callbacks by the stem format of their properties.
  std::map<AAX_CPropertyValue, AAX_CProcessProc> procs;

 private:
  AAX_Result add(AAX_CFieldIndex index, FieldRecord field, const char* call);
};

class RecordedEffect final : public AAX_IEffectDescriptor, public Recorder<RecordedComponent> {
 public:
  explicit RecordedEffect(HostLog& hostLog) : Recorder(hostLog), properties(hostLog) {}
  AAX_IComponentDescriptor* NewComponentDescriptor() override {
    return make("NewComponentDescriptor");
  }
  AAX_IPropertyMap* NewPropertyMap() override { return properties.NewPropertyMap(); }
  AAX_Result AddComponent(AAX_IComponentDescriptor* component) override {
    components.push_back(static_cast<const RecordedComponent*>(component));
    return answer("AddComponent");
  }
  AAX_Result AddName(const char* name) override;
  AAX_Result AddCategory(AAX_EPlugInCategory category) override {
    return add("  category " + std::to_string(category), "AddCategory");
  }
  AAX_Result AddProcPtr(AAX_CProcPtr proc, AAX_CTypeID which) override {
    procs[which] = proc;
    return answer("AddProcPtr");
  }
  AAX_Result SetProperties(AAX_IPropertyMap* map) override;
  AAX_Result AddResourceInfo(AAX_EResourceType type, const char* name) override;
  AAX_Result AddMeterDescription(AAX_CTypeID id, const char* name, AAX_IPropertyMap* map) override;
  [[nodiscard]] std::string text() const;
  /// The component with a callback for a stem format; throws std::runtime_error if there is none.
  [[nodiscard]] const RecordedComponent& component(AAX_EStemFormat format) const;

  std::map<AAX_CTypeID, AAX_CProcPtr> procs;

 private:
  std::vector<const RecordedComponent*> components;
  RecordedComponent properties;  // owns the property maps that this makes
};

class RecordedCollection final : public Counted<AAX_ICollection>, public Recorder<RecordedEffect> {
 public:
  using Recorder::Recorder;
  ACFRESULT QueryInterface(const acfIID& iid, void** object) override;
  AAX_IEffectDescriptor* NewDescriptor() override { return make("NewDescriptor"); }
  AAX_Result AddEffect(const char* id, AAX_IEffectDescriptor* effect) override;
  AAX_Result SetManufacturerName(const char* name) override;
  AAX_Result AddPackageName(const char* name) override;
  AAX_Result SetPackageVersion(std::uint32_t version) override {
    return add("package version " + std::to_string(version), "SetPackageVersion");
  }

  std::vector<RecordedEffect*> effects;
};

/// The host's own unknown: provides its log and the factory of collections.
class HostUnknown final : public Counted<IACFComponentFactory, AAX_IHostServices>,
                          private Recorder<RecordedCollection> {
 public:
  HostUnknown() : Recorder(log) {}
  ACFRESULT QueryInterface(const acfIID& iid, void** object) override;
  ACFRESULT CreateInstance(const acfCLSID& classId, IACFUnknown* outer, const acfIID& iid,
                           void** object) override;
  AAX_Result HandleAssertFailure(const char* file, std::int32_t line, const char* note) override;
  [[nodiscard]] IACFUnknown* unknown() { return static_cast<IACFComponentFactory*>(this); }

  HostLog log;
  std::vector<std::unique_ptr<RecordedCollection>>& collections = made;  ///< so far
};
