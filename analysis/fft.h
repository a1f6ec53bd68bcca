#pragma once

#include "analysis/planar_array.h"
#include "analysis/planar_fft.h"

/// Work memory of the transforms below, owned by the caller, and the factors that the whole process
/// shares. Grows with the first transform of a size and never shrinks. One thread at a time.
class FftTables {
 public:
  /// Prepares transforms of `points` complex points, which then do not allocate. Prepare each size
  /// that is used.
  void prepare(int points);
  /// Likewise for a real transform of 8192 points.
  void prepareReal8192();

 private:
  friend void complexTransform(int points, int sign, double* pairs, FftTables& tables);
  friend void realForward8192(double* samples, FftTables& tables);

  const PlanarFft* fft = nullptr;  // the size of the last transform
  int capacity = 0;                // points
  PlanarArrays work;               // three
};

/// Transforms `points` pairs (real, imaginary) in place; `points` is a power of two. Natural order,
/// not scaled: X[k] = sum of x[j] * exp(+2 pi i jk / points). Forward and then backward multiplies
/// by `points`.
void complexForward(int points, double* pairs, FftTables& tables);
/// As `complexForward`, with exp(-2 pi i jk / points).
void complexBackward(int points, double* pairs, FftTables& tables);
/// `complexForward` if `sign` is not negative, otherwise `complexBackward`.
void complexTransform(int points, int sign, double* pairs, FftTables& tables);

/// Transforms 8192 real samples in place. Afterwards a[0] is the DC term, a[1] the Nyquist term,
/// and a[2k], a[2k + 1] are the sums of x[j] * cos(2 pi jk / 8192) and x[j] * sin(2 pi jk / 8192).
/// Not scaled.
void realForward8192(double* samples, FftTables& tables);
