#include "graphs/zoom_strip.h"

#include <algorithm>
#include <cmath>

namespace zoom_strip {

namespace {

constexpr double kMargin = 4.0;
constexpr double kReach = 16.0;  // of either end
// What a notch makes of the logarithm of the half span.
constexpr double kShareOfNotch = 0.85;
constexpr double kHair = 0.001;

}  // namespace

double Strip::columnOf(double frequency) const {
  return std::log(frequency / kLowest) * (width - 2.0 * kMargin) / std::log(nyquist / kLowest) +
         kMargin;
}

Mode Strip::modeAt(double x, Range shown) const {
  // Where the ends are drawn: a range may go beyond the strip.
  const double left = std::max(columnOf(shown.minf), kMargin);
  const double right = std::min(columnOf(shown.maxf), width - kMargin);
  if (std::abs(x - left) <= kReach) return Mode::kLeft;
  if (std::abs(x - right) <= kReach) return Mode::kRight;
  return x > left && x < right ? Mode::kBoth : Mode::kNone;
}

Range Strip::dragged(Mode mode, Range start, double columns) const {
  const double perColumn = std::log(nyquist / kLowest) / (width - 2.0 * kMargin);
  double factor = std::exp(columns * perColumn);
  if (mode == Mode::kLeft) start.minf = std::max(start.minf, kLowest);
  if (mode == Mode::kRight) start.maxf = std::min(start.maxf, nyquist);
  switch (mode) {
    case Mode::kLeft:
      return {std::clamp(start.minf * factor, kLowest, std::max(kLowest, start.maxf / kLeastSpan)),
              start.maxf};
    case Mode::kRight:
      return {start.minf,
              std::clamp(start.maxf * factor, std::min(nyquist, start.minf * kLeastSpan), nyquist)};
    case Mode::kBoth:
      factor = std::min(std::max(factor, kLowest / start.minf), nyquist / start.maxf);
      return {std::max(start.minf * factor, kLowest), std::min(start.maxf * factor, nyquist)};
    case Mode::kNone:
      break;
  }
  return start;
}

bool Strip::isWhole(Range shown) const {
  const double top = std::min(nyquist, FrequencyAxis{}.maxf);
  return shown.minf <= kLowest * (1.0 + kHair) && shown.maxf >= top * (1.0 - kHair);
}

Range zoomed(const FrequencyAxis& axis, double nyquist, double column, double notches) {
  const double place = 2.0 * column / axis.width - 1.0;  // -1 left to 1 right
  const double under = std::log(axis.frequencyAt(column));
  const double least = 0.5 * std::log(kLeastSpan);
  const double halfSpan =
      std::max(0.5 * std::log(axis.maxf / axis.minf) * std::pow(kShareOfNotch, notches), least);
  const double centre = under - place * halfSpan;
  const double low = std::max(std::exp(centre - halfSpan), kLowest);
  const double high = std::min(std::exp(centre + halfSpan), nyquist);
  // At an end the other one alone moves, and no closer than the least span.
  if (high / low >= kLeastSpan) return {low, high};
  return low <= kLowest ? Range{kLowest, kLowest * kLeastSpan}
                        : Range{nyquist / kLeastSpan, nyquist};
}

}  // namespace zoom_strip
