#pragma once

#include "editor/controls/with_hover.h"
#include "toolkit/control.h"
#include "toolkit/device_picture.h"

/// A large + in the frame of a graph: a press turns its parameter on. While that is on, the button
/// is not there. Threads: as `CView`.
class activateButton : public WithHover<CControl> {
 public:
  using WithHover::WithHover;

  void setValue(float normalised) override;
  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 private:
  [[nodiscard]] bool isOffered() const noexcept { return value < 0.5F; }

  BoxPicture frame;
  IconPicture sign;
};
