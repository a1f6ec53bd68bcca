#include "filters/linear_phase.h"

#include <algorithm>
#include <cstddef>

#include "analysis/planar_array.h"
#include "analysis/planar_fft.h"
#include "analysis/window_table.h"

std::vector<double> linearPhaseKernel(std::span<const double> half) {
  const std::size_t middle = half.size() - 1;
  const auto taps = static_cast<int>(2 * middle);
  const PlanarArrays work(3, taps);
  double* const spectrum = work[0].re;
  std::copy(half.begin(), half.end(), spectrum);
  std::reverse_copy(half.begin() + 1, half.end() - 1, spectrum + middle + 1);
  PlanarFft::shared(taps).forward(work[0], work[1], work[2]);
  // The response is centred on index 0 and wraps around: exchange the halves.
  std::vector<double> kernel(2 * middle);
  const double* const response = work[1].re;
  std::copy_n(response + middle, middle, kernel.begin());
  std::copy_n(response, middle, kernel.begin() + static_cast<std::ptrdiff_t>(middle));
  WindowTable(12.0F).applyWindow(kernel.data(), taps);
  return kernel;
}
