#pragma once

#include <span>

/// A complex array as two arrays, real parts and imaginary parts, both of the length the context
/// gives. Not owned.
struct PlanarSpan {
  double* re = nullptr;
  double* im = nullptr;
};
struct ConstPlanarSpan {
  const double* re = nullptr;
  const double* im = nullptr;
  ConstPlanarSpan() = default;
  ConstPlanarSpan(const double* realParts, const double* imaginaryParts)
      : re(realParts), im(imaginaryParts) {}
  ConstPlanarSpan(const PlanarSpan& span) : re(span.re), im(span.im) {}  // NOLINT: as a view
};

/// Size and twiddle factors of a transform (see `PlanarFft`, which makes them).
struct FftPlan {
  int points = 0;
  const double* twiddles = nullptr;
};

enum class InstructionSet { kPortable, kAvx2, kAvx512 };

/// Doubles in one vector of a set.
[[nodiscard]] constexpr int lanesOf(InstructionSet set) noexcept {
  return set == InstructionSet::kPortable ? 2 : set == InstructionSet::kAvx2 ? 4 : 8;
}
[[nodiscard]] constexpr const char* nameOf(InstructionSet set) noexcept {
  if (set == InstructionSet::kPortable) return "portable";
  return set == InstructionSet::kAvx2 ? "AVX2" : "AVX-512";
}

/// The arithmetic that is worth the processor's widest vectors, one table per instruction set. All
/// sets give the same results to rounding, and each gives the same result for an element wherever
/// it stands in its array. Arrays need no alignment. Any thread; nothing locks, allocates or
/// throws.
struct VectorKernels {
  const char* name;
  InstructionSet set;  ///< for kernels of other folders, which go along
  /// out[k] = sum of in[j] * exp(+2 pi i jk / points), in natural order, not scaled. `in`, `out`
  /// and `scratch` are three different arrays; `in` is kept. To change the sign of the exponent,
  /// swap `re` and `im` of `in` and of `out`.
  void (*transform)(const FftPlan& plan, ConstPlanarSpan in, PlanarSpan out,
                    PlanarSpan scratch) noexcept;
  /// Pairs (real, imaginary) to planar and back; `points` pairs.
  void (*deinterleave)(const double* pairs, PlanarSpan out, int points) noexcept;
  void (*interleave)(ConstPlanarSpan in, double* pairs, int points) noexcept;
  /// From the transform of the pairs of a real signal of 2 * `points` samples to that of the
  /// signal: elements 1 to points - 1 in place; element 0 becomes the sum and the difference of its
  /// parts, so DC and Nyquist. `turn`: exp(i pi k / points) for k below points / 2 + 1.
  void (*splitReal)(ConstPlanarSpan turn, PlanarSpan data, int points) noexcept;
  /// out[k] = sum over j below `count` of x[j][k] * h[j][k]; `points` is a multiple of 16.
  void (*multiplySpectra)(const ConstPlanarSpan* x, const ConstPlanarSpan* h, int count,
                          PlanarSpan out, int points) noexcept;
  /// out[i] = sum of taps[k] * newest[i - k]; reads `newest` from 1 - tapCount on. Writes, and
  /// reads `newest`, up to the next multiple of 8 beyond `count`.
  void (*fir)(const double* taps, int tapCount, const double* newest, double* out,
              int count) noexcept;
  /// The two phases of a half-band filter at twice the rate, for `count` inputs: out[2i] = sum of
  /// taps[j] * oldest[i + j], out[2i + 1] = oldest[i + tapCount / 2].
  void (*raise)(const double* taps, int tapCount, const double* oldest, double* out,
                int count) noexcept;
  /// Back to half the rate, from the even and the odd samples: out[i] = half of
  /// odd[i + tapCount / 2 - 1] + sum of taps[j] * even[i + j].
  void (*lower)(const double* taps, int tapCount, const double* even, const double* odd,
                double* out, int count) noexcept;
  /// 20 log10 of normal numbers > 0 to 1e-11 dB, in place. Reads and writes up to the next multiple
  /// of 8 beyond `count`.
  void (*toDecibels)(double* values, int count) noexcept;
};

/// The kernels of one set, there for the sets of this build and not to be called on a processor
/// without it.
template <InstructionSet set>
[[nodiscard]] const VectorKernels& vectorKernelsOf() noexcept;
template <>
[[nodiscard]] const VectorKernels& vectorKernelsOf<InstructionSet::kPortable>() noexcept;
template <>
[[nodiscard]] const VectorKernels& vectorKernelsOf<InstructionSet::kAvx2>() noexcept;
template <>
[[nodiscard]] const VectorKernels& vectorKernelsOf<InstructionSet::kAvx512>() noexcept;

/// The kernels in use: the widest that this processor has, unless told otherwise.
[[nodiscard]] const VectorKernels& vectorKernels() noexcept;
/// All that this processor has, the portable ones first.
[[nodiscard]] std::span<const VectorKernels* const> allVectorKernels() noexcept;
/// Puts others of `allVectorKernels` in use, to compare them: while nothing processes.
void useVectorKernels(const VectorKernels& kernels) noexcept;
