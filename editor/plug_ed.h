#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "editing/bank_selector.h"
#include "editing/group_edit.h"
#include "editor/band_panel.h"
#include "editor/band_selection.h"
#include "editor/control_marker.h"
#include "editor/flag_ed.h"
#include "editor/meter_feed.h"

class EQGraph;

/// The editor of this effect: its modes, where the parts of the surface lie in each, and what the
/// controls do. Threads: as `VGEditor`.
class PlugEd : public FlagEd {
 public:
  explicit PlugEd(Plug& effect);

  void idle() override;
  void valueChanged(CControl& control) override;
  bool controlModifierClicked(CControl& control, CButtonState buttons) override;
  void beginEdit(std::int32_t tag) override;
  void endEdit(std::int32_t tag) override;
  void mouseOver(CView* view) override;
  void setControlHighlight(std::int32_t index, bool on, std::int32_t colour) override;
  /// Opens the menu of band 0..7 at a point of the frame.
  void openBandMenu(int band, CPoint where);

 protected:
  void layoutEditor() override;
  void viewsClose() override;
  void parameterShown(std::int32_t tag) override;
  void parametersShown() override;
  /// Also bands: into the one whose tab is there, otherwise into the one that is shown.
  bool takeFile(const std::string& path, CPoint where) override;

 private:
  // Places and values.
  void placeParts();
  void placeWithoutTag();
  /// Null where the layout has none.
  [[nodiscard]] EQGraph* graph() const;
  void setUpGraphs();
  void showAllValues();
  void showBandKinds();
  void showListening();
  void showBands();
  void refreshWhatIsStale();
  void takeDefaults();
  [[nodiscard]] bool showsHelp() const;

  // What the user does.
  void parameterChanged(const CControl& control);
  bool tagChanged(const CControl& control);
  bool bandTagChanged(std::int32_t tag, float value, bool keepsMasks);
  bool meterTagChanged(std::int32_t tag, float value);
  void listen(int band);
  void selectBand(int band, bool keepsMasks);
  void chooseBank(int bank);
  void resize(float width);
  void hideHelp();
  void applyUiSettings();
  void toggleMode(int mode);
  void openParameterMenu(const CControl& control, std::int32_t id);
  bool toggleLock(std::int32_t id);
  [[nodiscard]] bool isAltHeld() const;
  void beginPaired(std::int32_t release);
  void moveBothReleases(std::int32_t tag, float value);

  // The line of help.
  void showToolTip(std::int32_t tag);
  [[nodiscard]] bool helpFollowsMouse() const;

  [[nodiscard]] EditorState& state() noexcept;

  GroupEdit group;
  BankSelector banks;
  BandSelection selection;
  ControlMarker marker;
  std::optional<BandPanel> panel;   // while the views are there
  std::optional<MeterFeed> meters;  // likewise
  bool bandsChanged = false;        // by parameters that are being shown
  bool limitsChanged = false;       // likewise
  std::int32_t pairedRelease = -1;  // the other release time, in a gesture of its own
};
