#include "graphs/frequency_axis.h"

#include <algorithm>
#include <cmath>

double FrequencyAxis::frequencyAt(double column) const noexcept {
  return minf * std::exp(std::log(maxf / minf) * column / width);
}

double FrequencyAxis::columnOf(double frequency) const noexcept {
  return std::log(frequency / minf) * width / std::log(maxf / minf);
}

double FrequencyAxis::clampedColumnOf(double frequency) const noexcept {
  return std::clamp(columnOf(frequency), 0.0, static_cast<double>(width));
}
