#pragma once

#include <cstdint>
#include <string>

#include "host/plug_base.h"
#include "host/state_chunks.h"
#include "host/state_codec.h"
#include "state/json_document.h"

/// The effect whose state is stored as a JSON document.
///
/// Threads: `getChunk` and `setChunk` on any thread but the audio thread, one after the other by
/// themselves.
class PlugBaseJSON : public PlugBase, protected DocumentHooks {
 public:
  /// `chunkCacheEnabled`: as in `StateChunks`.
  PlugBaseJSON(AudioMasterCallback audioMaster, std::span<const ParameterRecord> table,
               const ParameterKeys& keys, int numPrograms, bool chunkCacheEnabled = false);

  void resume() override;

  // As in `StateChunks`.
  std::int32_t getChunk(void** data, bool isPreset) override { return chunks.get(data, isPreset); }
  [[nodiscard]] std::string document(bool isPreset) { return chunks.document(isPreset); }
  std::int32_t setChunk(const void* data, std::int32_t byteSize, bool isPreset) override {
    return chunks.set(data, byteSize, isPreset);
  }
  /// Takes the root of a document that has been read already. Throws std::bad_alloc, with nothing
  /// changed.
  virtual void setDocument(const JsonNode* root, bool isPreset) { chunks.take(root, isPreset); }
  [[nodiscard]] bool chunkRefused() const noexcept { return chunks.refused(); }
  void setCompressionLevel(std::int32_t level) noexcept { chunks.setLevel(level); }
  /// The state is another one than the document that was handed out last. For what is stored but
  /// is no parameter; parameters, banks and names tell by themselves.
  void markChanged() noexcept { chunks.markChanged(); }

 protected:
  /// Stores this model in place of programs and banks alone; at the end of a constructor.
  void connectModel(StateModel& model) noexcept { chunks.connect(model); }

 private:
  /// Programs and banks alone.
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
