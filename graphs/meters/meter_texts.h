#pragma once

#include <string>

#include "editor/controls/labels.h"
#include "editor/controls/value_source.h"
#include "toolkit/device_picture.h"

// Readings and a lamp, as text. Threads, for all of them: as `CView`.

/// A small field with the decibels of a linear level, its value.
class CMeterText : public CControl {
 public:
  explicit CMeterText(const ControlSetup& setup);

  [[nodiscard]] std::string shownText() const override;
  void draw(CDrawContext& context) override;

 private:
  TextStyle text;
  BoxPicture ground;
};

/// A loudness, its value, with the unit; -inf for silence, which it begins with.
class loudnessMeterView : public CStaticTextLabel {
 public:
  /// `unit`: "LUFS" or "LKFS".
  loudnessMeterView(const ControlSetup& setup, std::string unit, TextStyle style);

  void setValue(float loudness) override;

 private:
  std::string unit;
};

/// The name of a parameter, on a warm ground while the value is not 0.
class ReleaseLED : public CControl {
 public:
  ReleaseLED(const ControlSetup& setup, const ValueSource& values);

  [[nodiscard]] std::string shownText() const override { return name; }
  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;

 private:
  std::string name;
  TextStyle text;
  BoxPicture ground;
};
