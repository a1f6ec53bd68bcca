#include "filters/blt_eq.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace {

constexpr double kTwoPi = 2.0 * std::numbers::pi;

// s = (2 pi / T) (1 - 1/z) / (1 + 1/z) in a row in rad/s; b0, b1, b2, a1, a2.
std::array<double, 5> bilinear(const AnalogRow& row, double warpHz, double sampleRate) noexcept {
  const auto& [n2, n1, n0, d2, d1, d0] = row;
  // At 0 Hz take the limit, a constant section: 0 / 0 would stay in the state for ever.
  const double T = warpHz == 0.0 ? std::numbers::pi / sampleRate
                                 : std::tan(kTwoPi * warpHz / (2.0 * sampleRate)) / warpHz;
  if (n0 == 0.0 && d0 == 0.0) {
    const double a0 = T * d1 + kTwoPi * d2;
    return {(T * n1 + kTwoPi * n2) / a0, (T * n1 - kTwoPi * n2) / a0, 0.0,
            (T * d1 - kTwoPi * d2) / a0, 0.0};
  }
  const double P = kTwoPi * kTwoPi;
  const double U = kTwoPi * T;
  const double V = T * T;
  const double a0 = d2 * P + d1 * U + d0 * V;
  return {(n2 * P + n1 * U + n0 * V) / a0, 2.0 * (n0 * V - n2 * P) / a0,
          (n2 * P - n1 * U + n0 * V) / a0, 2.0 * (d0 * V - d2 * P) / a0,
          (d2 * P - d1 * U + d0 * V) / a0};
}

}  // namespace

void BLTEQ::update() noexcept {
  if (isOut()) {
    setSectionCount(1);
    resetCoefficients(false);
    storeFlat(true);
    return;
  }
  AnalogSections radian;
  if (!takeRows(radian)) return;
  const double rate = sampleRate;
  std::array<double, 5 * kMaxSections> result{};
  for (std::size_t i = 0; i < static_cast<std::size_t>(radian.count); ++i) {
    const double d2 = radian.rows[i][3];
    const double d0 = radian.rows[i][5];
    const double poleHz =
        d2 == 0.0 || d0 == 0.0 ? double{frequency} : std::sqrt(std::abs(d0 / d2)) / kTwoPi;
    const auto section = bilinear(radian.rows[i], std::min(0.45 * rate, poleHz), rate);
    std::copy(section.begin(), section.end(), result.begin() + static_cast<std::ptrdiff_t>(5 * i));
  }
  storeFlat(false);
  setCoefficients(result.data(), radian.count);
}
