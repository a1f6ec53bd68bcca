#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/plug_base.h"
#include "state/json_document.h"

/// The effect whose state is stored as a JSON document. The full form holds programs and banks; the
/// preset form holds the present program alone. A value is stored where it differs from its default
/// and reads as the default where it is missing.
///
/// Threads: `getChunk` and `setChunk` on any thread but the audio thread, one after the other by
/// themselves.
class PlugBaseJSON : public PlugBase {
 public:
  PlugBaseJSON(AudioMasterCallback audioMaster, std::span<const ParameterRecord> table,
               const ParameterKeys& keys, int numPrograms);

  void setParameter(std::int32_t index, float normalised) override;
  void switchBank(std::int32_t bank) override;
  void copyToBank(std::int32_t bank) override;
  void setProgramName(const char* name) override;
  void resume() override;

  /// The document, packed unless the compression level is 0. `*data` is valid until the next call
  /// on the same thread. Where nothing has changed since the last full form, that is handed out.
  std::int32_t getChunk(void** data, bool isPreset) override;
  /// The same for the product's own use, of this moment; what hosts were handed stays. Empty
  /// without memory.
  [[nodiscard]] std::string document(bool isPreset);
  /// Takes a packed or a plain document; one that is none changes no value, and `chunkRefused`
  /// tells. Returns `byteSize`; 0 for null `data` and for less than no bytes. Throws
  /// std::bad_alloc, with nothing changed.
  std::int32_t setChunk(const void* data, std::int32_t byteSize, bool isPreset) override;
  /// Whether the last `setChunk` held no document.
  [[nodiscard]] bool chunkRefused() const noexcept { return refused.load(relaxed); }

  /// 0 none to 9 smallest; clamped.
  void setCompressionLevel(std::int32_t level) noexcept;

  /// The state is another one than the document that was handed out last. For what is stored but
  /// is no parameter; parameters, banks and names tell by themselves.
  void markChanged() noexcept { chunkDirty.store(true, std::memory_order_release); }

 protected:
  /// Whether the state holds something that differs from the last full document and that nobody
  /// marks as changed.
  [[nodiscard]] virtual bool extrasChanged() const { return false; }
  /// The document. Throws std::bad_alloc.
  [[nodiscard]] virtual JsonTree saveState(bool isPreset);
  /// Applies a document and returns it; null, with nothing changed, for a text that holds none.
  /// Where memory runs out it throws before anything is changed: from `documentLoaded` on nothing
  /// is allocated.
  virtual JsonTree loadState(const char* text, bool isPreset);
  // "parameters" of a program or a bank, to and from an object.
  virtual void saveProgramParameters(JsonNode* object, std::int32_t index);
  virtual void saveBankParameters(JsonNode* object, std::int32_t index);
  virtual void loadProgramParameters(const JsonNode* object, std::int32_t index);
  virtual void loadBankParameters(const JsonNode* object, std::int32_t index);
  // For what a product adds to a program or a bank, and for its look at a document just read, which
  // may throw as long as it has changed nothing.
  virtual void saveProgramExtras(JsonNode* /*object*/, std::int32_t /*index*/) {}
  virtual void saveBankExtras(JsonNode* /*object*/, std::int32_t /*index*/) {}
  virtual void loadProgramExtras(const JsonNode* /*object*/, std::int32_t /*index*/) {}
  virtual void loadBankExtras(const JsonNode* /*object*/, std::int32_t /*index*/) {}
  virtual void documentLoaded(const JsonNode* /*root*/) {}
  [[nodiscard]] virtual float convertLoadedValue(std::int32_t index, double value) const;

  void setParameterFromAudio(std::int32_t index, float normalised) noexcept override;

  std::atomic<bool> chunkDirty{true};
  std::atomic<std::int32_t> chunkLevel{9};
  bool chunkCacheEnabled = false;  // only then a full form is kept for the next request

 private:
  using Chunk = std::shared_ptr<const std::string>;

  [[nodiscard]] std::string buildChunk(bool isPreset, bool& isPacked);
  void keepFor(std::thread::id reader, const Chunk& chunk);
  void saveParameters(JsonNode* object, const ProgramRecord& record) const;
  void loadParameters(const JsonNode* object, ProgramRecord& record);
  void saveProgram(JsonNode* object, std::int32_t index);
  void loadProgram(const JsonNode* object, std::int32_t index);
  void loadFull(const JsonNode* root);
  void loadPreset(const JsonNode* root);
  void loadBanks(const JsonNode* list);

  std::vector<float> loadedValues;  // what a document gives to one record, while it is read
  std::atomic<bool> refused{false};
  // In a `StateScope`.
  Chunk chunkCache;                                          // what was handed out last
  std::vector<std::pair<std::thread::id, Chunk>> handedOut;  // to each thread last
};
