#include "dynamics/static_curve.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kSteepest = 1e6;  // dB per dB: a gate

double slope(double amount, double range) noexcept {
  return range == 0.0 ? 0.0 : std::abs(amount / range);
}

}  // namespace

StaticCurve StaticCurve::make(double threshold, double ratioAbove, double ceiling,
                              double ratioBelow, double floor, double deadband,
                              double knee) noexcept {
  const double below =
      ratioBelow == 1.0 ? kSteepest : std::min(ratioBelow / (1.0 - ratioBelow), kSteepest);
  StaticCurve curve;
  curve.thresholdHigh = threshold;
  curve.thresholdLow = threshold - deadband;
  curve.rangeAbove = ratioAbove > 0.0 ? -ceiling : ceiling;
  curve.rangeBelow = below > 0.0 ? -floor : floor;
  curve.slopeAbove = slope(ratioAbove, ceiling);
  curve.slopeBelow = slope(below, floor);
  curve.knee = knee;
  return curve;
}

StaticCurve StaticCurve::make(const CurveKnobs& k) noexcept {
  return make(k.threshold, k.ratioAbove, k.ceiling, k.ratioBelow, k.floor, k.deadband, k.knee);
}

double StaticCurve::gainAtDb(double decibels) const noexcept {
  double way = 0.0;
  double range = 0.0;
  if (decibels >= thresholdHigh) {
    way = (decibels - thresholdHigh) * slopeAbove;
    range = rangeAbove;
  } else if (decibels <= thresholdLow) {
    way = (thresholdLow - decibels) * slopeBelow;
    range = rangeBelow;
  } else {
    return 0.0;
  }
  const double t = std::clamp(way, 0.0, 1.0);
  return (t - (2.0 * t * t * (t - 1.5) + t) * knee) * range;
}
