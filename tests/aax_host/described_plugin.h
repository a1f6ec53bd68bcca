#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "libraries/aax/aax_descriptors.h"
#include "libraries/aax/aax_host.h"

/// A host at load: its objects keep what a plug-in tells about itself, and can write it for
/// reading.

/// A host's object behind one or several interfaces. It counts its references but belongs to
/// whoever made it, so that references left over can be told.
template <typename... Interfaces>
class Counted : public Interfaces... {
 public:
  std::uint32_t AddRef() final { return ++references; }
  std::uint32_t Release() final { return --references; }
  [[nodiscard]] std::uint32_t referenceCount() const { return references; }

 protected:
  ~Counted() = default;
  /// Answers `QueryInterface` with one of the interfaces, or with none for null.
  ACFRESULT give(void* object, void** out) {
    if (object != nullptr) AddRef();
    *out = object;
    return object != nullptr ? ACF_OK : ACF_E_NOINTERFACE;
  }

 private:
  std::uint32_t references = 0;
};

/// The call that the host refuses, and what failed assertions said.
struct HostLog {
  std::string refusedCall;
  std::vector<std::string> notes;
  [[nodiscard]] AAX_Result answer(const char* call) const;
};

class RecordedProperties final : public AAX_IPropertyMap {
 public:
  explicit RecordedProperties(HostLog& hostLog) : log(hostLog) {}
  AAX_Result AddProperty(AAX_EProperty property, AAX_CPropertyValue value) override;
  bool GetProperty(AAX_EProperty property, AAX_CPropertyValue* value) const override;
  [[nodiscard]] std::string text() const;

 private:
  HostLog& log;
  std::map<int, AAX_CPropertyValue> values;
};

enum class FieldKind { kIn, kOut, kLength, kRate, kClock, kSide, kMidi, kTransport, kMeters, kOwn };

/// One field of a context; `text` tells all that was registered of it.
struct FieldRecord {
  FieldKind kind;
  std::string text;
  std::int32_t bytes = 0;  ///< of private data, else 0
};

class RecordedComponent final : public AAX_IComponentDescriptor {
 public:
  explicit RecordedComponent(HostLog& hostLog) : log(hostLog) {}
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
  AAX_Result AddMIDINode(AAX_CFieldIndex field, AAX_EMIDINodeType type, const char* name,
                         std::uint32_t channelMask) override;
  AAX_Result AddPrivateData(AAX_CFieldIndex field, std::int32_t size) override;
  AAX_Result AddMeters(AAX_CFieldIndex field, const AAX_CTypeID* ids, std::uint32_t count) override;
  AAX_IPropertyMap* NewPropertyMap() override;
  AAX_Result AddProcessProc_Native(AAX_CProcessProc proc, AAX_IPropertyMap* properties) override;
  [[nodiscard]] std::string text() const;

  std::map<AAX_CFieldIndex, FieldRecord> fields;
  /// A callback of a component that has several is for the stem format of its properties.
  std::map<AAX_CPropertyValue, AAX_CProcessProc> procs;

 private:
  AAX_Result add(AAX_CFieldIndex index, FieldRecord field, const char* call);
  HostLog& log;
  std::string processText;
  std::vector<std::unique_ptr<RecordedProperties>> maps;
};

class RecordedEffect final : public AAX_IEffectDescriptor {
 public:
  explicit RecordedEffect(HostLog& hostLog) : log(hostLog) {}
  AAX_IComponentDescriptor* NewComponentDescriptor() override;
  AAX_IPropertyMap* NewPropertyMap() override;
  AAX_Result AddComponent(AAX_IComponentDescriptor* component) override;
  AAX_Result AddName(const char* name) override;
  AAX_Result AddCategory(AAX_EPlugInCategory category) override;
  AAX_Result AddProcPtr(AAX_CProcPtr proc, AAX_CTypeID which) override;
  AAX_Result SetProperties(AAX_IPropertyMap* properties) override;
  AAX_Result AddResourceInfo(AAX_EResourceType type, const char* name) override;
  AAX_Result AddMeterDescription(AAX_CTypeID id, const char* name,
                                 AAX_IPropertyMap* properties) override;
  [[nodiscard]] std::string text() const;
  /// The component with a callback for a stem format; throws std::runtime_error without.
  [[nodiscard]] const RecordedComponent& component(AAX_EStemFormat format) const;

  std::map<AAX_CTypeID, AAX_CProcPtr> procs;

 private:
  AAX_Result add(const std::string& line, const char* call);
  HostLog& log;
  std::string lines;
  std::vector<const RecordedComponent*> components;
  std::vector<std::unique_ptr<RecordedComponent>> made;
  std::vector<std::unique_ptr<RecordedProperties>> maps;
};

class RecordedCollection final : public Counted<AAX_ICollection> {
 public:
  explicit RecordedCollection(HostLog& hostLog) : log(hostLog) {}
  ACFRESULT QueryInterface(const acfIID& iid, void** object) override;
  AAX_IEffectDescriptor* NewDescriptor() override;
  AAX_Result AddEffect(const char* id, AAX_IEffectDescriptor* effect) override;
  AAX_Result SetManufacturerName(const char* name) override;
  AAX_Result AddPackageName(const char* name) override;
  AAX_Result SetPackageVersion(std::uint32_t version) override;
  /// All that was told, a line each.
  [[nodiscard]] const std::string& text() const { return lines; }

  std::vector<const RecordedEffect*> effects;

 private:
  AAX_Result add(const std::string& line, const char* call);
  HostLog& log;
  std::string lines;
  std::vector<std::unique_ptr<RecordedEffect>> made;
};

/// The host's own unknown, with its log and the factory of collections.
class HostUnknown final : public Counted<IACFComponentFactory, AAX_IHostServices> {
 public:
  ACFRESULT QueryInterface(const acfIID& iid, void** object) override;
  ACFRESULT CreateInstance(const acfCLSID& classId, IACFUnknown* outer, const acfIID& iid,
                           void** object) override;
  AAX_Result HandleAssertFailure(const char* file, std::int32_t line, const char* note) override;
  [[nodiscard]] IACFUnknown* unknown() { return static_cast<IACFComponentFactory*>(this); }

  HostLog log;
  std::vector<std::unique_ptr<RecordedCollection>> collections;  ///< made so far
};
