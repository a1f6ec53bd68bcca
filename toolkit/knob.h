#pragma once

#include <utility>

#include "toolkit/control.h"
#include "toolkit/film_strip.h"

/// How a knob follows the mouse, as `VSTGUIEditorInterface::getKnobMode` has it.
enum CKnobMode : std::int32_t { kCircularMode = 0, kRelativCircularMode = 1, kLinearMode = 2 };

/// A dial of 270 degrees, open below. Threads: as `CView`.
class CKnob : public CControl {
 public:
  CKnob(const ControlSetup& setup, Held<CBitmap> handle, Held<CBitmap> picture);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  bool onWheel(CPoint /*where*/, float steps, CButtonState buttons) override {
    return turnByWheel(steps, buttons);
  }

 protected:
  /// From 0 at the left end to 1 at the right one.
  [[nodiscard]] float place() const;
  /// Radians clockwise from straight up.
  [[nodiscard]] float angle() const;

 private:
  [[nodiscard]] float placeAt(CPoint where) const;
  [[nodiscard]] bool followsCircle() const;

  Held<CBitmap> handle;
  CPoint startAt;
  float startPlace = 0.0F;
  float grab = 0.0F;  // between the mouse's place on the circle and the knob's
  bool fine = false;
};

/// A knob that shows a picture for each part of its way.
class CAnimKnob : public CKnob {
 public:
  CAnimKnob(const ControlSetup& setup, Held<CBitmap> picture, FilmStrip strip);

  void draw(CDrawContext& context) override;

 private:
  FilmStrip strip;
};
