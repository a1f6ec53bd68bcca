#pragma once

#include <array>
#include <string>
#include <vector>

#include "graphs/eq_graph_base.h"
#include "graphs/sidechain_kinds.h"
#include "graphs/thick_curve.h"

/// The response of the three filters before a band's detectors, and the handles by which they are
/// moved: 0 low, 1 middle, 2 high. A press beside them does nothing; the first move of one that is
/// off switches it on. It asks for no drawing as long as it would show the same. Threads: as
/// `EQGraphBase`.
class SCEQGraph : public EQGraphBase {
 public:
  SCEQGraph(const ControlSetup& setup, ValueSource& values, Plug& effect, int band);

  [[nodiscard]] int nodeOf(int handle) const override;
  /// It always shows as much as the filters can do.
  void setRange(float /*dB*/) override {}
  [[nodiscard]] sidechain_kinds::Kind kindOf(int filter) const;

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  void onMouseExited() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  void removed() override;
  [[nodiscard]] bool isTabStop() const override;
  void takeFocus() override;

 protected:
  void placeHandles() override;
  [[nodiscard]] bool hasChanged() override;
  void drawGrid(CDrawContext& context) override;
  void drawResponse(CDrawContext& context) override;
  void drawHandles(CDrawContext& context) override;
  virtual void drawBandLabel(CDrawContext& context, int handle);

 private:
  static constexpr int kFilters = sidechain_kinds::kFilters;
  static constexpr std::size_t kWatched = 4;  // values of a filter
  /// What is shown.
  struct Seen {
    unsigned response = 0;
    FrequencyAxis axis;
    std::array<float, kFilters * kWatched> values{};

    bool operator==(const Seen&) const = default;
  };

  [[nodiscard]] Seen read() const;
  [[nodiscard]] CRect inside() const;
  void placeCurve();
  void toggle(int handle);
  void choose(int handle, sidechain_kinds::Kind kind);
  void openMenu(int handle, CPoint where, bool isPressed);
  void beginMoving();
  void moveDrag(CPoint where, CButtonState buttons);
  void endDrag();
  /// The one that is named: moved, under the mouse or that of the keys; -1 for none.
  [[nodiscard]] int usedHandle() const;
  void drawMarks(CDrawContext& context, int handle, CPoint at, CColor colour) const;

  const int band;
  const float leastGain;  // dB
  Seen seen;
  bool hasSeen = false;
  std::vector<float> rows;  // of the response
  std::vector<CVertex> way;
  ThickCurve thick;
  BoxPicture frame;
  BoxPicture focusBox;
  bool isMoving = false;  // its edits have begun
  CPoint lastPoint;
  graph_handles::Point dragAt;  // of the handle, as far as it goes
  std::array<std::int32_t, 2> dragTags{-1, -1};
};
