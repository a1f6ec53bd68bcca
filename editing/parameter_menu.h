#pragma once

#include "editing/menu.h"

class EditedParameters;
class MIDIMap;
struct EditorState;

/// What the context menu of a parameter works on.
struct ParameterMenuParts {
  EditedParameters& parameters;
  const EditorState& editor;  ///< its selection counts when an entry is chosen
  MIDIMap& midi;
};

/// The context menu of parameter `id`: locks, values and links for other bands, MIDI. Without
/// entries for one that has none. Message thread.
[[nodiscard]] Menu parameterMenu(const ParameterMenuParts& parts, int id);
