#pragma once

#include <string>

#include "editor/controls/value_part.h"
#include "toolkit/control.h"

/// The list of the pages of the setup window, with the program's version below. The value is the
/// page; a press on a row and the arrows send it. Threads: as `CView`.
class SetupWindow : public CControl, public nCanFocus {
 public:
  SetupWindow(const ControlSetup& setup, std::string version);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  void onMouseExited() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;
  void takeFocus() override;
  void looseFocus() override;
  [[nodiscard]] bool isTabStop() const override { return true; }
  [[nodiscard]] bool hasFocus() const override { return isFocused; }

 private:
  [[nodiscard]] CRect rowPlace(int row) const;
  [[nodiscard]] int rowAt(CPoint where) const;
  void goTo(int page);

  static constexpr int kNone = -1;

  std::string version;
  int hot = kNone;
  bool isFocused = false;
};
