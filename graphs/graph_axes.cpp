#include "graphs/graph_axes.h"

#include <algorithm>
#include <cmath>

double FrequencyAxis::frequencyAt(double column) const {
  return minf * std::exp(std::log(maxf / minf) * column / width);
}

double FrequencyAxis::columnOf(double frequency) const {
  return std::log(frequency / minf) * width / std::log(maxf / minf);
}

double FrequencyAxis::clampedColumnOf(double frequency) const {
  return std::clamp(columnOf(frequency), 0.0, static_cast<double>(width));
}

double LevelAxis::rowOf(double level) const { return (height - 1) * (range - level) / (2 * range); }

double LevelAxis::gainAt(double row) const { return (1 - 2 * row / height) * range; }
