#pragma once

#include <string>

#include "editor/controls/hidden_mouse.h"
#include "editor/controls/value_part.h"
#include "toolkit/text_edit.h"

/// A parameter's value with its unit. A drag up or down moves it, the wheel too; a double click,
/// Return or a digit opens the entry of a number. Threads, for all of these: as `CView`.
class CTTText : public ValuePart<CTextEdit>, public nControlMouse {
 public:
  /// `lettering` in its colour at rest.
  CTTText(const ControlSetup& setup, ValueSource& values, const TextStyle& lettering);

  /// A drag of 100 pixels times this goes all the way; 0 for 3.
  void setDragFactor(float factor) noexcept { dragFactor = factor; }
  /// What the wheel adds for each notch, and with Shift, in plain units; 0 leaves it to the
  /// parameter.
  void setWheelSteps(float coarse, float fine) noexcept;
  /// What the value stands on while nothing else is drawn there.
  void setRestColour(CColor colour);
  /// How wide the entry is, at the side of the text; 0 for all of the control.
  void setEntryWidth(float width) noexcept { entryWidth = width; }

  [[nodiscard]] std::string shownText() const override;
  [[nodiscard]] float shownWidth() const override;
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;

 protected:
  [[nodiscard]] std::optional<float> valueByKey(const KeyEvent& key) override;
  [[nodiscard]] CRect fieldPlace() const override;
  void takeText(const std::string& utf8) override;
  void fieldClosed(TextField::End how) override;
  [[nodiscard]] ValueSource& getValues() const noexcept { return values; }
  [[nodiscard]] CColor presentColour() const;

 private:
  void endDrag();

  ValueSource& values;
  CColor restColour;
  float dragFactor = 0.0F;
  float coarseStep = 0.0F;
  float fineStep = 0.0F;
  float entryWidth = 0.0F;
  WheelNotches notches;
  float lastY = 0.0F;
  float dragValue = 0.0F;
  bool pressed = false;
};

/// A large figure with its unit after it, smaller.
class CBigLabel : public CTTText {
 public:
  using CTTText::CTTText;

  void draw(CDrawContext& context) override;
};

/// A value that is only typed.
class CText : public CTTText {
 public:
  using CTTText::CTTText;

  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
};

/// A value of what stands in a graph, lettering on a ground of its own.
class CEQText : public CTTText {
 public:
  using CTTText::CTTText;

  void draw(CDrawContext& context) override;

 protected:
  [[nodiscard]] CRect fieldPlace() const override { return getViewSize(); }

 private:
  BoxPicture ground;
};
