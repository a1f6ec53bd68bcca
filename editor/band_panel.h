#pragma once

#include <cstdint>

#include "editor/control_index.h"
#include "editor/controls/value_source.h"
#include "toolkit/control.h"

class Plug;
class bandTabs;
class roundEdgedFrame;

/// Pages of a band's panel that depend on what kind of band it is, 0 or 1 each.
struct BandKindPages {
  /// `flags`: those of `Plug::getBandFlags`.
  [[nodiscard]] static BandKindPages of(int flags) noexcept;

  float slope;   ///< for `kGUIBandShowSlope`: a slope of the band acts
  float slope2;  ///< for `kGUIBandShowSlope2`: both of its slopes do, one at a time is shown
  float q;       ///< for `kGUIBandShowQ`: its Q acts

  bool operator==(const BandKindPages&) const = default;
};

/// The band panel: for each band a page of all of its controls, of which the shown one is that of
/// the value of `kGUISelectedBand`. What its parameters are tagged with, every value that the
/// editor shows reaches; the rest is told here.
///
/// Values that the editor shows beside the parameters, when it opens and when they change:
/// `kGUISelectedBand`, `kGUIBandGraph`, `kGUIShowSlope2` (which of two slopes a band shows, for all
/// bands at once), for each band `kGUIBandSCListen`, and with each refresh of the kinds the three
/// of `BandKindPages`. The first three also are what users change here.
///
/// Threads: as `CView`.
class BandPanel {
 public:
  /// The views, for a parent that takes them over. `listener`, `values` and `effect` outlive
  /// them.
  [[nodiscard]] static CView* build(const ControlSetup& setup, ValueSource& values, Plug& effect);

  /// The panel among the controls of a surface, which stays there; without one all of the following
  /// do nothing.
  explicit BandPanel(const ControlIndex& controls);

  /// In each layout pass, after the parts have been placed: which columns are there. 0 plain, 1
  /// sidechain panel, 2 advanced panel.
  void setMode(int mode);
  /// In each layout pass, and whenever `kB1State` or `kB1Bypass` of a band has changed: all bands,
  /// by their parameters. An inactive band takes nothing but the + in the place of its graph; the
  /// upper edge has the hue of a band that runs.
  void showStates(const ValueSource& values);

 private:
  [[nodiscard]] roundEdgedFrame* frameOf(int band) const;

  CViewContainer* panel = nullptr;
};

/// The tabs over the panel among the controls of a surface; null without any.
[[nodiscard]] bandTabs* findBandTabs(const ControlIndex& controls);
