#pragma once

#include <string>
#include <vector>

// How levels stand on a meter and how they are written. Levels are linear, 1 for full scale; rows
// are pixels from the top of a plot. Threads: any.

/// The scale of a plot: from +18 dBFS at the top down to silence or, zoomed, the same number of
/// decibels above and below full scale.
struct MeterScale {
  static constexpr double kMostLevel = 8.0;     ///< the top of the normal scale
  static constexpr double kWidestRange = 24.0;  ///< dB

  double height = 0.0;  ///< of the plot
  bool isZoomed = false;
  double scaleExponent = 4.0;  ///< of the normal scale
  double zoomRange = 1.5;      ///< dB to either side, of the zoomed scale
  double markOffset = 0.0;     ///< dB that the mark of 0 stands below full scale

  [[nodiscard]] double levelToRow(double level) const noexcept;
  /// Full scale moves to the mark of 0.
  [[nodiscard]] double gainToRow(double gain) const noexcept;
  /// Rows above the plot count as its top where the scale is zoomed.
  [[nodiscard]] double rowToLevel(double row) const noexcept;

  bool operator==(const MeterScale&) const = default;
};

/// A line of a scale.
struct ScaleMark {
  double dB = 0.0;  ///< as written, from the mark of 0
  double row = 0.0;
  bool hasText = true;

  [[nodiscard]] bool isZero() const noexcept { return dB == 0.0; }
};

/// From the top down. A normal scale has one each 6 dB while there is room for their texts, then
/// each 12; a zoomed one has 13, without those above `kMostLevel`, with texts where a single
/// decimal tells them exactly.
[[nodiscard]] std::vector<ScaleMark> scaleMarks(const MeterScale& scale);
[[nodiscard]] std::string scaleText(const MeterScale& scale, const ScaleMark& mark);

/// dB below full scale of the mark of 0, for the choices FS, K-12, K-14 and K-20; unknown ones are
/// FS.
[[nodiscard]] double markOffsetOf(int choice) noexcept;
/// dB to either side, for the choices 1.5, 3, 6 and 12 dB; unknown ones are 1.5 dB.
[[nodiscard]] double zoomRangeOf(int choice) noexcept;
/// A zoomed range that shows this held level, too: doubled as often as it needs and `kWidestRange`
/// allows. A level below it changes nothing.
[[nodiscard]] double widenedRange(double range, double held) noexcept;

/// "-6.0", or "-inf" for silence.
[[nodiscard]] std::string levelText(double level);
/// Decibels, without a sign for what rounds to 0.
[[nodiscard]] std::string gainText(double dB);
/// Without decimals, as beside scales of gain.
[[nodiscard]] std::string gainFigure(double dB);
/// "-6.0dB", or "infdB" for 0.
[[nodiscard]] std::string clipText(double level);
/// "-23.0 LUFS", or "-inf LUFS".
[[nodiscard]] std::string loudnessText(double loudness, const std::string& unit);

/// Decibels of a linear gain, at least -200.
[[nodiscard]] double decibelsOf(double gain) noexcept;
/// The length of a `clipGRmeter`'s bar.
[[nodiscard]] constexpr double clipBarWidth(double viewWidth, double level) noexcept {
  constexpr double kTextRoom = 46.0;
  return (viewWidth - kTextRoom) * level;
}
