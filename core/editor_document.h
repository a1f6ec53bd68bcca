#pragma once

#include "state/json_document.h"

class Plug;

// The editor's part of a document: "settings" and "uiprefs". Threads: as `Plug::getChunk`.

/// Appends both to the root of a document. Throws std::bad_alloc.
void saveEditorState(Plug& plug, JsonNode* root);

/// Takes what the root holds of both; what is missing stays as it is, and so do the banks where a
/// preset is loaded. Does nothing without "settings".
void loadEditorState(Plug& plug, const JsonNode* root, bool isPreset);
