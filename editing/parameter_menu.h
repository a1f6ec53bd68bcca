#pragma once

#include "editing/menu.h"

class EditedParameters;
class MIDIMap;
struct EditorState;

/// What a parameter's context menu works on.
struct ParameterMenuParts {
  EditedParameters& parameters;
  const EditorState& editor;  ///< entries use the selection at the moment they are chosen
  MIDIMap& midi;
};

/// The context menu of parameter `id`: lock, link, values for other bands, MIDI. Empty for a
/// parameter without a menu. Message thread.
[[nodiscard]] Menu parameterMenu(const ParameterMenuParts& parts, int id);
