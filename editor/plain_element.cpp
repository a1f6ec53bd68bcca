#include "editor/plain_element.h"

#include <utility>

#include "toolkit/look.h"

PlainElement::PlainElement(const ControlSetup& setup, std::string name)
    : CControl(setup), className(std::move(name)) {}

void PlainElement::draw(CDrawContext& context) {
  if (className == "EQGraph") ground.draw(context, size, {3.0F, look::kPanel, look::kBorder});
  setDirty(false);
}

bool PlainElement::hitTest(CPoint /*where*/, CButtonState /*buttons*/) const { return false; }
