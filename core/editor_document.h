#pragma once

#include "state/json_document.h"

class BandRules;
class ParameterInput;
class ParameterStore;
class UiSettings;
struct EditorState;

/// The objects that the editor's part of a document is saved from and loaded into.
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

/// Allocates what `loadEditorState` will need for this root, so that it cannot fail. Throws
/// std::bad_alloc, with nothing changed.
void reserveEditorState(const EditorDocument& of, const JsonNode* root);

/// Loads both from the root. Missing values stay as they are, and so do the live and the last bank
/// when a preset is loaded. Does nothing without "settings". Allocates nothing after
/// `reserveEditorState`.
void loadEditorState(const EditorDocument& of, const JsonNode* root, bool isPreset);
