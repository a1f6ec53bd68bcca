#include "filters/prototypes.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "platform/index.h"

namespace filters {
namespace {

constexpr int kMaxOrder = 2 * AnalogSections::kMaxRows;

// Nine digits on purpose: more would change every shelf in its ninth digit.
constexpr double kHalfRoot = 0.707106781;
constexpr double kRoot = 1.41421356;

struct ShelfQ {
  double numerator;
  double denominator;
};

// Q acts with the exponent |gain| / 16 dB: fully at 16 dB, not at all at 0 dB.
ShelfQ shelfQ(double gainDb, double q, float parameterA) noexcept {
  const float spread = parameterA * 0.01F;
  const double d = q < kHalfRoot ? 0.0 : (q - kHalfRoot) * static_cast<double>(spread);
  const double e = std::abs(gainDb) * 0.0625;
  return {std::pow((q - d) * kRoot, e) * kHalfRoot, std::pow((q + d) * kRoot, e) * kHalfRoot};
}

AnalogRow shelf(double gainDb, double q, float parameterA, bool high) noexcept {
  const double gain = std::pow(10.0, gainDb / 20.0);
  const double x = std::max(gain, 1.0 / gain);
  const ShelfQ shape = shelfQ(gainDb, q, parameterA);
  const double n1 = std::sqrt(x) / shape.numerator;
  const double d1 = 1.0 / shape.denominator;
  const double n2 = high ? x : 1.0;
  const double n0 = high ? 1.0 : x;
  // A cut is the reciprocal of the boost of the same size.
  if (gain < 1.0) return {1.0, d1, 1.0, n2, n1, n0};
  return {n2, n1, n0, 1.0, d1, 1.0};
}

// `makeRow(k)` gives the k-th second-order row.
template <typename MakeRow>
AnalogSections passSections(int order, const AnalogRow& firstOrder, MakeRow makeRow) noexcept {
  AnalogSections sections;
  const int pairs = order / 2;
  for (int k = 0; k < pairs; ++k) sections.rows[at(k)] = makeRow(k);
  if (order % 2 != 0) sections.rows[at(pairs)] = firstOrder;
  sections.count = (order + 1) / 2;
  return sections;
}

}  // namespace

AnalogSections stackedLowPass(int order, double q) noexcept {
  const AnalogRow row{0.0, 0.0, 1.0, 1.0, 1.0 / q, 1.0};
  return passSections(std::clamp(order, 0, kMaxOrder), {0.0, 1.0, 0.0, 1.0, 1.0, 0.0},
                      [&](int) { return row; });
}

AnalogSections shiftedLowPass(int order) noexcept {
  const int n = std::clamp(order, 0, kMaxOrder);
  const int pairs = n / 2;
  const int odd = n % 2;
  const double w = pairs == 0 ? 1.0 : std::sqrt(2.0 * pairs / (std::sqrt(odd + 4.0 * pairs) - odd));
  const AnalogRow row{0.0, 0.0, w * w, 1.0, std::numbers::sqrt2 * w, w * w};
  return passSections(n, {0.0, w, 0.0, 1.0, w, 0.0}, [&](int) { return row; });
}

AnalogSections butterworthLowPass(int order) noexcept {
  const int n = std::clamp(order, 0, kMaxOrder);
  return passSections(n, {0.0, 1.0, 0.0, 1.0, 1.0, 0.0}, [n](int k) {
    const double angle = (2 * k + 1 + n) * std::numbers::pi / (2 * n);
    return AnalogRow{0.0, 0.0, 1.0, 1.0, -2.0 * std::cos(angle), 1.0};
  });
}

void mirrorSections(AnalogSections& sections) noexcept {
  for (int i = 0; i < sections.count; ++i) {
    auto& [n2, n1, n0, d2, d1, d0] = sections.rows[at(i)];
    const bool firstOrder = n0 == 0.0 && d0 == 0.0;
    std::swap(n2, firstOrder ? n1 : n0);
    std::swap(d2, firstOrder ? d1 : d0);
  }
}

void applyPassGain(AnalogSections& sections, int order, double gainDb) noexcept {
  const int n = std::clamp(order, 0, kMaxOrder);
  if (gainDb == 0.0 || n == 0) return;
  const int scaledRows = n == 1 ? 1 : (n + 1) / 2 - n % 2;
  const double c = std::pow(10.0, gainDb / (20.0 * scaledRows));
  for (int i = 0; i < scaledRows; ++i) {
    AnalogRow& row = sections.rows[at(i)];
    for (std::size_t numerator = 0; numerator < 3; ++numerator) row[numerator] *= c;
  }
}

AnalogRow lowShelf(double gainDb, double q, float parameterA) noexcept {
  return shelf(gainDb, q, parameterA, false);
}

AnalogRow highShelf(double gainDb, double q, float parameterA) noexcept {
  return shelf(gainDb, q, parameterA, true);
}

double peakEffectiveQ(double gainDb, double q, double parameterA) noexcept {
  const double a = std::pow(10.0, gainDb / 40.0);
  const double b = a > 1.0 ? 1.0 / a : a;
  if (b == 1.0) return q;
  const double p = std::pow(10.0, -parameterA * 0.12 / 20.0);
  const double v = (1.0 - 1.0 / (b * b)) / (q * q) - 2.0;
  const double r = (-v - std::sqrt(v * v - 4.0)) / 2.0;
  const double t = std::pow(b, 1.0 / p);
  const double spread = 2.0 - (r * r + 1.0) / r;
  // So close to 0 dB that it rounds to unity: avoids 0 / 0.
  if (!(spread < 0.0)) return q;
  return std::sqrt((1.0 - 1.0 / (t * t)) / spread);
}

AnalogRow peak(double gainDb, double effectiveQ) noexcept {
  const double a = std::pow(10.0, gainDb / 40.0);
  return {1.0, a / effectiveQ, 1.0, 1.0, 1.0 / (effectiveQ * a), 1.0};
}

AnalogRow bandPass(double gainDb, double effectiveQ) noexcept {
  const double a = std::pow(10.0, gainDb / 40.0);
  return {0.0, a * a / effectiveQ, 0.0, 1.0, 1.0 / effectiveQ, 1.0};
}

AnalogRow notch(double q) noexcept { return {1.0, 0.0, 1.0, 1.0, 1.0 / q, 1.0}; }

AnalogRow allpass(double q) noexcept { return {1.0, -1.0 / q, 1.0, 1.0, 1.0 / q, 1.0}; }

}  // namespace filters
