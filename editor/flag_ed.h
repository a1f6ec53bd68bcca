#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "editor/vg_editor.h"

/// What the editors of the maker's effects have in common: undo, presets and their tray, pages, the
/// setup window, the line of help. Threads: as `VGEditor`.
class FlagEd : public VGEditor {
 public:
  using VGEditor::VGEditor;

  void idle() override;
  void valueChanged(CControl& control) override;
  [[nodiscard]] bool acceptsFiles(CPoint /*where*/) const override { return true; }
  /// Loads the first of a kind that it knows; the user is told where there is none.
  void filesDropped(CPoint where, const std::vector<std::string>& paths) override;
  bool frameKeyDown(const KeyEvent& key) override;
  /// Opens the setup window at a page, 0 to 3.
  void openSetup(int page);

 protected:
  void viewsBuilt() override;
  void viewsClose() override;
  /// Loads a file, if it is of a kind that this knows. One that it cannot load changes nothing, and
  /// the user is told.
  virtual bool takeFile(const std::string& path, CPoint where);
  /// What no document and no effect holds: pages, tray, setup window.
  void showOwnState();
  /// What the buttons of undo and presets can do has changed, perhaps.
  void showButtons();
  /// Takes the keys from a control that is not to be seen any more, or that lies in the dark.
  void releaseCoveredFocus();

 private:
  void tagChanged(std::int32_t tag, const CControl& control);
  void showTray();
  void showSetup();
  void askForFile(std::int32_t tag);
  void refreshPresetMenu();
  void stepPreset(bool forward);
  bool closeWhatFloats();
  bool moveFocus(bool forward);
  [[nodiscard]] bool isCovered(int control) const;

  bool setupOpen = false;
  int setupPage = 0;
  bool trayOpen = false;
  bool presetsRead = false;  // since the window opened
};
