#pragma once

#include <cstdint>

#include "editor/vg_editor.h"

/// What the editors of the maker's effects have in common: pages, the setup window, the tray.
/// Threads: as `VGEditor`.
class FlagEd : public VGEditor {
 public:
  using VGEditor::VGEditor;

  void valueChanged(CControl& control) override;

 protected:
  void viewsClose() override;

  bool setupOpen = false;
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

 protected:
  void layoutEditor() override;
  void viewsClose() override;

 private:
  void placeParts();
  void showAllValues();
  /// A tab of a panel: goes to its mode, or back to the plain one.
  void toggleMode(int mode);
  [[nodiscard]] bool showsHelp() const;
};
