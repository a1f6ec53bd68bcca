#pragma once

#include <array>
#include <cstdint>

#include "graphs/eq_graph_picture.h"

/// What the graph tells of a selection that it has made itself: the listener leaves the masks as
/// they are.
class GraphUpdate : public CControl {
 public:
  using CControl::CControl;
};

/// What the user can do to the bands in the main graph, each a step of the history. Threads: as
/// `EQGraphBase`.
class EQGraphEdits : public EQGraphPicture {
 public:
  using EQGraphPicture::EQGraphPicture;

 protected:
  ~EQGraphEdits() override = default;

  [[nodiscard]] static constexpr std::uint32_t bitOf(int band) {
    return 1U << static_cast<std::uint32_t>(band);
  }
  [[nodiscard]] static bool extendsSelection(CButtonState buttons) {
    return buttons.has(kShift) || buttons.has(kControl);
  }

  /// A band is pressed: it alone is selected, it is taken in or out, or it becomes the current one
  /// of several.
  void selectPressed(int band, CButtonState buttons);
  /// False where there is no room for another one.
  bool createBand(CPoint where, CButtonState buttons);
  void toggleBand(int band);
  /// All that are selected together with `hit`, each by itself.
  void toggleSelected(int hit);
  /// The last band of all stays.
  void deleteBands(std::uint32_t bands);
  void openMenu(int handle, CPoint where);
  void openRangeMenu(CPoint where);

  void beginDrag(Drag kind, int handle, CPoint where);
  void moveDrag(CPoint where, CButtonState buttons);
  void endDrag();
  /// A crossover point goes to another frequency, as a whole edit.
  void shiftCrossover(int handle, double factor);

 private:
  void selectAmong(int band);
  [[nodiscard]] int nextSelected(std::uint32_t gone) const;
  [[nodiscard]] bool isDraggedThere() const;
  void beginMoving();
  void moveBand(graph_handles::Point to, graph_handles::Point moved);
  void moveCrossover(double frequency);
  void moveRubber(CPoint where);

  bool togglesOnRelease = false;
  graph_handles::Point dragFrom;
  graph_handles::Point lastPoint;
  graph_handles::Point dragShift;  // by which the mouse is ahead, from slow moves
  double stemRows = 0.0;           // from the set gain to where the disc was taken
  double crossoverFrom = 0.0;      // Hz
  std::array<std::int32_t, 2> dragTags{-1, -1};
  std::uint32_t rubberBands = 0;
};
