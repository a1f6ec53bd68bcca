#pragma once

#include <optional>

#include "editor/controls/value_part.h"
#include "toolkit/control.h"
#include "toolkit/device_picture.h"

/// A large + in the frame of a graph: a press turns its parameter on. While that is on, the button
/// is not there. Threads: as `CView`.
class activateButton : public ValuePart<CControl> {
 public:
  using ValuePart::ValuePart;

  void setValue(float normalised) override;
  void draw(CDrawContext& context) override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;

 protected:
  [[nodiscard]] std::optional<float> valueByKey(const KeyEvent& key) override;

 private:
  BoxPicture frame;
  IconPicture sign;
};
