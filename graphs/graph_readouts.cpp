#include "graphs/graph_readouts.h"

#include <array>
#include <cstdio>

namespace graph_readouts {

namespace {

template <typename... Numbers>
std::string printed(const char* format, Numbers... numbers) {
  std::array<char, 96> text{};
  std::snprintf(text.data(), text.size(), format, numbers...);  // NOLINT: told by its callers
  return text.data();
}

}  // namespace

std::vector<Readout> texts(const Values& values, const FrequencyAxis& axis,
                           const AnalyserAxis& analyser, int height) {
  std::vector<Readout> row;
  const int shown = (values.analyserOn ? kAnalyser | kGraph : kGraph) & values.readout;
  if (shown == 0 || values.x < 0 || values.x >= axis.width) return row;
  const double quarter = axis.width / 4.0;
  const double frequency = axis.frequencyAt(values.x);
  if ((shown & kAnalyser) != 0) {
    row.push_back({2.0 * quarter, printed("CURSOR: %.1fHz, %0.fdB", frequency,
                                          analyser.levelAt(values.y, height))});
  } else {
    row.push_back({2.0 * quarter, printed("CURSOR: %.1fHz", frequency)});
  }
  if ((shown & kGraph) != 0) {
    row.push_back({3.0 * quarter, printed("GRAPH: %.2f dB", values.response)});
  }
  if ((shown & kAnalyser) != 0) {
    row.push_back({quarter, printed("ANALYSER: %.0fdB, %.0fdB", analyser.levelOf(values.left),
                                    analyser.levelOf(values.right))});
  }
  return row;
}

}  // namespace graph_readouts
