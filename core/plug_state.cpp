#include "core/plug_state.h"

#include "core/band_rules.h"
#include "editing/auto_gain.h"
#include "host/parameter_input.h"
#include "host/shared_value.h"
#include "state/document_keys.h"
#include "state/json_writer.h"
#include "state/ui_settings.h"

PlugState::Extras PlugState::extras() const { return {editor.state, editor.options.revision()}; }

bool PlugState::carriesEditor(bool isPreset) {
  return !isPreset || (flags.get() & LoadingFlags::kCarriesEditor) != 0;
}

JsonTree PlugState::save(bool isPreset) {
  if (!isPreset) storedExtras = extras();
  JsonTree root = codec.save(isPreset);
  if (carriesEditor(isPreset)) saveEditorState(editor, root.get());
  JsonWriter(root.get()).add(documentKey::kVersionMark, jsonCreateTrue());
  return root;
}

void PlugState::load(const JsonNode* root, bool isPreset) {
  const bool takesEditor = carriesEditor(isPreset);
  {
    const UpdateHold together(engine);
    prepare(root);
    codec.load(root, isPreset);
    if (takesEditor) loadEditorState(editor, root, isPreset);
    if (jsonGetObjectItem(root, documentKey::kVersionMark) == nullptr) {
      keepOldLogBehaviour(isPreset);
    }
    engine.update(true);
  }
  autoGain.startAfresh();
}

void PlugState::refuse() {
  clearFlags();
  engine.update(true);
}

/// Makes room for the document and clears locks and links, which must not keep values out.
void PlugState::prepare(const JsonNode* root) {
  reserveEditorState(editor, root);
  clearFlags();
}

void PlugState::clearFlags() noexcept {
  editor.rules.clear();
  editor.state.flagsStale = true;
}

/// For documents of the first version, which have no version mark: they were made with the
/// logarithmic behaviour, so it is switched on.
void PlugState::keepOldLogBehaviour(bool isPreset) {
  editor.input.set(kLogBehaviour, 1.0F);
  if (isPreset) return;
  for (ProgramRecord& bank : editor.values.banks()) {
    storeShared(bank.values[kLogBehaviour], 1.0F);
  }
}
