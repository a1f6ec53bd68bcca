#pragma once

#include <string>

#include "editor/controls/value_part.h"
#include "toolkit/knob.h"

/// A dial of lines: an arc that is lit up to the value, a pointer, and the value as a text in its
/// opening. Threads: as `CView`.
class CLineDial : public ValuePart<CKnob> {
 public:
  CLineDial(const ControlSetup& setup, ValueSource& values);

  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  void onMouseCancel() override;
  bool onWheel(CPoint where, float steps, CButtonState buttons) override;

 protected:
  [[nodiscard]] std::optional<float> valueByKey(const KeyEvent& key) override;

 private:
  ValueSource& values;
};
