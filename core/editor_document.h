#pragma once

#include "state/json_document.h"

class Plug;

// The editor's part of a document: "settings" and "uiprefs". Threads: as `Plug::getChunk`.

/// Appends both to the root of a document. Throws std::bad_alloc.
void saveEditorState(Plug& plug, JsonNode* root);

/// Makes room for what the root holds of both, so that `loadEditorState` cannot fail. Throws
/// std::bad_alloc, with nothing changed.
void reserveEditorState(Plug& plug, const JsonNode* root);

/// Takes what the root holds of both; what is missing stays as it is, and so do the banks where a
/// preset is loaded. Does nothing without "settings". Allocates nothing behind
/// `reserveEditorState`.
void loadEditorState(Plug& plug, const JsonNode* root, bool isPreset);
