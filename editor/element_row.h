#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "editor/layout/walker.h"
#include "toolkit/bitmap.h"
#include "toolkit/control.h"

class Plug;
class ValueSource;

/// Beside what every control has, what values are asked of, and the effect that is shown, for what
/// is no value.
struct ElementSetup : ControlSetup {
  ValueSource& values;
  Plug& effect;
};

/// An element that layouts may name: its class, and what makes it.
struct ElementRow {
  using Maker = CView* (*)(const LayoutElement& element, const ElementSetup& setup);

  std::string_view element;
  std::string_view className;
  Maker make;
  std::int32_t ownTag = -1;  ///< whatever tag the layout gives it; -1 keeps that
};

/// What makers read of an element's attributes: "" and 0 for one that is not there.
[[nodiscard]] std::string elementText(const LayoutElement& element, std::string_view name);
[[nodiscard]] int elementNumber(const LayoutElement& element, std::string_view name);
/// The image of the number that an attribute gives; null for none.
[[nodiscard]] Held<CBitmap> elementBitmap(const LayoutElement& element,
                                          std::string_view name = "background");
