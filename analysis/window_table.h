#pragma once

#include <vector>

/// The modified Bessel function of the first kind and order zero, to a relative error of 1e-7 or
/// so.
[[nodiscard]] double besselI0(double x) noexcept;

/// A Kaiser window, periodic: its peak of 1 stands at the middle of the table, its lowest value at
/// index 0. The table is made on first use and again when the length changes: control side only.
class WindowTable {
 public:
  /// `beta`: 0 a rectangle; the larger, the wider the main lobe and the lower the side lobes.
  explicit WindowTable(float beta) noexcept : parameter(beta) {}

  /// data[i] *= window of `n` points; nothing for null data or n of 0.
  void applyWindow(double* data, int n);

 private:
  void make(int n);

  float parameter;
  std::vector<double> table;
};
