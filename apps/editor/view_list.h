#pragma once

#include "state/json_document.h"

class CFrame;

/// All views of a frame in the order in which they are drawn: class, tag, place in unzoomed pixels
/// of the window, depth, and what they show. Under the frame's lock. Throws std::bad_alloc.
[[nodiscard]] JsonTree listViews(CFrame& frame);
