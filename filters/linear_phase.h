#pragma once

#include <span>
#include <vector>

/// A symmetric kernel around tap N / 2, of which `half` holds the wanted spectrum at k / N of the
/// rate for k from 0 to N / 2, divided by N; N is a power of two. Windowed by a Kaiser window of
/// beta 12. Control threads.
[[nodiscard]] std::vector<double> linearPhaseKernel(std::span<const double> half);
