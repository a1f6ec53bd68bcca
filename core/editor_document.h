#pragma once

#include "state/json_document.h"

class BandRules;
class ParameterInput;
class ParameterStore;
class UiSettings;
struct EditorState;

/// Whose the editor's part of a document is.
struct EditorDocument {
  EditorState& state;
  UiSettings& options;
  BandRules& rules;
  ParameterInput& input;
  ParameterStore& values;
};

// The editor's part of a document: "settings" and "uiprefs". Threads: in a `StateScope`.

/// Appends both to the root of a document. Throws std::bad_alloc.
void saveEditorState(const EditorDocument& of, JsonNode* root);

/// Makes room for what the root holds of both, so that `loadEditorState` cannot fail. Throws
/// std::bad_alloc, with nothing changed.
void reserveEditorState(const EditorDocument& of, const JsonNode* root);

/// Takes what the root holds of both; what is missing stays as it is, and so do the banks where a
/// preset is loaded. Does nothing without "settings". Allocates nothing after
/// `reserveEditorState`.
void loadEditorState(const EditorDocument& of, const JsonNode* root, bool isPreset);
