#include "filters/match_fit.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

using Vector = MatchFit::Vector;

constexpr double kLowestHz = 20.0;
constexpr double kLeastMove = 1e-8;            // relative to a parameter, or to 1 if that is more
constexpr double kReciprocalOfZero = 10000.0;  // for a vanishing curvature
constexpr int kLostSteps = 3;                  // steps without progress that end a fit

// Sums run in several lanes: a single lane would wait for each addition.
constexpr std::size_t kLanes = 4;
using Lanes = std::array<double, kLanes>;

double total(const Lanes& lanes) noexcept { return (lanes[0] + lanes[1]) + (lanes[2] + lanes[3]); }

double dot(const Vector& a, const Vector& b) noexcept {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

double curvatureReciprocal(double curvature) noexcept {
  return curvature == 0.0 ? kReciprocalOfZero : 1.0 / curvature;
}

Vector times(const std::array<Vector, 4>& matrix, const Vector& v) noexcept {
  return {dot(matrix[0], v), dot(matrix[1], v), dot(matrix[2], v), dot(matrix[3], v)};
}

}  // namespace

void MatchFit::prepare(double sampleRate) noexcept {
  gridRate = sampleRate;
  const double logLow = std::log(kLowestHz);
  const double logSpan = std::log(sampleRate / 2.0) - logLow;
  for (std::size_t i = 0; i < kPoints; ++i) {
    const double hz = std::exp(logLow + static_cast<double>(i) * logSpan / (kPoints - 1));
    omega[i] = 2.0 * std::numbers::pi * hz / sampleRate;
    cos1[i] = std::cos(omega[i]);
    sin1[i] = std::sin(omega[i]);
    cos2[i] = std::cos(2.0 * omega[i]);
    sin2[i] = std::sin(2.0 * omega[i]);
  }
}

void MatchFit::fitSection(DigitalSection& section, const Points& wanted, double ceiling, int tries,
                          double floor) noexcept {
  if (section[0] == 0.0) return;
  start(section, wanted);
  const double firstError = error;
  // Nothing to improve; NaN ends here, too.
  if (!(firstError > floor)) return;
  int lost = 0;
  for (int i = 1; i < tries && lost < kLostSteps; ++i) {
    if (!step()) ++lost;
  }
  if (error < ceiling && error < firstError) section = fitted();
}

void MatchFit::start(const DigitalSection& section, const Points& wanted) noexcept {
  x = {section[1] / section[0], section[2] / section[0], section[3], section[4]};
  target = wanted;
  inverseHessian = {};
  for (std::size_t i = 0; i < 4; ++i) inverseHessian[i][i] = 1.0;
  maxStep = 100.0 * std::max(4.0, std::sqrt(dot(x, x)));
  error = errorOf();
  sumGradient();
}

DigitalSection MatchFit::fitted() const noexcept {
  return {gain, gain * x[0], gain * x[1], x[2], x[3]};
}

void MatchFit::reflectPoles() noexcept {
  double& a1 = x[2];
  double& a2 = x[3];
  const double discriminant = a1 * a1 - 4.0 * a2;
  if (discriminant > 0.0) {
    const double root = std::sqrt(discriminant);
    double r1 = 0.5 * (-a1 + root);
    double r2 = 0.5 * (-a1 - root);
    if (std::abs(r1) > 1.0) r1 = 1.0 / r1;
    if (std::abs(r2) > 1.0) r2 = 1.0 / r2;
    // Computed anew even if the poles stay: see `step`.
    a1 = -r1 - r2;
    a2 = r1 * r2;
  }
  if (std::abs(a2) > 1.0) {
    a2 = 1.0 / a2;
    a1 *= a2;
  }
}

double MatchFit::errorOf() noexcept {
  reflectPoles();
  const auto [b1, b2, a1, a2] = x;
  for (std::size_t i = 0; i < kPoints; ++i) {
    const double nRe = cos2[i] + b1 * cos1[i] + b2;
    const double nIm = sin2[i] + b1 * sin1[i];
    const double dRe = cos2[i] + a1 * cos1[i] + a2;
    const double dIm = sin2[i] + a1 * sin1[i];
    const double denominator = dRe * dRe + dIm * dIm;
    magnitude[i] = std::sqrt((nRe * nRe + nIm * nIm) / (denominator == 0.0 ? 0.001 : denominator));
  }
  Lanes products{};
  Lanes squares{};
  for (std::size_t i = 0; i < kPoints; i += kLanes) {
    for (std::size_t k = 0; k < kLanes; ++k) {
      products[k] += target[i + k] * magnitude[i + k];
      squares[k] += magnitude[i + k] * magnitude[i + k];
    }
  }
  const double power = total(squares);
  gain = total(products) / (power > 0.0 ? power : 0.0001);
  Lanes errors{};
  for (std::size_t i = 0; i < kPoints; i += kLanes) {
    for (std::size_t k = 0; k < kLanes; ++k) {
      const double off = gain * magnitude[i + k] - target[i + k];
      errors[k] += off * off;
    }
  }
  return total(errors);
}

// By the chain rule through the numerator and denominator of each magnitude, as `errorOf` left
// them. Since the gain is the best one, the error does not depend on it to first order.
void MatchFit::sumGradient() noexcept {
  previousGradient = gradient;
  const auto [b1, b2, a1, a2] = x;
  std::array<Lanes, 4> sums{};
  for (std::size_t i = 0; i < kPoints; i += kLanes) {
    for (std::size_t k = 0; k < kLanes; ++k) {
      const std::size_t p = i + k;
      const double nRe = cos2[p] + b1 * cos1[p] + b2;
      const double nIm = sin2[p] + b1 * sin1[p];
      const double dRe = cos2[p] + a1 * cos1[p] + a2;
      const double dIm = sin2[p] + a1 * sin1[p];
      const double numerator = nRe * nRe + nIm * nIm;
      const double denominator = dRe * dRe + dIm * dIm;
      const double weight = 2.0 * gain * (gain * magnitude[p] - target[p]) * magnitude[p];
      // At a zero or pole exactly on the unit circle the slope is undefined.
      const double byN = numerator == 0.0 ? 0.0 : weight / numerator;
      const double byD = denominator == 0.0 ? 0.0 : weight / denominator;
      sums[0][k] += byN * (nRe * cos1[p] + nIm * sin1[p]);
      sums[1][k] += byN * nRe;
      sums[2][k] -= byD * (dRe * cos1[p] + dIm * sin1[p]);
      sums[3][k] -= byD * dRe;
    }
  }
  for (std::size_t j = 0; j < 4; ++j) gradient[j] = total(sums[j]);
}

// W. H. Press et al.: Numerical Recipes in C, 1992, chapter 10.7: the variable metric method
bool MatchFit::step() noexcept {
  direction = times(inverseHessian, gradient);
  const double size = std::sqrt(dot(direction, direction));
  const double scale = size > maxStep ? -maxStep / size : -1.0;
  for (double& d : direction) d *= scale;
  const Vector from = x;
  const bool progress = backtrack(from);
  if (!progress) {
    x = from;
    error = errorOf();
  }
  // After a lost step, too: the last digits of the poles then change the next direction, which
  // sometimes frees a fit that is stuck.
  sumGradient();
  updateHessian({x[0] - from[0], x[1] - from[1], x[2] - from[2], x[3] - from[3]});
  return progress;
}

double MatchFit::errorAt(const Vector& from, double alpha) noexcept {
  for (std::size_t i = 0; i < 4; ++i) x[i] = from[i] + alpha * direction[i];
  return errorOf();
}

// Halves the step until the error is half of what it was or has begun to rise again.
bool MatchFit::backtrack(const Vector& from) noexcept {
  double most = 0.0;
  for (std::size_t i = 0; i < 4; ++i) {
    most = std::max(most, std::abs(direction[i]) / std::max(std::abs(from[i]), 1.0));
  }
  const double leastAlpha = kLeastMove / most;
  const double before = error;
  double last = 0.0;
  for (double alpha = 1.0; alpha >= leastAlpha; alpha *= 0.5) {
    error = errorAt(from, alpha);
    if (error > last && last < before && last != 0.0) {
      error = errorAt(from, 2.0 * alpha);
      return true;
    }
    if (error <= before / 2.0) return true;
    last = error;
  }
  return false;
}

void MatchFit::updateHessian(const Vector& moved) noexcept {
  Vector change;
  for (std::size_t i = 0; i < 4; ++i) change[i] = gradient[i] - previousGradient[i];
  const Vector turned = times(inverseHessian, change);
  const double turnedCurvature = dot(change, turned);
  const double byMove = curvatureReciprocal(dot(change, moved));
  const double byTurned = curvatureReciprocal(turnedCurvature);
  Vector u;
  for (std::size_t i = 0; i < 4; ++i) u[i] = byMove * moved[i] - byTurned * turned[i];
  for (std::size_t i = 0; i < 4; ++i) {
    for (std::size_t j = 0; j < 4; ++j) {
      inverseHessian[i][j] += byMove * moved[i] * moved[j] - byTurned * turned[i] * turned[j] +
                              turnedCurvature * u[i] * u[j];
    }
  }
}
