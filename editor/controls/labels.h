#pragma once

#include <string>

#include "toolkit/control.h"

/// A fixed text; the mouse passes through. Threads: as `CView`.
class CStaticTextLabel : public CControl {
 public:
  CStaticTextLabel(const ControlSetup& setup, std::string text, TextStyle style);

  void setText(std::string text);
  [[nodiscard]] const std::string& getText() const noexcept { return text; }
  /// All that is to be read.
  [[nodiscard]] std::string shownText() const override { return text; }
  void setColour(CColor colour);
  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;

 protected:
  [[nodiscard]] const TextStyle& getStyle() const noexcept { return style; }

 private:
  std::string text;
  TextStyle style;
};

/// A text whose first part stands in a colour of its own.
class CTitleLabel : public CStaticTextLabel {
 public:
  CTitleLabel(const ControlSetup& setup, std::string first, std::string rest, TextStyle style,
              CColor restColour);

  [[nodiscard]] std::string shownText() const override { return getText() + rest; }
  void draw(CDrawContext& context) override;

 private:
  std::string rest;
  CColor restColour;
};

/// Lines of text, 25 pixels apart; a backslash ends a line.
class nTextDisplay : public CControl {
 public:
  nTextDisplay(const ControlSetup& setup, std::string text, TextStyle style);

  [[nodiscard]] std::string shownText() const override { return text; }
  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;

 private:
  std::string text;
  TextStyle style;
};
