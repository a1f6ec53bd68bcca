#pragma once

#include <array>
#include <cstddef>

/// A system of linear equations for one or two unknowns, usually overdetermined. Any thread.
class LeastSquares {
 public:
  static constexpr std::size_t kMaxRows = 4;

  /// Adds an equation: first * x0 + second * x1 = right. At most `kMaxRows`.
  void addRow(double first, double second, double right) noexcept;

  /// The x with the least sum of squared errors, and of several such x the shortest, by singular
  /// value decomposition (G. H. Golub, C. Reinsch, Singular Value Decomposition and Least Squares
  /// Solutions, 1970). Singular values below 1e-6 of the largest count as 0. An unknown whose
  /// column is all 0 results in 0: for one unknown, pass 0 as `second`.
  [[nodiscard]] std::array<double, 2> solve() const noexcept;

 private:
  using Column = std::array<double, kMaxRows>;

  std::array<Column, 2> columns{};
  Column right{};
  std::size_t rows = 0;
};
