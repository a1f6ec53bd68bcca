#pragma once

#include "graphs/eq_graph_edits.h"

/// The main graph: the spectrum, the curves of the bands, of their gain changes and of their sum,
/// and the handles by which bands and crossover points are moved.
///
/// What the user does to the selection is told to the listener as by `bandTabs`: `kGUISelectOnly`,
/// `kGUISelectToggle`, `kGUIShiftSelect`; a press on one of several that are selected is a
/// `GraphUpdate` of `kGUISelectedBand`. `kGUIOpenBandMenu` comes from a control whose view size
/// begins where the menu is to open, `kGUIGraphRangeChanged` with the place of the range in
/// `kGraphRanges`. Keys: Tab goes from handle to handle, arrows move it, Return or a figure opens
/// the entry of its frequency, Space is its power, Delete takes it away. Threads: as `EQGraphBase`.
class EQGraph final : public EQGraphEdits {
 public:
  using EQGraphEdits::EQGraphEdits;

  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  void onMouseExited() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  void takeFocus() override;
  void removed() override;

 private:
  ~EQGraph() override = default;

  CMouseEventResult pressBox(int box, CPoint where, CButtonState buttons);
  CMouseEventResult pressHandle(int handle, CPoint where, CButtonState buttons);
  CMouseEventResult pressEmpty(CPoint where, CButtonState buttons);
  void followMouse(CPoint where, CButtonState buttons);
  bool turnField(float steps, bool fine);
  bool walkHandles(bool forward);
  bool moveByKey(const KeyEvent& key);
  bool handleKey(const KeyEvent& key, int band);

  WheelNotches fieldNotches;
  CPoint wheelAt;        // of the last notch
  int wheelHandle = -1;  // what that was for
};
