#pragma once

#include <cmath>

/// `x`, or 0 for what is too small to matter: what decays to nothing would otherwise end among the
/// denormals, where a step rounds to the value that it left. Far below any level that is compared,
/// far above the denormals, so that once per block is enough.
[[nodiscard]] inline double flushed(double x) noexcept { return std::abs(x) < 1e-100 ? 0.0 : x; }
