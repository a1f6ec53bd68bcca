#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "toolkit/device_picture.h"
#include "toolkit/push_button.h"
#include "toolkit/view_container.h"

/// A box in the middle of a frame, over everything else, which it darkens. It has all of mouse and
/// keys until it is closed. Threads: the message thread, under the frame's lock; nothing here
/// waits.
class ModalBox : public CViewContainer {
 public:
  void drawBackgroundRect(CDrawContext& context, const CRect& part) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  bool onKeyUp(const KeyEvent& /*key*/) override { return true; }
  void frameResized() override;

 protected:
  /// As large as the frame, with a box of this size in it.
  ModalBox(const CRect& window, float width, float height);
  ~ModalBox() override;

  [[nodiscard]] const CRect& box() const noexcept { return boxPlace; }
  /// Right to left from the lower right corner, the last one outermost; the first is the chosen
  /// one.
  void addButtons(const std::vector<std::string>& texts, const std::function<void(int index)>& act);
  void choose(int button);
  [[nodiscard]] int chosenButton() const noexcept { return chosen; }
  [[nodiscard]] int buttonCount() const noexcept { return static_cast<int>(buttons.size()); }
  void pressChosen();
  /// Where the leftmost button begins.
  [[nodiscard]] float buttonsLeft() const noexcept { return leftmost; }
  /// Takes it away from its frame.
  void close();

  static constexpr float kMargin = 16.0F;

 private:
  CRect boxPlace;
  BoxPicture ground;
  std::vector<PushButton*> buttons;  // children
  float leftmost;
  int chosen = 0;
};
