#pragma once

#include "toolkit/control.h"
#include "toolkit/film_strip.h"

/// Shows one picture of a strip by its value; the mouse passes through. Threads: as `CView`.
class CMovieBitmap : public CControl {
 public:
  CMovieBitmap(const ControlSetup& setup, Held<CBitmap> picture, FilmStrip strip);

  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;

 private:
  FilmStrip strip;
};

/// Runs through its strip from a press on, a picture every 50 ms, until the next press.
class CAutoAnimation : public CControl {
 public:
  CAutoAnimation(const ControlSetup& setup, Held<CBitmap> picture, FilmStrip strip);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  void onIdle() override;

 private:
  [[nodiscard]] bool isPlaying() const noexcept { return value > 0.0F; }

  FilmStrip strip;
  int shown = 0;
  std::uint64_t shownSince = 0;  // ms
};

/// Shows its picture over everything from a press on until the next one, wherever that is.
class CSplashScreen : public CControl {
 public:
  /// `where`: the picture's place in the frame.
  CSplashScreen(const ControlSetup& setup, Held<CBitmap> picture, const CRect& where);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  void removed() override;

 private:
  void close();

  Held<CBitmap> picture;
  CRect place;
  Held<CView> open;
};
