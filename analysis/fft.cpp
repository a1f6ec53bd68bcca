#include "analysis/fft.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace {

constexpr int kRealPairs = 4096;

/// exp(i pi k / 4096) for k up to 2048.
const PlanarArrays& halfSteps() {
  constexpr int kSteps = kRealPairs / 2 + 1;
  static const PlanarArrays made = [] {
    PlanarArrays arrays(1, kSteps);
    const PlanarSpan steps = arrays[0];
    for (int k = 0; k < kSteps; ++k) {
      steps.re[k] = std::cos(std::numbers::pi * k / kRealPairs);
      steps.im[k] = std::sin(std::numbers::pi * k / kRealPairs);
    }
    return arrays;
  }();
  return made;
}

}  // namespace

void FftTables::prepare(int points) {
  if (points > capacity) {
    work = PlanarArrays(3, points);
    capacity = points;
  }
  if (fft == nullptr || fft->points() != points) fft = &PlanarFft::shared(points);
}

void FftTables::prepareReal8192() {
  prepare(kRealPairs);
  halfSteps();
}

void complexTransform(int points, int sign, double* pairs, FftTables& tables) {
  tables.prepare(points);
  const PlanarArrays& work = tables.work;
  vectorKernels().deinterleave(pairs, work[0], points);
  if (sign >= 0) {
    tables.fft->forward(work[0], work[1], work[2]);
  } else {
    tables.fft->backward(work[0], work[1], work[2]);
  }
  vectorKernels().interleave(work[1], pairs, points);
}

void complexForward(int points, double* pairs, FftTables& tables) {
  complexTransform(points, 1, pairs, tables);
}

void complexBackward(int points, double* pairs, FftTables& tables) {
  complexTransform(points, -1, pairs, tables);
}

void realForward8192(double* samples, FftTables& tables) {
  tables.prepareReal8192();
  const PlanarArrays& work = tables.work;
  vectorKernels().deinterleave(samples, work[0], kRealPairs);
  tables.fft->forward(work[0], work[1], work[2]);
  vectorKernels().splitReal(halfSteps()[0], work[1], kRealPairs);
  vectorKernels().interleave(work[1], samples, kRealPairs);
}
