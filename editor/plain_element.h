#pragma once

#include <string>

#include "toolkit/control.h"

/// A control that only shows where it is: what stands for an element whose own class is not built
/// yet, under that class's name.
class PlainElement : public CControl {
 public:
  PlainElement(const ControlSetup& setup, std::string className);

  [[nodiscard]] const std::string& getClassName() const noexcept { return className; }
  void draw(CDrawContext& context) override;
  [[nodiscard]] bool hitTest(CPoint where, CButtonState buttons = {}) const override;

 private:
  std::string className;
};
