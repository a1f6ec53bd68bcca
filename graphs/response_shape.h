#pragma once

#include <vector>

#include "dynamics/static_curve.h"
#include "toolkit/geometry.h"

// What the picture of a band's static curve shows where. Pure functions.

namespace response_shape {

inline constexpr double kReach = 24.0;  // dB to either side of the threshold

/// A square plot around a threshold: levels in dB, places in its pixels.
struct Plot {
  double threshold = 0.0;  ///< in its middle
  double side = 0.0;       ///< pixels

  [[nodiscard]] double columnOf(double level) const noexcept {
    return (level - (threshold - kReach)) / (2.0 * kReach) * side;
  }
  [[nodiscard]] double levelAt(double column) const noexcept {
    return threshold - kReach + column * 2.0 * kReach / side;
  }
  /// Of what comes out; at the edge beyond it.
  [[nodiscard]] double rowOf(double level) const noexcept;
};

/// dB of a linear level; the level of silence below 1e-10.
[[nodiscard]] double levelOf(double linear) noexcept;

/// The row of each column from 0 to `side`, which is one more.
void placeRows(const Plot& plot, const StaticCurve& curve, std::vector<float>& rows);

}  // namespace response_shape
