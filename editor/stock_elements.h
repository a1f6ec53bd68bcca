#pragma once

#include <optional>

#include "editor/layout/walker.h"
#include "toolkit/control.h"

/// Makes the view of an element that every layout knows. Null for one that makes none; nothing for
/// a name that is none of them. Threads: as `CView`.
[[nodiscard]] std::optional<CView*> makeStockElement(const LayoutElement& element,
                                                     CControlListener& listener);
