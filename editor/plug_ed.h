#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "editor/vg_editor.h"

/// What the editors of the maker's effects have in common: pages, the setup window, the tray.
/// Threads: as `VGEditor`.
class FlagEd : public VGEditor {
 public:
  using VGEditor::VGEditor;

  void valueChanged(CControl& control) override;
  [[nodiscard]] bool acceptsFiles(CPoint /*where*/) const override { return true; }
  /// Loads the first of a kind that it knows; the user is told where there is none.
  void filesDropped(CPoint where, const std::vector<std::string>& paths) override;

 protected:
  void viewsClose() override;
  /// Loads a file, if it is of a kind that this knows. One that it cannot load changes nothing, and
  /// the user is told.
  virtual bool takeFile(const std::string& path, CPoint where);
  void showTray();

  bool setupOpen = false;
  bool trayOpen = false;

 private:
  void askForFile(std::int32_t tag);
};

/// The editor of this effect: its modes, and where the parts of the surface lie in each. Threads:
/// as `VGEditor`.
class PlugEd : public FlagEd {
 public:
  using FlagEd::FlagEd;

  void valueChanged(CControl& control) override;
  void setParameter(std::int32_t index, float normalised) override {
    FlagEd::setParameter(index, normalised);
  }

  void idle() override;
  /// Opens the setup window at a page, 0 to 3.
  void openSetup(int page);
  /// Opens the menu of band 0..7 at a point of the frame.
  void openBandMenu(int band, CPoint where);

 protected:
  void layoutEditor() override;
  void viewsClose() override;
  /// Also bands: into the one whose tab is there, otherwise into the one that is shown.
  bool takeFile(const std::string& path, CPoint where) override;

 private:
  void placeParts();
  void showAllValues();
  /// A tab of a panel: goes to its mode, or back to the plain one.
  void toggleMode(int mode);
  [[nodiscard]] bool showsHelp() const;
};
