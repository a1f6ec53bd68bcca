#pragma once

#include "toolkit/control.h"
#include "toolkit/film_strip.h"

/// A switch of several positions under or beside each other: the mouse chooses the one it is over.
/// Its background has a picture for each. Threads: as `CView`.
class CSwitch : public CControl {
 public:
  CSwitch(const ControlSetup& setup, Held<CBitmap> picture, FilmStrip strip, int positions);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  /// A position for each step; away from the user towards the first.
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;

 protected:
  /// From 0 at the end where the first position lies to 1 at the other.
  [[nodiscard]] virtual float placeOf(CPoint where) const = 0;

 private:
  FilmStrip strip;
  int positions;
  float wheelRest = 0.0F;  // parts of a step
};

class CVerticalSwitch : public CSwitch {
 public:
  using CSwitch::CSwitch;

 protected:
  [[nodiscard]] float placeOf(CPoint where) const override;
};

class CHorizontalSwitch : public CSwitch {
 public:
  using CSwitch::CSwitch;

 protected:
  [[nodiscard]] float placeOf(CPoint where) const override;
};

/// Two halves side by side or above each other that are pressed for -1 and 1, and spring back to 0.
class CRockerSwitch : public CControl {
 public:
  enum class Style { kHorizontal, kVertical };
  CRockerSwitch(const ControlSetup& setup, Held<CBitmap> picture, float heightOfOneImage,
                Style style);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;

 private:
  FilmStrip strip{3};
  Style style;
};
