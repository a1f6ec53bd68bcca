#pragma once

#include <span>

#include "editor/element_row.h"

/// The elements that every layout knows, as the toolkit has them; their makers may give null for an
/// element that makes no view. Threads: as `CView`.
[[nodiscard]] std::span<const ElementRow> stockElements();
