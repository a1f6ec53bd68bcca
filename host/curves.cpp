#include "host/curves.h"

#include <cmath>
#include <numbers>

#include "host/parameter_record.h"

namespace {

/// NaN gives `low`.
double clampTo(double x, double low, double high) noexcept {
  if (!(x > low)) return low;
  return x < high ? x : high;
}

double floorToMultiple(double whole, double step) noexcept {
  return whole - std::fmod(whole, step);
}

double plainOf(double x, double min, double max, std::int32_t curve) noexcept {
  const double r = max - min;
  const double lin = r * x + min;
  const double s = (r + 1.0) * x + min;
  const double c = 2.0 * x - 1.0;
  switch (curve) {
    case kCurveLinear:
      return lin;
    case kCurveExponential:
      return min * std::exp(std::log(max / min) * x);
    case kCurveSquare:
      return r * x * x + min;
    case kCurveCube:
      return r * x * x * x + min;
    case kCurveWhole:
      // The normalised value of a whole number is the lower edge of its slice: a small offset moves
      // it inside.
      return std::floor(s + 0.00001);
    case kCurveMultipleOf6:
      return floorToMultiple(std::floor(s + 0.5), 6.0);
    case kCurveSwitch:
    case kCurveFloor:
      return std::floor(lin);
    case kCurveMultipleOf12:
      return floorToMultiple(std::floor(s), 12.0);
    case kCurveCentredCube:
      return (c * c * c * 0.5 + 0.5) * r + min;
    case kCurveOctaves:
      return std::floor(std::exp2(std::floor(std::log(max / min) * x / std::numbers::ln2)) * min);
    case kCurveFourthPower:
      return r * (x * x) * (x * x) + min;
    default:
      return 0.0;
  }
}

double normalisedOf(double plain, double min, double max, std::int32_t curve) noexcept {
  const double d = plain - min;
  const double r = max - min;
  switch (curve) {
    case kCurveLinear:
    case kCurveSwitch:
    case kCurveFloor:
      return d / r;
    case kCurveExponential:
      return std::log(plain / min) / std::log(max / min);
    case kCurveSquare:
      return std::sqrt(d / r);
    case kCurveCube:
      return std::cbrt(d / r);
    case kCurveWhole:
    case kCurveMultipleOf6:
    case kCurveMultipleOf12:
      return d / (r + 1.0);
    case kCurveCentredCube:
      return 0.5 * std::cbrt(2.0 * d / r - 1.0) + 0.5;
    case kCurveOctaves:
      return std::floor(std::log(plain / min)) / std::log(max / min);
    case kCurveFourthPower:
      return std::pow(d / r, 0.25);
    default:
      return 0.0;
  }
}

}  // namespace

float normalisedToPlain(float normalised, float min, float max, std::int32_t curve) noexcept {
  const auto low = static_cast<double>(min);
  const auto high = static_cast<double>(max);
  const double x = clampTo(static_cast<double>(normalised), 0.0, 1.0);
  return static_cast<float>(clampTo(plainOf(x, low, high, curve), low, high));
}

float plainToNormalised(float plain, float min, float max, std::int32_t curve) noexcept {
  const auto low = static_cast<double>(min);
  const auto high = static_cast<double>(max);
  const double clamped = clampTo(static_cast<double>(plain), low, high);
  return static_cast<float>(clampTo(normalisedOf(clamped, low, high, curve), 0.0, 1.0));
}
