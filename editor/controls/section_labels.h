#pragma once

#include <string>

#include "editor/controls/labels.h"
#include "editor/controls/marks.h"
#include "editor/controls/with_hover.h"
#include "toolkit/device_picture.h"

/// A label that is pressed: sends `value`. A bar of `colour` stands before it; black draws none. A
/// label "X" is a cross. Threads, for all of these: as `CView`.
class nSectionLabel : public WithHover<CStaticTextLabel> {
 public:
  nSectionLabel(const ControlSetup& setup, std::string text, CColor colour, float value);

  void setValue(float /*plain*/) override {}
  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 protected:
  ~nSectionLabel() override = default;
  void drawBar(CDrawContext& context) const;

 private:
  CColor bar;
  IconPicture cross;
};

/// A heading that is on or off.
class nSectionToggle : public nSectionLabel, public nCanDisable, public nCanMIDILearn {
 public:
  nSectionToggle(const ControlSetup& setup, std::string text, CColor colour);

  void setValue(float plain) override { value = plain; }
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  void setDisabled(bool on) override;
  void setLearning(bool on) override;

 private:
  bool isDisabled = false;
  bool isLearning = false;
};

/// "MUTE", on or off.
class MuteButton : public WithHover<CStaticTextLabel> {
 public:
  MuteButton(const ControlSetup& setup, std::string text);

  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 private:
  BoxPicture pill;
};

/// A line.
class nSeparator : public CControl {
 public:
  nSeparator(const ControlSetup& setup, CColor colour);

  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;

 private:
  CColor colour;
};
