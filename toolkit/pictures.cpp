#include "toolkit/pictures.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "toolkit/frame.h"

namespace {

constexpr std::uint64_t kPictureMs = 50;

/// What a splash screen puts over the tree: takes every press, and tells that it came.
class Splash : public CView {
 public:
  Splash(const CRect& rect, Held<CBitmap> shown, std::function<void()> whenPressed)
      : CView(rect), pressed(std::move(whenPressed)) {
    setBackground(std::move(shown));
  }

  CMouseEventResult onMouseDown(CPoint /*where*/, CButtonState /*buttons*/) override {
    const Held<CView> stays(this);
    pressed();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  bool onKeyDown(const KeyEvent& key) override {
    const Held<CView> stays(this);
    if (key.key == Key::kEscape) pressed();
    return true;
  }

 private:
  std::function<void()> pressed;
};

}  // namespace

CMovieBitmap::CMovieBitmap(const ControlSetup& setup, Held<CBitmap> picture, FilmStrip pictures)
    : CControl(setup), strip(pictures) {
  setBackground(std::move(picture));
}

void CMovieBitmap::draw(CDrawContext& context) {
  strip.draw(context, getBackground(), size, strip.frameAt(value));
  setDirty(false);
}

bool CMovieBitmap::hitTest(CPoint /*where*/, CButtonState /*buttons*/) const { return false; }

CAutoAnimation::CAutoAnimation(const ControlSetup& setup, Held<CBitmap> picture, FilmStrip pictures)
    : CControl(setup), strip(pictures) {
  setBackground(std::move(picture));
}

void CAutoAnimation::draw(CDrawContext& context) {
  if (isPlaying()) strip.draw(context, getBackground(), size, shown);
  setDirty(false);
}

CMouseEventResult CAutoAnimation::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft() || getFrame() == nullptr) return kMouseEventNotHandled;
  changeValue(isPlaying() ? vmin : vmax);
  shown = 0;
  shownSince = getFrame()->now();
  getFrame()->wantIdle(*this, isPlaying());
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void CAutoAnimation::onIdle() {
  const std::uint64_t now = getFrame()->now();
  if (now - shownSince < kPictureMs) return;
  shownSince = now;
  shown = (shown + 1) % std::max(strip.frames, 1);
  setDirty();
}

CSplashScreen::CSplashScreen(const ControlSetup& setup, Held<CBitmap> shown, const CRect& where)
    : CControl(setup), picture(std::move(shown)), place(where) {}

void CSplashScreen::draw(CDrawContext& /*context*/) { setDirty(false); }

CMouseEventResult CSplashScreen::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft() || getFrame() == nullptr || open) return kMouseEventNotHandled;
  open = Held<CView>::adopt(new Splash(place, picture, [this] { close(); }));
  getFrame()->pushModalView(open.get());
  changeValue(vmax);
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void CSplashScreen::close() {
  const Held<CView> closing = std::exchange(open, {});
  if (!closing || getFrame() == nullptr) return;
  getFrame()->popModalView(closing.get());
  changeValue(vmin);
}

void CSplashScreen::removed() {
  close();
  CControl::removed();
}
