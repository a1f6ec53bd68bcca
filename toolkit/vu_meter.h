#pragma once

#include "toolkit/control.h"

/// A column or row of lamps: as many of the lit picture as the value says, over the unlit one. It
/// rises at once and falls by a step with each idle call. Threads: as `CView`.
class CVuMeter : public CControl {
 public:
  enum class Style { kHorizontal, kVertical };
  CVuMeter(const ControlSetup& setup, Style style, int lamps, Held<CBitmap> on, Held<CBitmap> off);

  /// Of the whole way, for each idle call.
  void setDecreaseStepValue(float step) noexcept { decrease = step; }

  void setValue(float plain) override;
  void draw(CDrawContext& context) override;
  void attached(CViewContainer& holder) override;
  void onIdle() override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;

 private:
  Style style;
  int lamps;
  Held<CBitmap> lit;
  Held<CBitmap> unlit;
  float decrease = 0.1F;
  float level = 0.0F;  // what is shown
};
