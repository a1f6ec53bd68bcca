#pragma once

#include "analysis/planar_array.h"
#include "analysis/planar_fft.h"

/// Work memory and twiddle factors of the transforms below, owned by whoever transforms and grown
/// by the first transform of a size: one thread at a time. Never shrinks.
class FftTables {
 public:
  /// Makes everything ready for `points` complex points, so that such a transform, or a smaller one
  /// that was prepared too, does not allocate.
  void prepare(int points);
  /// Likewise for a real transform of 8192 points.
  void prepareReal8192();

 private:
  friend void complexTransform(int points, int sign, double* pairs, FftTables& tables);
  friend void realForward8192(double* samples, FftTables& tables);

  const PlanarFft* fft = nullptr;  // the size of the last transform
  int capacity = 0;                // points
  PlanarArrays work;               // three
  PlanarArrays halfSteps;          // of the real transform: exp(i pi k / 4096) for k up to 2048
};

/// In place on `points` pairs (real, imaginary), a power of two; natural order, not scaled:
/// X[k] = sum of x[j] * exp(+2 pi i jk / points). Forward then backward multiplies by `points`.
void complexForward(int points, double* pairs, FftTables& tables);
/// The same with exp(-2 pi i jk / points).
void complexBackward(int points, double* pairs, FftTables& tables);
/// `complexForward` where `sign` is not negative, else `complexBackward`.
void complexTransform(int points, int sign, double* pairs, FftTables& tables);

/// In place on 8192 real samples: then a[0] is the DC term, a[1] the Nyquist term, and a[2k],
/// a[2k + 1] are the sums of x[j] * cos(2 pi jk / 8192) and x[j] * sin(2 pi jk / 8192). Not scaled.
void realForward8192(double* samples, FftTables& tables);
