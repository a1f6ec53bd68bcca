#include "editor/element_row.h"

#include "editor/layout/attributes.h"

std::string elementText(const LayoutElement& element, std::string_view name) {
  const char* const found = getAttribute(element.attributes, name);
  return found != nullptr ? found : "";
}

int elementNumber(const LayoutElement& element, std::string_view name) {
  return getAttributeInt(element.attributes, name);
}

Held<CBitmap> elementBitmap(const LayoutElement& element, std::string_view name) {
  return CBitmap::load(elementNumber(element, name));
}
