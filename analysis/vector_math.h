#pragma once

#include "analysis/vector_types.h"

// Logarithm and power by short polynomials. Like `vector_types.h`, one copy per instruction set.

namespace {  // NOLINT(google-build-namespaces, cert-dcl59-cpp): one copy per instruction set

template <int lanes>
struct BitsOf {
  typedef unsigned long long Type  // NOLINT(google-runtime-int): the vector extension's own
      __attribute__((vector_size(sizeof(double) * lanes),
                     aligned(8)));  // NOLINT(modernize-use-using): an alias drops the attributes
};
template <int lanes>
using Bits = typename BitsOf<lanes>::Type;

/// a * b + c, with one rounding if the processor can do that. For polynomials, whose last bit does
/// not matter.
template <int lanes>
inline Vector<lanes> multiplyAdd(Vector<lanes> a, Vector<lanes> b, Vector<lanes> c) noexcept {
#if defined(__AVX512F__)
  if constexpr (lanes == 8) {
    return __builtin_ia32_vfmaddpd512_mask(a, b, c, static_cast<unsigned char>(-1), 4);
  }
#endif
#if defined(__FMA__)
  if constexpr (lanes == 4) return __builtin_ia32_vfmaddpd256(a, b, c);
  if constexpr (lanes == 2) return __builtin_ia32_vfmaddpd(a, b, c);
#endif
  return a * b + c;
}

/// c[0] + x c[1] + x^2 c[2] + ...
template <int lanes, int count>
inline Vector<lanes> polynomial(Vector<lanes> x, const double (&c)[count]) noexcept {
  Vector<lanes> y = broadcast<lanes>(c[count - 1]);
  for (int i = count - 2; i >= 0; --i) y = multiplyAdd<lanes>(y, x, broadcast<lanes>(c[i]));
  return y;
}

/// 20 log10 of normal numbers > 0, to 1e-11 dB.
template <int lanes>
inline Vector<lanes> toDecibels(Vector<lanes> x) noexcept {
  // x = 2^e m with m in sqrt(1/2) .. sqrt(2); ln m = 2 artanh(s) with s = (m - 1) / (m + 1), its
  // series in s^2 below 0.0295.
  constexpr unsigned long long kHalfRoot = 0x3fe6a09e667f3bcd;  // NOLINT(google-runtime-int)
  constexpr unsigned long long kOne = 0x3ff0000000000000;       // NOLINT(google-runtime-int)
  constexpr double kTwoTo52 = 4503599627370496.0;
  const auto bits = (Bits<lanes>)x;  // NOLINT(google-readability-casting): as bits
  const Bits<lanes> biased = (bits + (kOne - kHalfRoot)) >> 52;
  const auto m = (Vector<lanes>)(bits - ((biased - 1023) << 52));  // NOLINT: as a number
  // The exponent as the low bits of a number of exponent 52.
  const auto e = (Vector<lanes>)(biased | 0x4330000000000000) - (kTwoTo52 + 1023.0);  // NOLINT
  const Vector<lanes> s = (m - 1.0) / (m + 1.0);
  constexpr double kPerNeper = 8.68588963806503655;   // 20 / ln 10
  constexpr double kPerOctave = 6.02059991327962390;  // 20 log10 2
  constexpr double kSeries[] = {2 * kPerNeper,     2 * kPerNeper / 3, 2 * kPerNeper / 5,
                                2 * kPerNeper / 7, 2 * kPerNeper / 9, 2 * kPerNeper / 11,
                                2 * kPerNeper / 13};
  return multiplyAdd<lanes>(s, polynomial<lanes>(s * s, kSeries), e * kPerOctave);
}

/// 10^(x / 20) to 1e-10 dB for -6000 .. 6000 dB; 1 exactly at 0.
template <int lanes>
inline Vector<lanes> fromDecibels(Vector<lanes> x) noexcept {
  constexpr double kOctavesPerDecibel = 0.166096404744368117;  // 1 / (20 log10 2)
  constexpr double kRound =
      6755399441055744.0;  // 1.5 * 2^52: leaves the whole part in the low bits
  const Vector<lanes> octaves = x * kOctavesPerDecibel;
  const Vector<lanes> rounded = octaves + kRound;
  const Vector<lanes> part = octaves - (rounded - kRound);  // -0.5 .. 0.5
  // 2^part: ln(2)^n / n!
  constexpr double kSeries[] = {1.0,
                                0.693147180559945309,
                                0.240226506959100712,
                                0.0555041086648215800,
                                0.00961812910762847716,
                                0.00133335581464284434,
                                0.000154035303933816099,
                                0.0000152527338040598403,
                                1.32154867901443095e-6,
                                1.01780860092396997e-7,
                                7.05491162080112333e-9};
  const Vector<lanes> power = polynomial<lanes>(part, kSeries);
  const auto bits = (Bits<lanes>)power + ((Bits<lanes>)rounded << 52);  // NOLINT: as bits
  return (Vector<lanes>)bits;                                           // NOLINT: as a number
}

}  // namespace
