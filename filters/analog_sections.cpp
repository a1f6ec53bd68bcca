#include "filters/analog_sections.h"

#include <cmath>

void scaleSections(AnalogRow* rows, int count, double w) noexcept {
  const double wSquared = w * w;
  for (int i = 0; i < count; ++i) {
    auto& [n2, n1, n0, d2, d1, d0] = rows[i];
    n1 *= w;
    d1 *= w;
    n0 *= wSquared;
    d0 *= wSquared;
  }
}

double analogMagnitude(const AnalogRow* rows, int count, double frequency) noexcept {
  const double f = frequency;
  double numerators = 1.0;
  double denominators = 1.0;
  for (int i = 0; i < count; ++i) {
    const auto& [n2, n1, n0, d2, d1, d0] = rows[i];
    if (n0 != 0.0 || d0 != 0.0) {
      const double nRe = n0 - f * f * n2;
      const double dRe = d0 - f * f * d2;
      numerators *= nRe * nRe + (f * n1) * (f * n1);
      denominators *= dRe * dRe + (f * d1) * (f * d1);
    } else if (n1 != 0.0 || d1 != 0.0) {
      numerators *= n1 * n1 + (f * n2) * (f * n2);
      denominators *= d1 * d1 + (f * d2) * (f * d2);
    } else {
      numerators *= n2 * n2;
      denominators *= d2 * d2;
    }
  }
  if (denominators == 0.0) return numerators == 0.0 ? 1.0 : 0.0;
  return std::sqrt(numerators / denominators);
}
