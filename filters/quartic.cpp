#include "filters/quartic.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace filters {

double largestCubicRoot(double a, double b, double c) noexcept {
  // With x = t - a / 3: t^3 - 3 p t + 2 q.
  const double third = a / 3.0;
  const double p = third * third - b / 3.0;
  const double q = third * third * third + 0.5 * (c - third * b);
  const double discriminant = q * q - p * p * p;
  if (discriminant <= 0.0 && p > 0.0) {  // three real roots, by their angle
    const double angle = std::acos(std::clamp(-q / (p * std::sqrt(p)), -1.0, 1.0));
    return 2.0 * std::sqrt(p) * std::cos(angle / 3.0) - third;
  }
  // Cardano's formula; the sum without cancellation comes first.
  const double u = -std::cbrt(q + std::copysign(std::sqrt(discriminant), q));
  return (u == 0.0 ? 0.0 : u + p / u) - third;
}

std::array<Quadratic, 2> splitQuartic(double a, double b, double c, double d) noexcept {
  // Ferrari's method. With x = y - a / 4: y^4 + p y^2 + q y + r, which a root of the resolvent
  // turns into a difference of two squares.
  const double h = 0.25 * a;
  const double p = b - 6.0 * h * h;
  const double q = c - 2.0 * b * h + 8.0 * h * h * h;
  const double r = d - c * h + b * h * h - 3.0 * h * h * h * h;
  const double m = std::max(0.0, largestCubicRoot(p, 0.25 * p * p - r, -0.125 * q * q));
  const double middle = 0.5 * p + m;
  // The factors are y^2 +- slope y + middle -+ apart. Of slope = sqrt(2 m), apart^2 = middle^2 - r
  // and 2 slope apart = q, take the two without cancellation.
  double slope = std::sqrt(2.0 * m);
  double apart = std::copysign(std::sqrt(std::max(0.0, middle * middle - r)), q);
  if (m * (std::abs(p) + std::abs(middle)) > apart * apart) {
    apart = 0.5 * q / slope;
  } else if (apart != 0.0) {
    slope = 0.5 * q / apart;
  }
  // y = x + h
  const auto shifted = [h](double linear, double constant) {
    return Quadratic{2.0 * h + linear, h * h + linear * h + constant};
  };
  return {shifted(slope, middle - apart), shifted(-slope, middle + apart)};
}

std::array<std::array<double, 3>, 2> splitPolynomial(const std::array<double, 5>& c) noexcept {
  if (c[0] != 0.0) {
    const auto [first, second] = splitQuartic(c[1] / c[0], c[2] / c[0], c[3] / c[0], c[4] / c[0]);
    return {{{c[0], c[0] * first[0], c[0] * first[1]}, {1.0, second[0], second[1]}}};
  }
  if (c[1] != 0.0) {
    const double a = c[2] / c[1];
    const double b = c[3] / c[1];
    const double root = largestCubicRoot(a, b, c[4] / c[1]);
    // The rest of x^3 + a x^2 + b x + .. after dividing by (x - root).
    return {{{0.0, c[1], -c[1] * root}, {1.0, a + root, b + (a + root) * root}}};
  }
  return {{{0.0, 0.0, 1.0}, {c[2], c[3], c[4]}}};
}

}  // namespace filters
