#pragma once

#include <string>
#include <string_view>

#include "toolkit/control.h"

/// The line of help under everything. Threads: as `CView`.
class nToolTips : public CControl {
 public:
  explicit nToolTips(const ControlSetup& setup);

  /// Cut to 500 bytes.
  void setText(std::string_view utf8);
  [[nodiscard]] std::string shownText() const override { return text; }
  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;

 private:
  std::string text;
  TextStyle style;
};
