#pragma once

#include <cstdint>
#include <vector>

#include "host/parameter_input.h"
#include "host/parameter_store.h"
#include "state/json_document.h"

/// How a derived effect extends the documents of programs and banks and converts their values.
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
  /// Called before anything is changed, and may therefore throw.
  virtual void documentLoaded(const JsonNode* /*root*/) {}
  [[nodiscard]] virtual float convertLoadedValue(std::int32_t /*index*/, double value) const {
    return static_cast<float>(value);
  }
};

/// Writes programs and banks to documents and reads them back. The full form holds all of them, the
/// preset form the present program only. Only values that differ from their defaults are stored; a
/// missing value reads as its default.
///
/// Threads: in a `HostLink::StateScope`.
class StateCodec {
 public:
  /// All arguments must outlive it.
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
  std::vector<float> loadedValues;  // scratch: the values of one record while it is read
};
