#pragma once

/// What the columns of a plot stand for: frequencies in Hz, evenly spread by their logarithm.
/// Column 0 is the left edge, column `width` the right one.
struct FrequencyAxis {
  int width = 0;
  double minf = 10.0;  ///< > 0
  double maxf = 22050.0;

  [[nodiscard]] double frequencyAt(double column) const noexcept;
  [[nodiscard]] double columnOf(double frequency) const noexcept;  ///< also beyond the edges
  [[nodiscard]] double clampedColumnOf(double frequency) const noexcept;

  bool operator==(const FrequencyAxis&) const = default;
};
