#pragma once

#include <cstdint>
#include <string>

#include "host/plug_base.h"
#include "host/state_chunks.h"
#include "host/state_codec.h"
#include "state/json_document.h"

/// An effect whose state is stored as a JSON document.
///
/// Threads: `getChunk` and `setChunk` on any thread but the audio thread; they serialise
/// themselves.
class PlugBaseJSON : public PlugBase, protected DocumentHooks {
 public:
  /// `chunkCacheEnabled`: the `isCached` of `StateChunks`.
  PlugBaseJSON(AudioMasterCallback audioMaster, std::span<const ParameterRecord> table,
               const ParameterKeys& keys, int numPrograms, bool chunkCacheEnabled = false);

  void resume() override;

  // See `StateChunks`.
  std::int32_t getChunk(void** data, bool isPreset) override { return chunks.get(data, isPreset); }
  [[nodiscard]] std::string document(bool isPreset) { return chunks.document(isPreset); }
  std::int32_t setChunk(const void* data, std::int32_t byteSize, bool isPreset) override {
    return chunks.set(data, byteSize, isPreset);
  }
  /// Loads a document that has been parsed already, given by its root. Throws std::bad_alloc, with
  /// nothing changed.
  virtual void setDocument(const JsonNode* root, bool isPreset) { chunks.take(root, isPreset); }
  [[nodiscard]] bool chunkRefused() const noexcept { return chunks.refused(); }
  void setCompressionLevel(std::int32_t level) noexcept { chunks.setLevel(level); }
  /// Marks the state as changed since the last document was handed out. To be called when something
  /// other than a parameter, bank or name changes; those mark the state themselves.
  void markChanged() noexcept { chunks.markChanged(); }

 protected:
  /// Makes documents from `model` instead of programs and banks alone. Only at the end of a
  /// constructor.
  void connectModel(StateModel& model) noexcept { chunks.connect(model); }

 private:
  /// The default model: programs and banks only.
  class Plain final : public StateModel {
   public:
    Plain(StateCodec& stateCodec, EngineLink& link) noexcept : codec(stateCodec), engine(link) {}
    [[nodiscard]] JsonTree save(bool isPreset) override { return codec.save(isPreset); }
    void load(const JsonNode* root, bool isPreset) override;
    void refuse() override { engine.update(true); }

   private:
    StateCodec& codec;
    EngineLink& engine;
  };

 protected:
  StateCodec codec;

 private:
  Plain plain;

 protected:
  StateChunks chunks;
};
