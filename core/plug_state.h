#pragma once

#include <cstdint>

#include "core/editor_document.h"
#include "core/loading_flags.h"
#include "host/editor_state.h"
#include "host/engine_link.h"
#include "host/state_chunks.h"
#include "host/state_codec.h"

class AutoGain;

/// The state that an instance stores: programs, banks, locks, links and the editor's state.
/// Threads: in a `StateScope`.
class PlugState final : public StateModel {
 public:
  /// All arguments must outlive it.
  PlugState(StateCodec& programs, const EditorDocument& editorPart, LoadingFlags& loadingFlags,
            AutoGain& gain, EngineLink& link) noexcept
      : codec(programs), editor(editorPart), flags(loadingFlags), autoGain(gain), engine(link) {}

  [[nodiscard]] JsonTree save(bool isPreset) override;
  /// Makes all allocations before it changes anything.
  void load(const JsonNode* root, bool isPreset) override;
  void refuse() override;
  [[nodiscard]] bool hasUnmarkedChanges() const override { return extras() != storedExtras; }

 private:
  /// The stored state that does not mark itself as changed.
  struct Extras {
    StoredEditorState editor;
    unsigned uiRevision = 0;
    bool operator==(const Extras&) const = default;
  };
  [[nodiscard]] Extras extras() const;
  [[nodiscard]] bool carriesEditor(bool isPreset);
  void prepare(const JsonNode* root);
  void clearFlags() noexcept;
  void keepOldLogBehaviour(bool isPreset);

  StateCodec& codec;
  const EditorDocument editor;
  LoadingFlags& flags;
  AutoGain& autoGain;
  EngineLink& engine;
  Extras storedExtras;  // of the last full document
};
