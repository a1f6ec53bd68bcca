#pragma once

#include <cstdint>
#include <vector>

#include "host/parameter_input.h"
#include "host/parameter_store.h"
#include "state/json_document.h"

/// What a product adds to the documents of its programs and banks, and how it reads their values.
class DocumentHooks {
 public:
  DocumentHooks() = default;
  virtual ~DocumentHooks() = default;
  DocumentHooks(const DocumentHooks&) = delete;
  DocumentHooks& operator=(const DocumentHooks&) = delete;

  virtual void saveProgramExtras(JsonNode* /*object*/, std::int32_t /*index*/) {}
  virtual void saveBankExtras(JsonNode* /*object*/, std::int32_t /*index*/) {}
  virtual void loadProgramExtras(const JsonNode* /*object*/, std::int32_t /*index*/) {}
  virtual void loadBankExtras(const JsonNode* /*object*/, std::int32_t /*index*/) {}
  /// Before anything is changed; may throw as long as that holds.
  virtual void documentLoaded(const JsonNode* /*root*/) {}
  [[nodiscard]] virtual float convertLoadedValue(std::int32_t /*index*/, double value) const {
    return static_cast<float>(value);
  }
};

/// Programs and banks to and from a document. The full form holds all of them, the preset form the
/// present program alone. A value is stored where it differs from its default and reads as the
/// default where it is missing.
///
/// Threads: in a `HostLink::StateScope`.
class StateCodec {
 public:
  /// All must outlive it.
  StateCodec(ParameterStore& values, ParameterInput& input, DocumentHooks& hooks);

  /// Throws std::bad_alloc.
  [[nodiscard]] JsonTree save(bool isPreset) const;
  /// Applies the root of a document, and tells the host. Allocates nothing once `documentLoaded`
  /// has returned.
  void load(const JsonNode* root, bool isPreset);

  // "parameters" of a program or a bank, to and from an object.
  void saveProgramParameters(JsonNode* object, std::int32_t index) const;
  void saveBankParameters(JsonNode* object, std::int32_t index) const;
  void loadProgramParameters(const JsonNode* object, std::int32_t index);
  void loadBankParameters(const JsonNode* object, std::int32_t index);

 private:
  void saveParameters(JsonNode* object, const ProgramRecord& record) const;
  void loadParameters(const JsonNode* object, ProgramRecord& record);
  void saveProgram(JsonNode* object, std::int32_t index) const;
  void loadProgram(const JsonNode* object, std::int32_t index);
  void takeName(const JsonNode* object, ProgramRecord& program) const;
  void loadFull(const JsonNode* root);
  void loadPreset(const JsonNode* root);
  void loadBanks(const JsonNode* list);

  ParameterStore& values;
  ParameterInput& input;
  DocumentHooks& hooks;
  std::vector<float> loadedValues;  // what a document gives to one record, while it is read
};
