#pragma once

#include "graphs/frequency_axis.h"

/// The strip over a plot's lower edge that shows which frequencies are in view, and by whose ends
/// they are chosen. It stands for 10 Hz to `nyquist`, whatever is in view.
namespace zoom_strip {

inline constexpr double kLowest = 10.0;  ///< Hz
/// Nothing narrower can be shown: an octave.
inline constexpr double kLeastSpan = 2.0;

/// What a press moves.
enum class Mode { kNone = 0, kLeft = 1, kRight = 2, kBoth = 3 };

struct Range {
  double minf;
  double maxf;

  bool operator==(const Range&) const = default;
};

struct Strip {
  int width = 0;  ///< of the plot
  int height = 0;
  double nyquist = 22050.0;

  [[nodiscard]] bool contains(double y) const { return y >= height - 50 && y <= height - 35; }
  [[nodiscard]] double middleRow() const { return height - 42.5; }
  /// Where a frequency stands on it.
  [[nodiscard]] double columnOf(double frequency) const;
  [[nodiscard]] Mode modeAt(double x, Range shown) const;
  /// The range after a drag by `columns` from where it was `start`.
  [[nodiscard]] Range dragged(Mode mode, Range start, double columns) const;
  [[nodiscard]] Range whole() const { return {kLowest, nyquist}; }
  /// Whether nothing is zoomed: from where a graph begins to where it ends at first, or beyond.
  [[nodiscard]] bool isWhole(Range shown) const;
};

/// Zooms by `notches` of a wheel, above 0 to fewer frequencies; the one at `column` stays there as
/// long as neither end is reached.
[[nodiscard]] Range zoomed(const FrequencyAxis& axis, double nyquist, double column,
                           double notches);

}  // namespace zoom_strip
