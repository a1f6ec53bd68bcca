#pragma once

#include <vector>

/// The modified Bessel function of the first kind and order zero, with a relative error of about
/// 1e-7. M. Abramowitz, I. Stegun, Handbook of Mathematical Functions, 1964: 9.8.1 and 9.8.2.
[[nodiscard]] double besselI0(double x) noexcept;

/// A periodic Kaiser window: its peak of 1 lies at the middle of the table, its lowest value at
/// index 0. The whole process shares one table of each width and length, made when it is first used
/// and kept. Control threads.
class WindowTable {
 public:
  /// `beta`: 0 is a rectangle; larger values widen the main lobe and lower the side lobes.
  explicit WindowTable(float beta) noexcept : parameter(beta) {}

  /// Multiplies `n` points of `data` by the window; does nothing if `data` is null or `n` is 0.
  void applyWindow(double* data, int n);

 private:
  float parameter;
  const std::vector<double>* table = nullptr;  // of the last length
};
