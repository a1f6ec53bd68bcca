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

/// A whole state, kept when a load, an undo or a redo replaces it.
struct StateSnapshot {
  std::string data;       ///< document
  bool isPreset = false;  ///< form of the document
  int presetIndex = -1;   ///< `lastPreset` to restore, -1 for none
  std::string menuPath;   ///< `path` of its menu, empty for none
};

/// Preset and bank files of an instance: the menu of presets and the current place in it, saving,
/// loading, and undo of loads.
///
/// The place is `lastPresetFolder` and `lastPreset` of the editor's state, so documents carry it;
/// the place stored inside a preset file is ignored. Failures are reported through `Alerts` and
/// leave everything as it was. Threads: message thread. Hosts may save and load on other threads
/// meanwhile; no dialog and no reading or writing of a file blocks them.
class PresetFiles {
 public:
  /// All arguments must outlive it.
  PresetFiles(PlugBaseJSON& effect, EditorState& state, const Machine& machine) noexcept
      : plug(effect), editor(state), folders(machine.folders()) {}

  /// Reads the folders again: the user's presets and, last, a submenu of the factory presets. The
  /// place stays as it is.
  void buildPresetMenu();
  /// Valid until the menu is built again; null before it is built.
  [[nodiscard]] const PresetMenu* presetMenu() const noexcept { return menu.get(); }
  /// The menu of the present place; null if there is no such folder.
  [[nodiscard]] const PresetMenu* currentPresetMenu() const;

  /// Loads entry `index` of the menu with this `path` and makes it the current place.
  void choosePreset(std::string_view menuPath, int index);
  /// As `choosePreset`, by the text of a file's entry: for a menu that was shown before the folders
  /// were read last.
  void choosePresetNamed(std::string_view menuPath, std::string_view text);
  // Load the entry after or before the place, in the same menu, never beyond its ends or in a
  // submenu. Presets that cannot be loaded are skipped and the user is told of them; if none can,
  // the place stays. Without a valid place the first entry of the root is loaded.
  void nextPreset() { step(1); }
  void previousPreset() { step(-1); }
  void loadCurrentPreset();
  [[nodiscard]] bool previousEnabled() const;
  [[nodiscard]] bool nextEnabled() const;

  // Ask for a file, and act on it once the user has answered; nothing happens on cancel. This must
  // live until then. `extension` without the dot.
  void savePresetDialog(Dialogs& dialogs, const std::string& extension, bool isPreset);
  /// Writes a preset or a bank; the program takes the name of the file if it has this extension.
  /// Returns whether the file was written.
  bool savePreset(const std::string& path, const std::string& extension, bool isPreset);
  void loadPresetDialog(Dialogs& dialogs, const std::string& extension);
  /// Loads a file: a bank if it has a bank's extension, otherwise a preset. Returns whether it was
  /// loaded.
  bool loadPresetFile(const std::string& path);

  /// Replaces the present state by the newest one kept in that direction of the history, and keeps
  /// the present one for the other direction.
  void restoreSnapshot(bool isPreset, bool towardsRedo);

  /// Writes the bank that new instances start with. Returns whether it was written; the user is not
  /// told of a failure.
  bool saveAsDefault();
  void setDefaultBankPath(std::string path) { defaultBankPath = std::move(path); }

 private:
  struct Place {
    std::string folder;
    int index = 0;
  };

  /// An index into a menu, which may lie beyond its ends.
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
