#include "graphs/response_shape.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

double response_shape::Plot::rowOf(double level) const noexcept {
  return (1.0 - std::clamp(columnOf(level) / side, 0.0, 1.0)) * side;
}

double response_shape::levelOf(double linear) noexcept {
  return linear < StaticCurve::kSilence ? StaticCurve::kSilenceDb : 20.0 * std::log10(linear);
}

void response_shape::placeRows(const Plot& plot, const StaticCurve& curve,
                               std::vector<float>& rows) {
  rows.resize(static_cast<std::size_t>(plot.side) + 1);
  for (std::size_t x = 0; x < rows.size(); ++x) {
    const double in = plot.levelAt(static_cast<double>(x));
    rows[x] = static_cast<float>(plot.rowOf(in + curve.gainAtDb(in)));
  }
}
