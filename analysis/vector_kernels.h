#pragma once

#include <span>

/// A complex array as two arrays of equal length, real parts and imaginary parts. The length is
/// known from the context. Not owned.
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

/// Number of doubles in one vector of a set.
[[nodiscard]] constexpr int lanesOf(InstructionSet set) noexcept {
  return set == InstructionSet::kPortable ? 2 : set == InstructionSet::kAvx2 ? 4 : 8;
}
[[nodiscard]] constexpr const char* nameOf(InstructionSet set) noexcept {
  if (set == InstructionSet::kPortable) return "portable";
  return set == InstructionSet::kAvx2 ? "AVX2" : "AVX-512";
}

/// The operations that run on the processor's widest vectors, one table per instruction set. All
/// sets give the same results up to rounding, and the result for an element does not depend on its
/// position in the array. Arrays need no alignment. Any thread; nothing locks, allocates or throws.
struct VectorKernels {
  const char* name;
  InstructionSet set;  ///< lets kernels of other folders choose the same set
  /// out[k] = sum of in[j] * exp(+2 pi i jk / points), in natural order, not scaled. `in`, `out`
  /// and `scratch` are three different arrays; `in` keeps its values. To change the sign of the
  /// exponent, swap `re` and `im` of both `in` and `out`.
  void (*transform)(const FftPlan& plan, ConstPlanarSpan in, PlanarSpan out,
                    PlanarSpan scratch) noexcept;
  // Convert `points` pairs (real, imaginary) to planar arrays and back.
  void (*deinterleave)(const double* pairs, PlanarSpan out, int points) noexcept;
  void (*interleave)(ConstPlanarSpan in, double* pairs, int points) noexcept;
  /// Turns, in place, the complex transform of a real signal's 2 * `points` samples taken as
  /// `points` pairs into the transform of that signal. Element 0 becomes (DC, Nyquist), the sum and
  /// the difference of its parts. `turn`: exp(i pi k / points) for k up to points / 2.
  void (*splitReal)(ConstPlanarSpan turn, PlanarSpan data, int points) noexcept;
  /// out[k] = sum of x[j][k] * h[j][k] over j below `count`; `points` is a multiple of 16.
  void (*multiplySpectra)(const ConstPlanarSpan* x, const ConstPlanarSpan* h, int count,
                          PlanarSpan out, int points) noexcept;
  /// out[i] = sum of taps[k] * newest[i - k]; reads `newest` from index 1 - tapCount on. May read
  /// `newest` and write `out` up to the next multiple of 8 beyond `count`.
  void (*fir)(const double* taps, int tapCount, const double* newest, double* out,
              int count) noexcept;
  /// Doubles the rate of `count` inputs by the two phases of a half-band filter: out[2i] = sum of
  /// taps[j] * oldest[i + j], out[2i + 1] = oldest[i + tapCount / 2].
  void (*raise)(const double* taps, int tapCount, const double* oldest, double* out,
                int count) noexcept;
  /// Halves the rate, from the even and the odd samples: out[i] = half of (odd[i + tapCount / 2 -
  /// 1] + sum of taps[j] * even[i + j]).
  void (*lower)(const double* taps, int tapCount, const double* even, const double* odd,
                double* out, int count) noexcept;
  /// 20 log10 of normal numbers > 0, in place, to within 1e-11 dB. Reads and writes up to the next
  /// multiple of 8 beyond `count`.
  void (*toDecibels)(double* values, int count) noexcept;
};

/// The kernels of one set. Exists for the sets of this build; they must not be called on a
/// processor that lacks the set.
template <InstructionSet set>
[[nodiscard]] const VectorKernels& vectorKernelsOf() noexcept;
template <>
[[nodiscard]] const VectorKernels& vectorKernelsOf<InstructionSet::kPortable>() noexcept;
template <>
[[nodiscard]] const VectorKernels& vectorKernelsOf<InstructionSet::kAvx2>() noexcept;
template <>
[[nodiscard]] const VectorKernels& vectorKernelsOf<InstructionSet::kAvx512>() noexcept;

/// The kernels in use: the widest that this processor has, unless `useVectorKernels` chose others.
[[nodiscard]] const VectorKernels& vectorKernels() noexcept;
/// All kernels that this processor can run, the portable ones first.
[[nodiscard]] std::span<const VectorKernels* const> allVectorKernels() noexcept;
/// Chooses one of `allVectorKernels`, to compare them. Only while nothing processes.
void useVectorKernels(const VectorKernels& kernels) noexcept;
