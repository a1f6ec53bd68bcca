#pragma once

#include <functional>
#include <string>

#include "toolkit/device_picture.h"
#include "toolkit/view.h"

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
  BoxPicture ground;
  bool isChosen = false;
  bool isHot = false;
  bool isDown = false;
};
