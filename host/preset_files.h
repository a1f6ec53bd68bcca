#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/editor_state.h"
#include "host/plug_base_json.h"
#include "platform/dialogs.h"
#include "state/machine.h"
#include "state/preset_menu.h"

/// A whole state that a load has replaced, or that an undo has.
struct StateSnapshot {
  std::string data;       ///< document
  bool isPreset = false;  ///< form of the document
  int presetIndex = -1;   ///< `lastPreset` to return to, -1 for none
  std::string menuPath;   ///< `path` of its menu, empty for none
};

/// Preset and bank files of an instance: the menu of presets and the place in it, saving, loading,
/// and what loads have replaced.
///
/// The place is `lastPresetFolder` and `lastPreset` of the editor's state, so that documents carry
/// it. A preset never moves it by what it holds itself. Whatever fails is told by `Alerts` and
/// leaves everything as it was. Threads: message thread, also while hosts save and load on others;
/// no dialog and no file holds these up.
class PresetFiles {
 public:
  /// All three must outlive it.
  PresetFiles(PlugBaseJSON& effect, EditorState& state, const Machine& machine) noexcept
      : plug(effect), editor(state), folders(machine.folders()) {}

  /// Reads the folders again: the user's presets and, last, a submenu of those the product brings
  /// along. The place stays, if its folder does.
  void buildPresetMenu();
  /// Valid until the menu is built again; null before it is built.
  [[nodiscard]] const PresetMenu* presetMenu() const noexcept { return menu.get(); }
  /// The menu of the present place; null if there is no such folder.
  [[nodiscard]] const PresetMenu* currentPresetMenu() const;

  /// Loads an entry of the menu with this `path`, which the place then is.
  void choosePreset(std::string_view menuPath, int index);
  // To the entry before or behind the place, in the same menu and not beyond its ends or into a
  // submenu; past what cannot be loaded, of which the user is told, to the next that can. Where no
  // other can, the place stays. Without a place the first entry of the root is loaded.
  void nextPreset() { step(1); }
  void previousPreset() { step(-1); }
  void loadCurrentPreset();
  [[nodiscard]] bool previousEnabled() const;
  [[nodiscard]] bool nextEnabled() const;

  // Ask for a file, and act on it once the user has answered; nothing happens on cancel. This must
  // live until then. `extension` without dot.
  void savePresetDialog(Dialogs& dialogs, const std::string& extension, bool isPreset);
  /// The program takes the name of a file with this extension. Whether it was written.
  bool savePreset(const std::string& path, const std::string& extension, bool isPreset);
  void loadPresetDialog(Dialogs& dialogs, const std::string& extension);
  /// A file with a bank's extension is a bank, any other a preset. Whether it was loaded.
  bool loadPresetFile(const std::string& path);

  /// Exchanges the present state for the newest one kept in that direction of the history.
  void restoreSnapshot(bool isPreset, bool towardsRedo);

  /// Writes the bank that new instances begin with; whether it was written. A failure is not told.
  bool saveAsDefault();
  void setDefaultBankPath(std::string path) { defaultBankPath = std::move(path); }

 private:
  struct Place {
    std::string folder;
    int index = 0;
  };

  /// An entry of a menu, or what lies beyond its ends.
  struct Target {
    [[nodiscard]] const PresetMenu::Entry* entry() const noexcept;

    const PresetMenu* menu = nullptr;
    std::int64_t index = 0;
  };

  [[nodiscard]] const PresetMenu* findMenu(std::string_view path) const;
  [[nodiscard]] Place place() const;
  void setPlace(const Place& wanted);
  [[nodiscard]] Target targetOf(int by) const;
  void step(int by);
  [[nodiscard]] bool clampPlace(const Target& target);
  bool loadEntry(const Target& target, bool tells = true);
  bool takeDocument(const JsonNode* root, bool isPreset, const std::string& name, const Place& from,
                    const Place& to);
  [[nodiscard]] StateSnapshot takeSnapshot(bool isPreset, const Place& toReturnTo);
  [[nodiscard]] std::string programName();
  void updatePresetButtons() { editor.presetNameStale = true; }

  PlugBaseJSON& plug;
  EditorState& editor;
  const InstallFolders& folders;
  std::unique_ptr<PresetMenu> menu;
  std::vector<StateSnapshot> undoStates;
  std::vector<StateSnapshot> redoStates;
  std::string defaultBankPath;
};
