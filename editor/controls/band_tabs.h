#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "editor/controls/band_hues.h"
#include "editor/controls/marks.h"
#include "editor/controls/value_part.h"
#include "editor/controls/value_source.h"
#include "editor/controls/with_hover.h"
#include "toolkit/control.h"
#include "toolkit/device_picture.h"

/// What a tab shows of its band.
struct BandTabState {
  bool isActive = false;
  bool isBypassed = false;
  bool isSoloed = false;
  std::string_view kind;  ///< "XOVER", "BPF B", ...

  bool operator==(const BandTabState&) const = default;

  [[nodiscard]] static BandTabState read(const ValueSource& values, int band);
};

/// The tabs of the eight bands, over the band panel; the value is the band shown there. Only its
/// lower part is drawn and takes the mouse: above lies the graph.
///
/// What the user does is told to the listener under other tags than its own, with the band as the
/// value: a press on a tab `kGUISelectedBand`, with Shift `kGUIShiftSelect`, with Control
/// `kGUISelectToggle`, once for each tab that a drag comes over and -1 at its end; the right button
/// `kGUIOpenBandMenu`, from a control whose view size begins where the menu is to open, in the
/// frame. Power, S, × and + are gestures of the parameters `kB1Bypass`, `kB1Solo` and `kB1State` of
/// the band; + selects it, too. × is off while no other band is active. Keys: left and right, Home
/// and End select, Space is the power, Delete is ×, Return is +, the menu key the
/// menu.
///
/// Threads: as `CView`. It follows the parameters by itself, at the latest 10 ms after they change.
class bandTabs : public WithHover<CControl>, public nCanMIDILearn, public nCanFocus {
 public:
  bandTabs(const ControlSetup& setup, const ValueSource& values);

  /// In the layout pass: the tabs share this width, from the left edge.
  void setGraphWidth(float width);
  /// Bit per band, whenever the selection changes: the bands that are edited together.
  void setSelectedMask(std::uint32_t bands);
  /// dB, below 0 for reduction: what the band does to its signal now.
  void setGainChange(int band, float dB);
  void setLearning(bool on) override;
  /// The parameters are read again; also done in `onIdle`.
  void refresh();

  /// What a place is for, as a tag: a parameter of a band, or its own. For the help line.
  [[nodiscard]] std::int32_t tagAt(CPoint where) const;
  [[nodiscard]] const BandTabState& stateOf(int band) const { return states[at(band)]; }
  /// In its container.
  [[nodiscard]] CRect tabOf(int band) const;

  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  void onMouseEntered(CPoint where, CButtonState buttons) override;
  void onMouseExited() override;
  bool onKeyDown(const KeyEvent& key) override;
  void takeFocus() override;
  void looseFocus() override;
  [[nodiscard]] bool isTabStop() const override { return true; }
  [[nodiscard]] bool hasFocus() const override { return focused; }
  void attached(CViewContainer& holder) override;
  void onIdle() override;

 private:
  static constexpr int kBands = band_hues::kBands;
  enum class Part : std::uint8_t { kBody, kPower, kSolo, kCross, kPlus };
  struct Spot {
    int band = -1;  // none
    Part part = Part::kBody;

    bool operator==(const Spot&) const = default;
  };
  /// How a tab is drawn.
  struct Shown {
    CRect tab;
    int band;
    bool isSelected;
    bool runs;    // is heard
    float hover;  // 0 to 1
  };

  [[nodiscard]] static std::size_t at(int band) { return static_cast<std::size_t>(band); }
  [[nodiscard]] Spot spotAt(CPoint where) const;
  [[nodiscard]] static Part partAt(const CRect& tab, CPoint where);
  [[nodiscard]] int selectedBand() const noexcept { return static_cast<int>(value); }
  [[nodiscard]] bool isLastActive(int band) const;
  void tell(std::int32_t number, int band, const CRect& place = {});
  void switchParameter(int band, std::int32_t bandOneId, bool on);
  void act(Spot spot);
  void select(int band);
  void openMenu(int band, CPoint where);
  void beginSelection(int band, CButtonState buttons);
  void endToggling();

  void drawTab(CDrawContext& context, const Shown& shown);
  void drawGround(CDrawContext& context, const Shown& shown);
  /// At either end of the panel the tab's side goes on as that of the panel, which is round there.
  void openCorner(CDrawContext& context, const Shown& shown);
  void drawMeter(CDrawContext& context, const Shown& shown);
  void drawTitle(CDrawContext& context, const Shown& shown);
  void drawSwitches(CDrawContext& context, const Shown& shown);
  void drawOutline(CDrawContext& context);

  const ValueSource& values;
  float graphWidth;
  std::array<BandTabState, kBands> states{};
  std::array<float, kBands> gains{};
  std::uint32_t selectedMask = 1;
  Spot hovered;  // the last one, while it fades
  bool isUnderMouse = false;
  bool focused = false;
  std::optional<Spot> pressed;  // of what acts when it is released
  int toggled = -1;             // the last tab of a running choice of several
  bool isLearning = false;
  bool isBlinkOn = false;
  TextStyle text;       // rows
  TextStyle smallText;  // S and figures
  TextStyle glyph;
  struct Pictures {
    BoxPicture ground;
    BoxPicture strip;
    BoxPicture solo;
    IconPicture sign;
  };
  std::array<Pictures, kBands> pictures;
  BoxPicture outline;
};
