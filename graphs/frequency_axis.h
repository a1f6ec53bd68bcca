#pragma once

#include <cmath>

/// The logarithmic frequency axis of a graph.
struct FrequencyAxis {
  int width = 0;          // pixels
  double minf = 10.0;     // Hz, > 0, at column 0
  double maxf = 22050.0;  // Hz, at column `width`

  /// Hz
  [[nodiscard]] double frequencyAt(double column) const noexcept {
    return minf * std::exp(std::log(maxf / minf) * column / width);
  }
  bool operator==(const FrequencyAxis&) const = default;
};
