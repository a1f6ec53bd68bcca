#pragma once

#include <array>

/// Splits polynomials into real quadratic factors. Pure functions; any thread.
namespace filters {

/// x^2 + [0] x + [1].
using Quadratic = std::array<double, 2>;

/// The largest real root of x^3 + a x^2 + b x + c (G. Cardano).
[[nodiscard]] double largestCubicRoot(double a, double b, double c) noexcept;

/// The two quadratic factors of x^4 + a x^3 + b x^2 + c x + d (L. Ferrari).
[[nodiscard]] std::array<Quadratic, 2> splitQuartic(double a, double b, double c,
                                                    double d) noexcept;

/// Splits c[0] x^4 + c[1] x^3 + .. + c[4] into a product of two polynomials of second degree or
/// less, highest power first; c[0] and c[1] may be 0.
[[nodiscard]] std::array<std::array<double, 3>, 2> splitPolynomial(
    const std::array<double, 5>& c) noexcept;

}  // namespace filters
