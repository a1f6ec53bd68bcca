#pragma once

#include <array>
#include <cstddef>

/// Equations for one or two unknowns, more of them than unknowns as a rule. Any thread.
class LeastSquares {
 public:
  static constexpr std::size_t kMaxRows = 4;

  /// One more equation: first * x0 + second * x1 = right. At most `kMaxRows`.
  void addRow(double first, double second, double right) noexcept;

  /// The x that leaves the least sum of squares, and of several such x the shortest, by singular
  /// value decomposition. Singular values below 1e-6 of the largest count as 0. An unknown whose
  /// column is 0 throughout comes out as 0: so with one unknown only, give `second` as 0.
  [[nodiscard]] std::array<double, 2> solve() const noexcept;

 private:
  using Column = std::array<double, kMaxRows>;

  std::array<Column, 2> columns{};
  Column right{};
  std::size_t rows = 0;
};
