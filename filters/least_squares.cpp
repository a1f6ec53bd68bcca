#include "filters/least_squares.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <limits>

namespace {

constexpr double kLeastSingularValue = 1e-6;  // of the largest
constexpr int kMostSweeps = 30;

// Turns the vector (x, y) by the angle of cosine c and sine s.
void turn(double& x, double& y, double c, double s) noexcept {
  const double turned = c * x + s * y;
  y = c * y - s * x;
  x = turned;
}

struct Rotation {
  double c = 1.0;
  double s = 0.0;
};

// The rotation that turns (x, y) into (|(x, y)|, 0).
Rotation onto(double x, double y) noexcept {
  const double size = std::hypot(x, y);
  return size == 0.0 ? Rotation{} : Rotation{x / size, y / size};
}

// A 2 x 2 bidiagonal matrix [d0 e; 0 d1]. Rotations of its columns are accumulated in `v`; those of
// its rows are applied to the right side `b` as well.
struct Bidiagonal {
  double d0;
  double e;
  double d1;
  std::array<double, 2> b;
  Rotation v;

  [[nodiscard]] bool isDiagonal() const noexcept {
    return std::abs(e) <= std::numeric_limits<double>::epsilon() * (std::abs(d0) + std::abs(d1));
  }

  // One implicit QR step, shifted by the smaller eigenvalue of B'B, which is known for a 2 x 2.
  // G. H. Golub, C. Reinsch: Singular Value Decomposition and Least Squares Solutions, 1970
  void sweep() noexcept {
    if (d0 == 0.0) {  // the row of e alone goes into the other
      const auto [c, s] = onto(d1, e);
      turn(b[1], b[0], c, s);
      d1 = std::hypot(d1, e);
      e = 0.0;
      return;
    }
    const double side = d0 * e;
    const double sum = d0 * d0 + d1 * d1 + e * e;
    const double larger = 0.5 * sum + std::hypot(0.5 * (d0 * d0 - d1 * d1 - e * e), side);
    const double shift = d0 * d1 * (d0 * d1 / larger);
    const auto [c, s] = onto(d0 * d0 - shift, side);
    turn(d0, e, c, s);
    double bulge = 0.0;
    turn(bulge, d1, c, s);
    v = {v.c * c - v.s * s, v.s * c + v.c * s};
    const auto rowTurn = onto(d0, bulge);
    turn(d0, bulge, rowTurn.c, rowTurn.s);
    turn(e, d1, rowTurn.c, rowTurn.s);
    turn(b[0], b[1], rowTurn.c, rowTurn.s);
  }
};

}  // namespace

void LeastSquares::addRow(double first, double second, double rightSide) noexcept {
  assert(rows < kMaxRows);
  columns[0][rows] = first;
  columns[1][rows] = second;
  right[rows] = rightSide;
  ++rows;
}

std::array<double, 2> LeastSquares::solve() const noexcept {
  // Rotations of rows make both columns upper triangular: with two of them that is bidiagonal.
  std::array<Column, 2> a = columns;
  Column b = right;
  for (std::size_t j = 0; j < 2; ++j) {
    for (std::size_t i = j + 1; i < rows; ++i) {
      const auto [c, s] = onto(a[j][j], a[j][i]);
      for (std::size_t k = j; k < 2; ++k) turn(a[k][j], a[k][i], c, s);
      turn(b[j], b[i], c, s);
    }
  }
  Bidiagonal m{a[0][0], a[1][0], a[1][1], {b[0], b[1]}, {}};
  for (int i = 0; i < kMostSweeps && !m.isDiagonal(); ++i) m.sweep();
  const double least = kLeastSingularValue * std::max(std::abs(m.d0), std::abs(m.d1));
  const double y0 = std::abs(m.d0) > least ? m.b[0] / m.d0 : 0.0;
  const double y1 = std::abs(m.d1) > least ? m.b[1] / m.d1 : 0.0;
  return {m.v.c * y0 - m.v.s * y1, m.v.s * y0 + m.v.c * y1};
}
