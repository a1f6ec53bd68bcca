#include "filters/section_match.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "filters/least_squares.h"

namespace filters {
namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kTwoPi = 2.0 * kPi;
constexpr double kUnityDb = 0.01;

double square(double x) noexcept { return x * x; }
double fourthRoot(double x) noexcept { return std::sqrt(std::sqrt(x)); }

// tan of an angle that rounding may have moved beyond pi / 2. Limited, since exactly at Nyquist the
// poles would lie on the unit circle.
double warpTangent(double angle) noexcept { return std::min(std::abs(std::tan(angle)), 1e6); }

double rootOrZero(double x) noexcept { return x < 0.0 ? 0.0 : std::sqrt(x); }
double decibels(double gain) noexcept { return 20.0 * std::log10(gain); }

void scaleNumerator(DigitalSection& section, double factor) noexcept {
  for (std::size_t i = 0; i < 3; ++i) section[i] *= factor;
}

// A peak above half the rate: below it there is only a rise, from 1 at 0 Hz to G1 at Nyquist.
DigitalSection highPeakMatch(double G, double G1, double hz, double q, double rate) noexcept {
  if (G1 == 1.0) return {1.0, 0.0, 0.0, 0.0, 0.0};
  const double u = (G1 - 1.0) * q * q * G / (G1 - G * G);
  // (sqrt(1 - 4 u) + 2 u - 1) / (2 u) in the form that does not cancel for small u.
  const double root = std::sqrt(1.0 - 4.0 * u);
  const double m = std::sqrt((root - 1.0) / (root + 1.0)) * hz;
  const double T = 2.0 * std::tan(kTwoPi * m / (2.0 * rate));
  return {(T + G1) / (T + 1.0), (T - G1) / (T + 1.0), 0.0, (T - 1.0) / (T + 1.0), 0.0};
}

// Gain squared of the analog low-pass at an angle in radians per sample.
double lowpassPower(double angle, double w, double Y) noexcept {
  const double squared = angle * angle;
  return 1.0 / (squared / Y + square(1.0 - squared / (w * w)));
}

// The frequency at which the low-pass is met exactly, as the tangent of half the angle.
double lowpassPoint(double Q, double X, double w) noexcept {
  if (Q >= std::numbers::sqrt2 / 2.0) {
    const double h = std::sqrt(4.0 * Q * Q - 1.0);
    const double k = 2.0 * Q * Q;
    const double A = warpTangent(std::sqrt(1.0 - 1.0 / k) * w / 2.0);
    if (A < 1e-6) return 0.0;
    return fourthRoot(std::max(0.0, (k * k - X * X * h * h) / (k * k - h * h))) * A;
  }
  const double Q2 = Q * Q;
  const double R = rootOrZero((1.0 - 4.0 * Q2) / (Q2 * Q2) + 4.0 / X);
  return std::min(fourthRoot(1.0 - X * X) * w / 2.0,
                  std::tan(rootOrZero((R + 2.0 - 1.0 / Q2) / 2.0) * w / 2.0));
}

// Replaces `value` by the root of its square found by least squares, unless nothing was found.
void takeRoot(double& value, double squared) noexcept {
  if (squared != 0.0) value = std::sqrt(std::abs(squared));
}

// A second-order row normalised to the corner of its denominator:
// (hi s^2 + q sqrt(hi lo) s + lo) / (s^2 + d s + 1), s in units of f0.
struct Normalised {
  double hi;
  double lo;
  double q;
  double d;
  double f0;           // Hz
  double nyquistGain;  // of the analog row
  double upper = 0.0;  // where the gain has an extremum, in units of f0, or 0
  double lower = 0.0;  // the lower one of two
};

// Squares of the frequencies (rad/s) between 0 and infinity at which the gain has an extremum; 0
// for none.
std::array<double, 2> extrema(double N2, double N1, double N0, double D1, double D0) noexcept {
  const double A = 2.0 * N0 * N2 - N1 * N1 + N2 * N2 * D1 * D1 - 2.0 * N2 * N2 * D0;
  const double B = N2 * N2 * D0 * D0 - N0 * N0;
  const double C =
      2.0 * N0 * N0 * D0 - N0 * N0 * D1 * D1 + N1 * N1 * D0 * D0 - 2.0 * N0 * N2 * D0 * D0;
  if (A == 0.0) {
    const double only = C / (-2.0 * B);
    return {only > 0.0 && std::isfinite(only) ? only : 0.0, 0.0};
  }
  const double b = B / A;
  const double squaredRoot = b * b - C / A;
  if (!(squaredRoot > 0.0)) return {0.0, 0.0};
  const double R = std::sqrt(squaredRoot);
  return {std::max(0.0, R - b), std::max(0.0, -b - R)};
}

Normalised normalise(const AnalogRow& row, double rate) noexcept {
  const double d2 = row[3];
  const double N2 = row[0] / d2;
  const double N1 = row[1] / d2;
  const double N0 = row[2] / d2;
  const double D1 = row[4] / d2;
  const double D0 = row[5] / d2;
  const double w0 = std::sqrt(D0);
  Normalised out{N2, N0 / D0, 0.0, D1 / w0, w0 / kTwoPi, 0.0};
  const double n = N1 / w0;
  if (out.hi != 0.0 && out.lo != 0.0) out.q = n / std::sqrt(out.hi * out.lo);
  const double t = rate / (2.0 * out.f0);
  out.nyquistGain = std::hypot(out.lo - t * t * out.hi, t * n) / std::hypot(1.0 - t * t, t * out.d);
  const auto points = extrema(N2, N1, N0, D1, D0);
  out.upper = std::sqrt(std::max(points[0], points[1])) / w0;
  out.lower = std::sqrt(std::min(points[0], points[1])) / w0;
  return out;
}

void invert(Normalised& row) noexcept {
  row.nyquistGain = 1.0 / row.nyquistGain;
  row.hi = 1.0 / row.hi;
  row.lo = 1.0 / row.lo;
  const double ratio = std::sqrt(row.hi / row.lo);
  row.f0 *= ratio;
  row.upper /= ratio;
  row.lower /= ratio;
  std::swap(row.d, row.q);
}

// Shaped like a bilinear transform, but with the prescribed gain at Nyquist and the widths of both
// sides chosen so that the gain is met at up to four frequencies.
DigitalSection secondOrderMatch(const Normalised& row, double rate) noexcept {
  const auto& [hi, lo, q0, d0, f0, G, upper, lowerExtremum] = row;
  double lower = lowerExtremum;
  if (lower == 0.0) lower = upper > 0.0 ? upper : 1.0;
  const double warp = std::min({1.0, lower, rate / (2.0 * f0)});
  const double T = warpTangent(kTwoPi * f0 * warp / (2.0 * rate)) / warp;
  const double V = T * T;
  LeastSquares equations;
  const auto meetAt = [&, hi = hi, lo = lo, q0 = q0, d0 = d0, f0 = f0, G = G](double ratio) {
    const double angle = kTwoPi * f0 * ratio / rate;
    const double c = std::cos(angle);
    const double weight = 4.0 * V * square(std::sin(angle));
    const double r2 = ratio * ratio;
    const double M =
        (r2 * q0 * q0 * hi * lo + square(lo - r2 * hi)) / (r2 * d0 * d0 + square(1.0 - r2));
    equations.addRow(
        weight * G * lo, -weight * M,
        4.0 * M * square((V + 1.0) * c + V - 1.0) - 4.0 * square((V * lo + G) * c + V * lo - G));
  };
  if (upper > 0.0 && upper * f0 < rate / 2.0) meetAt(upper);
  for (const double ratio : {lower, 1.0, 0.5}) meetAt(ratio);
  const auto squares = equations.solve();
  double q = q0;
  double d = d0;
  takeRoot(q, squares[0]);
  takeRoot(d, squares[1]);
  const double a0 = T * d + 1.0 + V;
  const double Y = std::sqrt(lo * G) * q * T;
  return {(Y + G + V * lo) / a0, 2.0 * (V * lo - G) / a0, (G - Y + V * lo) / a0,
          2.0 * (V - 1.0) / a0, (1.0 - T * d + V) / a0};
}

// Refines `q` by least squares so that the high-pass is met at its extrema, if any, at its corner
// and an octave below.
double highpassWidth(double q, double hz, double G, double V, std::array<double, 2> extremes,
                     double rate) noexcept {
  LeastSquares equations;
  for (const double ratio : {extremes[1], 1.0, 0.5, extremes[0]}) {
    if (ratio == 0.0) continue;
    const double angle = kTwoPi * hz * ratio / rate;
    const double c = std::cos(angle);
    const double r2 = ratio * ratio;
    const double M = r2 * r2 / (square(ratio * q) + square(1.0 - r2));
    equations.addRow(-square(std::sin(angle)) * V * M, 0.0,
                     square((V + 1.0) * c + V - 1.0) * M - square(G * (c - 1.0)));
  }
  takeRoot(q, equations.solve()[0]);
  return q;
}

RowShape classify(double N2, double N1, double N0, double D1, double D0, double rate) noexcept {
  if (N0 == 0.0 && D0 == 0.0) return D1 == 0.0 ? RowShape::kConstant : RowShape::kFirstOrder;
  if (std::abs(N0 - D0 * N2) < 1e-5 && D1 * N1 > 0.0 && std::abs(N2) > 1e-5) {
    return std::sqrt(D0) / kTwoPi <= rate / 2.0 ? RowShape::kPeak : RowShape::kHighPeak;
  }
  if (N2 == 0.0 && N0 == 0.0) return RowShape::kBandPass;
  if (N1 == 0.0 && N2 != 0.0 && N0 != 0.0) return RowShape::kNotch;
  if (N2 == 0.0 && N1 == 0.0) return RowShape::kLowPass;
  if (N0 == 0.0 && N1 == 0.0) return RowShape::kHighPass;
  return RowShape::kGeneral;
}

// N1 s / (s^2 + D1 s + D0): what a peak adds to 1.
DigitalSection bandPassMatch(double D1, double N1, double w0, double rate) noexcept {
  DigitalSection section =
      peakMatch(decibels((D1 + N1) / D1), w0 / kTwoPi, w0 / std::sqrt(D1 * (D1 + N1)), rate);
  section[0] -= 1.0;
  section[1] -= section[3];
  section[2] -= section[4];
  return section;
}

}  // namespace

// S. J. Orfanidis: Digital Parametric Equalizer Design with Prescribed Nyquist-Frequency Gain, 1997
DigitalSection peakMatch(double gainDb, double hz, double q, double rate) noexcept {
  const double v = std::pow(10.0, gainDb / 20.0);
  const double G = std::max(v, 1.0 / v) + 1e-10;
  const double t = 2.0 * hz / rate;
  const double c = square(1.0 - t * t);
  const double G1 = std::sqrt((t * t * G / (q * q) + c) / (t * t / (G * q * q) + c));
  if (hz > rate / 2.0) return highPeakMatch(G, G1, hz, q, rate);
  const double G2 = G * G;
  const double w = kTwoPi * hz / rate;
  const double T = warpTangent(w / 2.0);
  // Nothing lies above the peak, except by rounding for a peak at Nyquist.
  const double e = std::max(0.0, G2 - G1 * G1);
  const double W = e <= 1e-10 ? T * T : std::sqrt(e / (G2 - 1.0)) * T * T;
  const double E = 2.0 * W * (G2 - G1 - std::sqrt(e * (G2 - 1.0)));
  const double B = std::tan((std::sqrt(4.0 * q * q + 1.0) - 1.0) * w / (2.0 * q) * 0.5);
  const double p = B - W / B;
  const double r = B * G1 - W / B;
  const double X = (p * p * G - r * r + E) / (G2 - G);
  const double C = rootOrZero(X);
  const double D = rootOrZero(G2 * X - E);
  const double a0 = W + 1.0 + C;
  const DigitalSection boost{(W + G1 + D) / a0, -2.0 * (G1 - W) / a0, (G1 + W - D) / a0,
                             -2.0 * (1.0 - W) / a0, (W + 1.0 - C) / a0};
  return v >= 1.0 ? boost : reciprocalSection(boost);
}

DigitalSection firstOrderMatch(double hz, double high, double low, double rate) noexcept {
  if (high == low) return {high, 0.0, 0.0, 0.0, 0.0};
  const bool reciprocal = high > low && low != 0.0;
  const double A = reciprocal ? 1.0 / high : high;
  const double L = reciprocal ? 1.0 / low : low;
  const double f = reciprocal ? hz * (A / L) : hz;
  const double t = rate / (2.0 * f);
  const double g = std::sqrt((A * A * t * t + L * L) / (t * t + 1.0));
  const double m = (g * g + L * L) / 2.0;
  const double T = std::tan(std::sqrt((L * L - m) / (m - A * A)) * f * kTwoPi / (2.0 * rate));
  const DigitalSection plain{(T * L + g) / (T + 1.0), (T * L - g) / (T + 1.0), 0.0,
                             (T - 1.0) / (T + 1.0), 0.0};
  return reciprocal ? reciprocalSection(plain) : plain;
}

DigitalSection lowpassMatch(double hz, double q, double rate) noexcept {
  const double Q = std::abs(q - std::numbers::sqrt2 / 2.0) < 1e-10 ? q + 1e-6 : q;
  const double w = kTwoPi * hz / rate;
  const double Y = Q * Q * w * w;
  double X = 2.0 / std::sqrt(4.0 * kPi * kPi / Y + square(2.0 - 2.0 * kPi * kPi / (w * w)));
  if (std::abs(1.0 - X) < 1e-6) X -= 1e-6;
  const double T = lowpassPoint(Q, X, w);
  const double M1 = lowpassPower(2.0 * std::atan(T), w, Y);
  const double M2 = lowpassPower(2.0 * std::atan(T / std::sqrt(X)), w, Y);
  const double A = M1 - M2;
  const double C = X - 1.0;
  const auto atLeast = [](double S) { return std::abs(S) < 1e-6 ? 1e-6 : S; };
  const double S1 = atLeast(std::sqrt(A * X / ((M2 + X) * C * C)));
  const double S2 = atLeast(std::sqrt(A * X * X / ((M1 + X) * M2 * C * C)));
  const double P = T / S1;
  const double Z = std::sqrt(X) * T / S2;
  const double V = T * T;
  const double a0 = V + P + 1.0;
  return {(Z + V + X) / a0, 2.0 * (V - X) / a0, (V - Z + X) / a0, 2.0 * (V - 1.0) / a0,
          (V - P + 1.0) / a0};
}

DigitalSection highpassMatch(double hz, double q, double rate) noexcept {
  const double width = 1.0 / q;
  const double v = width * width;
  const bool hasPeak = v < 2.0;
  double r1 = hasPeak ? 1.0 / std::sqrt(2.0 - v) : 0.0;
  double r2 = hasPeak ? 2.0 / (2.0 - v) : 0.0;
  if (r1 * hz > rate / 2.0) r1 = 0.0;
  if (r2 * hz > rate / 2.0) r2 = 0.0;
  const double t = rate / (2.0 * hz);
  const double G = t * t / std::sqrt(square(t * width) + square(1.0 - t * t));
  double warp = r1;
  if (r1 == 0.0) {
    warp = std::min(1.0, t);
    if (r2 != 0.0) warp = std::min(warp, r2);
  }
  const double K = warpTangent(kTwoPi * hz * warp / (2.0 * rate)) / warp;
  const double V = K * K;
  const double Kq = K * highpassWidth(width, hz, G, V, {r1, r2}, rate);
  const double a0 = Kq + 1.0 + V;
  return {G / a0, -2.0 * G / a0, G / a0, 2.0 * (V - 1.0) / a0, (1.0 - Kq + V) / a0};
}

GeneralMatch generalMatch(const AnalogRow& row, double rate) noexcept {
  Normalised asked = normalise(row, rate);
  if (asked.upper == 0.0 && asked.f0 > rate / 2.0) {
    return {firstOrderMatch(asked.f0 / 2.0, asked.hi, asked.lo, rate), false};
  }
  const bool inverted = asked.lo < asked.hi && asked.lo != 0.0;
  if (inverted) invert(asked);
  if (asked.f0 > rate / 2.0) {
    return {firstOrderMatch(asked.f0 / 2.0, asked.hi, asked.lo, rate), inverted};
  }
  return {secondOrderMatch(asked, rate), inverted};
}

RowMatch matchRow(const AnalogRow& row, double rate) noexcept {
  const double N2 = row[0] / row[3];
  const double N1 = row[1] / row[3];
  const double N0 = row[2] / row[3];
  const double D1 = row[4] / row[3];
  const double D0 = row[5] / row[3];
  const double w0 = std::sqrt(D0);
  const double f = w0 / kTwoPi;
  RowMatch match;
  match.shape = classify(N2, N1, N0, D1, D0, rate);
  switch (match.shape) {
    case RowShape::kConstant:
      match.section = {N2, 0.0, 0.0, 0.0, 0.0};
      break;
    case RowShape::kFirstOrder:
      match.section = firstOrderMatch(std::abs(D1) / kTwoPi, N2, N1 / D1, rate);
      break;
    case RowShape::kPeak:
    case RowShape::kHighPeak: {
      const double P = N1 / N2;
      const double gainDb = decibels(P / D1);
      match.section = peakMatch(gainDb, f, w0 / std::sqrt(D1 * P), rate);
      scaleNumerator(match.section, N2);
      match.unity = std::abs(gainDb) <= kUnityDb;
      break;
    }
    case RowShape::kBandPass:
      match.section = bandPassMatch(D1, N1, w0, rate);
      break;
    case RowShape::kNotch:
      match.section = peakMatch(-120.0, f, w0 / (0.001 * D1), rate);
      break;
    case RowShape::kLowPass:
      match.section = lowpassMatch(f, std::abs(w0 / D1), rate);
      scaleNumerator(match.section, N0 / D0);
      break;
    case RowShape::kHighPass:
      match.section = highpassMatch(f, std::abs(w0 / D1), rate);
      scaleNumerator(match.section, N2);
      break;
    case RowShape::kGeneral: {
      const GeneralMatch general = generalMatch(row, rate);
      match.section = general.section;
      match.inverted = general.inverted;
      break;
    }
  }
  return match;
}

bool isStable(double a1, double a2) noexcept {
  const double h = -a1 / 2.0;
  const double x = h * h - a2;
  if (x < 0.0) return std::abs(a2) < 1.0;
  const double root = std::sqrt(x);
  return std::abs(h + root) < 1.0 && std::abs(h - root) < 1.0;
}

DigitalSection reciprocalSection(const DigitalSection& section) noexcept {
  const auto& [b0, b1, b2, a1, a2] = section;
  return {1.0 / b0, a1 / b0, a2 / b0, b1 / b0, b2 / b0};
}

}  // namespace filters
