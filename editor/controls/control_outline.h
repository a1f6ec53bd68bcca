#pragma once

#include "editor/controls/marks.h"
#include "toolkit/device_picture.h"

/// What lies around a control, beyond its sides: ground of a drag, ring of the keys, outline while
/// it learns, corner of one that a controller moves. Threads: as a view's `draw`.
class ControlOutline {
 public:
  struct State {
    bool isFocused = false;
    bool isDragged = false;
    bool isBlinkOn = false;
  };
  void draw(CDrawContext& context, const CRect& cell, const MarkState& marks, State state);
  /// All of it, for what is to be drawn again.
  [[nodiscard]] static CRect reachOf(const CRect& cell);

 private:
  BoxPicture ground;
  BoxPicture ring;
};
