#pragma once

#include "toolkit/control.h"
#include "toolkit/film_strip.h"

/// What all buttons share: a background with a picture for each state, the last one for value 1.
/// Threads: as `CView`.
class CButtonControl : public CControl {
 public:
  CButtonControl(const ControlSetup& setup, Held<CBitmap> picture, float heightOfOneImage = 0.0F);

  void draw(CDrawContext& context) override;

 protected:
  [[nodiscard]] bool isOn() const noexcept { return value > (vmin + vmax) * 0.5F; }

 private:
  FilmStrip strip{2};
};

/// At 1 while it is held: a release over it tells 1, then 0.
class CKickButton : public CButtonControl {
 public:
  using CButtonControl::CButtonControl;

  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;

 private:
  void show(float plain);
};

/// Goes from off to on and back with each press; tells when it is released over it.
class CMovieButton : public CButtonControl {
 public:
  using CButtonControl::CButtonControl;

  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;

 private:
  float before = 0.0F;
};

/// Goes from off to on and back, and tells at once.
class COnOffButton : public CButtonControl {
 public:
  using CButtonControl::CButtonControl;

  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
};
