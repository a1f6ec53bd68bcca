#pragma once

#include <functional>
#include <string>

#include "toolkit/device_picture.h"
#include "toolkit/view.h"

/// What flat buttons look like. Threads: as a view's `draw`.
class PushButtonFace {
 public:
  struct State {
    float hover = 0.0F;  ///< 0 to 1
    bool isPressed = false;
    bool isChosen = false;
    bool isDisabled = false;
  };
  /// A text that is too long is cut.
  void draw(CDrawContext& context, const CRect& rect, const std::string& text, const State& state);

 private:
  BoxPicture ground;
};

/// A flat button of a box, 24 high. Threads: as `CView`.
class PushButton : public CView {
 public:
  /// `pressed` may remove the button.
  PushButton(const CRect& size, std::string text, std::function<void()> pressed);
  /// The width that a text asks for.
  [[nodiscard]] static float widthFor(const std::string& text);

  /// The one that the Return key presses.
  void setChosen(bool on);
  void press();

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  void onMouseEntered(CPoint where, CButtonState buttons) override;
  void onMouseExited() override;
  void onMouseCancel() override;

 protected:
  ~PushButton() override;

 private:
  void show(bool hot, bool down);

  std::string text;
  std::function<void()> pressed;
  PushButtonFace face;
  bool isChosen = false;
  bool isHot = false;
  bool isDown = false;
};
