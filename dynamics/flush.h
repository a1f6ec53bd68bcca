#pragma once

#include <cmath>

/// `x`, or 0 if it is too small to matter. A decaying value would otherwise end among the
/// denormals, where a step can round back to the same value. The limit is far below any level that
/// is compared and so far above the denormals that one call per block is enough.
[[nodiscard]] inline double flushed(double x) noexcept { return std::abs(x) < 1e-100 ? 0.0 : x; }
