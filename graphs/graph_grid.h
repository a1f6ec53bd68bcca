#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "graphs/frequency_axis.h"
#include "graphs/level_axes.h"

/// Lines and figures of a frequency graph, in unzoomed pixels from the plot's upper left corner.
namespace graph_grid {

/// How wide a figure is written.
using TextWidth = std::function<double(std::string_view)>;

struct Upright {
  double column;
  double frequency;
  bool isDecade;  ///< brighter
};
struct Level {
  int row;
  double dB;
};
struct Figure {
  std::string text;
  double left;
  double width;
};

/// 10, 20 ... 100, 200 ... Hz, as far as the axis shows them.
[[nodiscard]] std::vector<Upright> uprights(const FrequencyAxis& axis);
/// The figures of the frequencies from the left: 1, 2 and 5 of each decade, more where little more
/// than one decade is shown. None reaches over another one.
[[nodiscard]] std::vector<Figure> frequencyFigures(const FrequencyAxis& axis, double nyquist,
                                                   const TextWidth& widthOf);
/// A line for each 6 dB. The last one has no figure.
[[nodiscard]] std::vector<Level> levels(const LevelAxis& axis);
/// Eight levels of the analyser.
[[nodiscard]] std::vector<Level> analyserLevels(const AnalyserAxis& axis, int height);
[[nodiscard]] std::string levelText(double dB);

/// The row at which the figures of the frequencies begin.
[[nodiscard]] constexpr int figureRow(int height) { return height - 11; }

/// How bright a row of the ground is above the panel, 0 to 255: `strength` at the top, nothing from
/// the middle on.
[[nodiscard]] int glowOf(int row, int height, int strength);

}  // namespace graph_grid
