#pragma once

#include <span>

#include "editor/element_row.h"

/// The elements of parameters: values, faders, menus and blocks of them. Threads: as `CView`.
[[nodiscard]] std::span<const ElementRow> valueElements();
