#pragma once

#include <string>
#include <vector>

#include "graphs/frequency_axis.h"
#include "graphs/level_axes.h"

/// The figures of what lies under the mouse, in a row over the plot.
namespace graph_readouts {

/// What the preference "Readout" shows, as bits.
enum Shown : int { kAnalyser = 1, kGraph = 2 };

struct Readout {
  double column;  ///< of its middle
  std::string text;
};

struct Values {
  int readout = 0;  ///< the preference
  bool analyserOn = false;
  int x = 0;  ///< of the mouse, from the plot's corner
  int y = 0;
  double response = 0.0;  ///< dB in that column
  double left = 0.0;      ///< analyser in that column, as shares of the height
  double right = 0.0;
};

/// Nothing where the mouse is beside the plot.
[[nodiscard]] std::vector<Readout> texts(const Values& values, const FrequencyAxis& axis,
                                         const AnalyserAxis& analyser, int height);
/// The row at which they begin.
[[nodiscard]] constexpr int rowOf(bool atBottom, int height) { return atBottom ? height - 32 : 4; }

}  // namespace graph_readouts
