#pragma once

#include "editing/menu.h"

class BandFiles;
class ChainEdits;
class Dialogs;
class EditedParameters;
class Globals;
struct EditorState;

/// What the menu of a band works on, until the user has answered what an entry asks.
struct BandMenuParts {
  EditedParameters& parameters;
  ChainEdits& bands;
  BandFiles& files;
  const EditorState& editor;  ///< entries use the selection at the moment they are chosen
  const Globals& globals;
  Dialogs& dialogs;
};

/// The menu of band 0..7: files, kind, place in the chain, copies, order, locks and links. Empty
/// for any other band. Reads the folder of bands. Message thread.
[[nodiscard]] Menu bandMenu(const BandMenuParts& parts, int band);
