#include "editor/plain_element.h"

#include <utility>

PlainElement::PlainElement(const ControlSetup& setup, std::string name)
    : CControl(setup), className(std::move(name)) {}

void PlainElement::draw(CDrawContext& /*context*/) { setDirty(false); }

bool PlainElement::hitTest(CPoint /*where*/, CButtonState /*buttons*/) const { return false; }
