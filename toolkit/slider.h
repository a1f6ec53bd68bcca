#pragma once

#include <utility>

#include "toolkit/control.h"

/// A handle on a rail. The press takes the handle where it is; beside it the handle jumps there
/// unless the slider says otherwise; with shift it moves at a tenth. Threads: as `CView`.
class CSlider : public CControl {
 public:
  enum class Style { kHorizontal, kVertical };
  /// `minPos` and `maxPos`: the handle's upper or left edge at the two ends, in pixels of the
  /// container; the value rises to the right and upwards.
  CSlider(const ControlSetup& setup, Style style, float minPos, float maxPos, Held<CBitmap> handle,
          Held<CBitmap> picture);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  bool onWheel(CPoint /*where*/, float steps, CButtonState buttons) override {
    return turnByWheel(steps, buttons);
  }

 protected:
  [[nodiscard]] bool isVertical() const noexcept { return style == Style::kVertical; }
  /// Where the handle's upper or left edge lies for the value.
  [[nodiscard]] float handlePosition() const;
  [[nodiscard]] CBitmap* getHandle() const noexcept { return handle.get(); }

 private:
  [[nodiscard]] float along(CPoint where) const noexcept {
    return isVertical() ? where.y : where.x;
  }
  [[nodiscard]] float handleLength() const;
  [[nodiscard]] float valueAt(float position) const;

  Style style;
  float minPos;
  float maxPos;
  Held<CBitmap> handle;
  float grab = 0.0F;        // from the handle's edge to where it was taken
  float startValue = 0.0F;  // of the drag, or where shift was pressed or let go
  float startAt = 0.0F;
  bool fine = false;
};
