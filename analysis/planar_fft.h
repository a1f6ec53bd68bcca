#pragma once

#include <vector>

#include "analysis/vector_kernels.h"

/// Complex transforms of one size on planar arrays (separate real and imaginary parts), on the
/// processor's vector unit. Not scaled; natural order in and out. `in`, `out` and `scratch` are
/// three different arrays of `points` each; `in` keeps its values. Any threads at the same time;
/// transforms do not allocate.
class PlanarFft {
 public:
  /// `points`: a power of two.
  explicit PlanarFft(int points);

  /// The instance of this size that the whole process shares. The first call of a size allocates
  /// it; the reference stays valid for the life of the process.
  [[nodiscard]] static const PlanarFft& shared(int points);

  [[nodiscard]] int points() const noexcept { return size; }

  /// out[k] = sum of in[j] * exp(+2 pi i jk / points)
  void forward(ConstPlanarSpan in, PlanarSpan out, PlanarSpan scratch) const noexcept {
    forward(vectorKernels(), in, out, scratch);
  }
  /// out[k] = sum of in[j] * exp(-2 pi i jk / points)
  void backward(ConstPlanarSpan in, PlanarSpan out, PlanarSpan scratch) const noexcept {
    // Exchanging real and imaginary parts on both sides turns the exponent's sign.
    forward({in.im, in.re}, {out.im, out.re}, scratch);
  }
  /// Turns the transform of a signal, in place, into that of the signal's real part.
  void keepRealSignal(PlanarSpan transform) const noexcept;
  /// `forward` with the kernels of a given instruction set.
  void forward(const VectorKernels& kernels, ConstPlanarSpan in, PlanarSpan out,
               PlanarSpan scratch) const noexcept {
    kernels.transform({size, twiddles.data()}, in, out, scratch);
  }

 private:
  int size;
  // For each pass except the last, of n points: exp(2 pi i p / n) for p below n / 4, then the
  // squares and the cubes of these, each as real parts followed by imaginary parts.
  std::vector<double> twiddles;
};
