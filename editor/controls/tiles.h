#pragma once

#include "toolkit/control.h"

/// A bitmap laid side by side over its rectangle, `base` under it. Threads: as `CView`.
class nTiled : public CControl {
 public:
  /// `clickthru`: the mouse passes through.
  nTiled(const ControlSetup& setup, Held<CBitmap> tile, Held<CBitmap> base, bool clickthru);

  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;

 private:
  Held<CBitmap> base;
  bool passesMouse;
};

/// One that never takes the mouse.
class tiledStatic : public nTiled {
 public:
  tiledStatic(const ControlSetup& setup, Held<CBitmap> tile);
};

/// Darkens what is under it, with whatever colour it is given.
class nDarken : public CControl {
 public:
  nDarken(const ControlSetup& setup, CColor colour);

  void setValue(float plain) override;
  void draw(CDrawContext& context) override;
  /// A press on it goes no further.
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 private:
  CColor colour;
};

/// Lies over what is bypassed, says so, and takes the mouse.
class nBypassOverlay : public nDarken {
 public:
  nBypassOverlay(const ControlSetup& setup, CColor colour, TextStyle style);

  void draw(CDrawContext& context) override;

 private:
  TextStyle style;
};
