#pragma once

#include <span>

#include "editor/element_row.h"

/// The elements that this program's layout has beside those of the toolkit. Threads: as `CView`.
[[nodiscard]] std::span<const ElementRow> ownElements();
