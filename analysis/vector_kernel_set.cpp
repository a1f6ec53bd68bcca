// Compiled once for each instruction set, with the set's options and its name in `KERNEL_SET`.
// Everything but the table is in an unnamed namespace and nothing of the standard library is used,
// so that no function compiled for a wide processor can reach another file.

#include "analysis/vector_kernels.h"
#include "analysis/vector_math.h"

namespace {

template <int lanes>
struct Complex {
  Vector<lanes> re, im;
};
template <int lanes>
inline Complex<lanes> load(ConstPlanarSpan from, int at) noexcept {
  return {load<lanes>(from.re + at), load<lanes>(from.im + at)};
}
template <int lanes>
inline void store(PlanarSpan to, int at, Complex<lanes> x) noexcept {
  store<lanes>(to.re + at, x.re);
  store<lanes>(to.im + at, x.im);
}
template <int lanes>
inline Complex<lanes> operator+(Complex<lanes> a, Complex<lanes> b) noexcept {
  return {a.re + b.re, a.im + b.im};
}
template <int lanes>
inline Complex<lanes> operator-(Complex<lanes> a, Complex<lanes> b) noexcept {
  return {a.re - b.re, a.im - b.im};
}
template <int lanes>
inline Complex<lanes> operator*(Complex<lanes> a, Complex<lanes> b) noexcept {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}
/// i * a
template <int lanes>
inline Complex<lanes> turned(Complex<lanes> a) noexcept {
  return {-a.im, a.re};
}

// Reordering of elements.
template <int lanes>
inline Vector<lanes> evens(Vector<lanes> a, Vector<lanes> b) noexcept {
  if constexpr (lanes == 2) return pick<0, 2>(a, b);
  if constexpr (lanes == 4) return pick<0, 2, 4, 6>(a, b);
  if constexpr (lanes == 8) return pick<0, 2, 4, 6, 8, 10, 12, 14>(a, b);
}
template <int lanes>
inline Vector<lanes> odds(Vector<lanes> a, Vector<lanes> b) noexcept {
  if constexpr (lanes == 2) return pick<1, 3>(a, b);
  if constexpr (lanes == 4) return pick<1, 3, 5, 7>(a, b);
  if constexpr (lanes == 8) return pick<1, 3, 5, 7, 9, 11, 13, 15>(a, b);
}
template <int lanes>
inline Vector<lanes> reversed(Vector<lanes> a) noexcept {
  if constexpr (lanes == 1) return a;
  if constexpr (lanes == 2) return pick<1, 0>(a, a);
  if constexpr (lanes == 4) return pick<3, 2, 1, 0>(a, a);
  if constexpr (lanes == 8) return pick<7, 6, 5, 4, 3, 2, 1, 0>(a, a);
}
template <int lanes>
inline Complex<lanes> reversed(Complex<lanes> a) noexcept {
  return {reversed<lanes>(a.re), reversed<lanes>(a.im)};
}

/// Stores a[0], b[0], a[1], b[1], ...
template <int lanes>
inline void storePairs(double* to, Vector<lanes> a, Vector<lanes> b) noexcept {
  if constexpr (lanes == 1) {
    to[0] = a;
    to[1] = b;
  } else {
    store<lanes>(to, zipLow<lanes>(a, b));
    store<lanes>(to + lanes, zipHigh<lanes>(a, b));
  }
}

/// Stores a[0], b[0], c[0], d[0], a[1], b[1], ...
template <int lanes>
inline void storeInTurn(double* to, Vector<lanes> a, Vector<lanes> b, Vector<lanes> c,
                        Vector<lanes> d) noexcept {
  if constexpr (lanes == 1) {
    to[0] = a;
    to[1] = b;
    to[2] = c;
    to[3] = d;
  } else if constexpr (lanes == 4) {
    // Within halves of a register first: crossing the halves is slow on these processors.
    const auto ab0 = pick<0, 4, 2, 6>(a, b);
    const auto ab1 = pick<1, 5, 3, 7>(a, b);
    const auto cd0 = pick<0, 4, 2, 6>(c, d);
    const auto cd1 = pick<1, 5, 3, 7>(c, d);
    store<4>(to, pick<0, 1, 4, 5>(ab0, cd0));
    store<4>(to + 4, pick<0, 1, 4, 5>(ab1, cd1));
    store<4>(to + 8, pick<2, 3, 6, 7>(ab0, cd0));
    store<4>(to + 12, pick<2, 3, 6, 7>(ab1, cd1));
  } else {
    const auto acLow = zipLow<lanes>(a, c);
    const auto acHigh = zipHigh<lanes>(a, c);
    const auto bdLow = zipLow<lanes>(b, d);
    const auto bdHigh = zipHigh<lanes>(b, d);
    store<lanes>(to, zipLow<lanes>(acLow, bdLow));
    store<lanes>(to + lanes, zipHigh<lanes>(acLow, bdLow));
    store<lanes>(to + 2 * lanes, zipLow<lanes>(acHigh, bdHigh));
    store<lanes>(to + 3 * lanes, zipHigh<lanes>(acHigh, bdHigh));
  }
}

// The transform: autosorting radix-4 passes, decimation in frequency (P. Swarztrauber, FFT
// algorithms for vector computers, 1984: the Stockham form). A pass takes `span` interleaved
// transforms of n points to 4 * `span` of n / 4 points; the last one is of radix 4 or 8 and needs
// no twiddle factors.

template <int lanes>
struct Four {
  Complex<lanes> a, b, c, d;
};

/// A transform of four points, not yet turned.
template <int lanes>
inline Four<lanes> butterfly4(Four<lanes> x) noexcept {
  const auto ac = x.a + x.c;
  const auto bd = x.b + x.d;
  const auto acDiff = x.a - x.c;
  const auto bdTurned = turned<lanes>(x.b - x.d);
  return {ac + bd, acDiff + bdTurned, ac - bd, acDiff - bdTurned};
}

template <int lanes>
inline Four<lanes> loadFour(ConstPlanarSpan in, int at, int stride) noexcept {
  return {load<lanes>(in, at), load<lanes>(in, at + stride), load<lanes>(in, at + 2 * stride),
          load<lanes>(in, at + 3 * stride)};
}
template <int lanes>
inline void storeFour(PlanarSpan out, int at, int stride, Four<lanes> y) noexcept {
  store<lanes>(out, at, y.a);
  store<lanes>(out, at + stride, y.b);
  store<lanes>(out, at + 2 * stride, y.c);
  store<lanes>(out, at + 3 * stride, y.d);
}

/// Twiddle factors of a pass: its first, second and third powers, `quarter` of each.
struct PassTwiddles {
  PassTwiddles(const double* table, int quarter) noexcept
      : one{table, table + quarter},
        two{table + 2 * quarter, table + 3 * quarter},
        three{table + 4 * quarter, table + 5 * quarter} {}
  ConstPlanarSpan one, two, three;
};

/// The first pass: one transform, so that neighbours along the vector are neighbouring butterflies.
template <int lanes>
void firstPass(int n, const double* table, ConstPlanarSpan in, PlanarSpan out) noexcept {
  const int quarter = n / 4;
  const PassTwiddles w(table, quarter);
  for (int p = 0; p < quarter; p += lanes) {
    const auto y = butterfly4<lanes>(loadFour<lanes>(in, p, quarter));
    const auto b = y.b * load<lanes>(w.one, p);
    const auto c = y.c * load<lanes>(w.two, p);
    const auto d = y.d * load<lanes>(w.three, p);
    storeInTurn<lanes>(out.re + 4 * p, y.a.re, b.re, c.re, d.re);
    storeInTurn<lanes>(out.im + 4 * p, y.a.im, b.im, c.im, d.im);
  }
}

template <int lanes>
inline Complex<lanes> broadcast(ConstPlanarSpan from, int at) noexcept {
  return {broadcast<lanes>(from.re[at]), broadcast<lanes>(from.im[at])};
}

template <int lanes>
void middlePass(int n, int span, const double* table, ConstPlanarSpan in, PlanarSpan out) noexcept {
  const int quarter = n / 4;
  const PassTwiddles w(table, quarter);
  for (int q = 0; q < span; q += lanes) {  // p = 0: all twiddle factors are 1
    storeFour<lanes>(out, q, span, butterfly4<lanes>(loadFour<lanes>(in, q, span * quarter)));
  }
  for (int p = 1; p < quarter; ++p) {
    const auto w1 = broadcast<lanes>(w.one, p);
    const auto w2 = broadcast<lanes>(w.two, p);
    const auto w3 = broadcast<lanes>(w.three, p);
    for (int q = 0; q < span; q += lanes) {
      const auto y = butterfly4<lanes>(loadFour<lanes>(in, q + span * p, span * quarter));
      storeFour<lanes>(out, q + span * 4 * p, span, {y.a, y.b * w1, y.c * w2, y.d * w3});
    }
  }
}

template <int lanes>
void lastPass4(int span, ConstPlanarSpan in, PlanarSpan out) noexcept {
  for (int q = 0; q < span; q += lanes) {
    storeFour<lanes>(out, q, span, butterfly4<lanes>(loadFour<lanes>(in, q, span)));
  }
}

constexpr double kHalfRoot = 0.70710678118654752440;  // 1 / sqrt(2)

template <int lanes>
void lastPass8(int span, ConstPlanarSpan in, PlanarSpan out) noexcept {
  for (int q = 0; q < span; q += lanes) {
    const auto even = butterfly4<lanes>(loadFour<lanes>(in, q, 2 * span));
    const auto odd = butterfly4<lanes>(loadFour<lanes>(in, q + span, 2 * span));
    // Turned by eighths: (1 + i) / sqrt(2), i, (-1 + i) / sqrt(2).
    const Complex<lanes> b{(odd.b.re - odd.b.im) * kHalfRoot, (odd.b.re + odd.b.im) * kHalfRoot};
    const auto c = turned<lanes>(odd.c);
    const Complex<lanes> d{(odd.d.re + odd.d.im) * -kHalfRoot, (odd.d.re - odd.d.im) * kHalfRoot};
    storeFour<lanes>(out, q, span, {even.a + odd.a, even.b + b, even.c + c, even.d + d});
    storeFour<lanes>(out, q + 4 * span, span, {even.a - odd.a, even.b - b, even.c - c, even.d - d});
  }
}

inline void lastPass2(ConstPlanarSpan in, PlanarSpan out) noexcept {
  const auto a = load<1>(in, 0);
  const auto b = load<1>(in, 1);
  store<1>(out, 0, a + b);
  store<1>(out, 1, a - b);
}

/// Calls `pass` with the widest vectors, as a number, of which `count` is a multiple.
template <int widest, typename Pass>
inline void withLanes(int count, Pass pass) noexcept {
  if constexpr (widest > 4) {
    if (count >= widest) return pass.template operator()<widest>();
  }
  if constexpr (widest >= 4) {
    if (count >= 4) return pass.template operator()<4>();
  } else {
    if (count >= widest) return pass.template operator()<widest>();
  }
  pass.template operator()<1>();
}

template <int lanes>
void lastPass(int n, int span, ConstPlanarSpan in, PlanarSpan out) noexcept {
  withLanes<lanes>(span, [&]<int width>() {
    if (n == 8) {
      lastPass8<width>(span, in, out);
    } else {
      lastPass4<width>(span, in, out);
    }
  });
}

constexpr bool isLast(int n) noexcept { return n <= 4 || n == 8; }

template <int lanes>
void transform(const FftPlan& plan, ConstPlanarSpan in, PlanarSpan out,
               PlanarSpan scratch) noexcept {
  if (plan.points == 2) return lastPass2(in, out);
  if (plan.points == 1) return store<1>(out, 0, load<1>(in, 0));
  int before = 0;  // passes before the last
  for (int n = plan.points; !isLast(n); n /= 4) ++before;
  // The passes write to the two arrays in turn, so that the last one writes to `out`.
  const PlanarSpan written[2] = {out, scratch};
  int to = before % 2;
  ConstPlanarSpan from = in;
  const double* table = plan.twiddles;
  int n = plan.points;
  for (int span = 1; !isLast(n); span *= 4, n /= 4) {
    if (span == 1) {
      withLanes<lanes>(n / 4, [&]<int width>() { firstPass<width>(n, table, from, written[to]); });
    } else {
      withLanes<lanes>(span,
                       [&]<int width>() { middlePass<width>(n, span, table, from, written[to]); });
    }
    table += 6 * (n / 4);
    from = written[to];
    to ^= 1;
  }
  lastPass<lanes>(n, plan.points / n, from, written[to]);
}

template <int lanes>
void deinterleave(const double* pairs, PlanarSpan out, int points) noexcept {
  int k = 0;
  for (; k + lanes <= points; k += lanes) {
    const auto a = load<lanes>(pairs + 2 * k);
    const auto b = load<lanes>(pairs + 2 * k + lanes);
    store<lanes>(out, k, {evens<lanes>(a, b), odds<lanes>(a, b)});
  }
  for (; k < points; ++k) store<1>(out, k, {pairs[2 * k], pairs[2 * k + 1]});
}

template <int lanes>
void interleave(ConstPlanarSpan in, double* pairs, int points) noexcept {
  int k = 0;
  for (; k + lanes <= points; k += lanes) {
    const auto x = load<lanes>(in, k);
    storePairs<lanes>(pairs + 2 * k, x.re, x.im);
  }
  for (; k < points; ++k) {
    pairs[2 * k] = in.re[k];
    pairs[2 * k + 1] = in.im[k];
  }
}

/// Elements k and points - k for `lanes` values of k.
template <int lanes>
inline void splitPair(ConstPlanarSpan turn, PlanarSpan data, int points, int k) noexcept {
  const int mirror = points - k - lanes + 1;
  const auto low = load<lanes>(data, k);
  const auto high = reversed<lanes>(load<lanes>(data, mirror));
  // The transforms of the even and of the odd samples, the latter turned by half a step each.
  const Complex<lanes> even{(low.re + high.re) * 0.5, (low.im - high.im) * 0.5};
  const Complex<lanes> odd{(low.im + high.im) * 0.5, (high.re - low.re) * 0.5};
  const auto oddTurned = odd * load<lanes>(turn, k);
  const auto sum = even + oddTurned;
  const auto difference = even - oddTurned;
  store<lanes>(data, k, sum);
  store<lanes>(data, mirror, reversed<lanes>({difference.re, -difference.im}));
}

template <int lanes>
void splitReal(ConstPlanarSpan turn, PlanarSpan data, int points) noexcept {
  const double first = data.re[0];
  data.re[0] = first + data.im[0];
  data.im[0] = first - data.im[0];
  int k = 1;
  for (; k + lanes <= points / 2; k += lanes) splitPair<lanes>(turn, data, points, k);
  for (; k <= points / 2; ++k) splitPair<1>(turn, data, points, k);
}

template <int lanes>
void multiplySpectra(const ConstPlanarSpan* x, const ConstPlanarSpan* h, int count, PlanarSpan out,
                     int points) noexcept {
  constexpr int kStep = 2 * lanes;  // two sums at a time hide the multiplier's latency
  for (int k = 0; k < points; k += kStep) {
    Complex<lanes> a{};
    Complex<lanes> b{};
    for (int j = 0; j < count; ++j) {
      a = a + load<lanes>(x[j], k) * load<lanes>(h[j], k);
      b = b + load<lanes>(x[j], k + lanes) * load<lanes>(h[j], k + lanes);
    }
    store<lanes>(out, k, a);
    store<lanes>(out, k + lanes, b);
  }
}

/// `vectors` * `lanes` outputs. Each output's terms are added in the order of the taps.
template <int lanes, int vectors>
inline void firStep(const double* taps, int tapCount, const double* newest, double* out) noexcept {
  Vector<lanes> sum[vectors]{};
  for (int k = 0; k < tapCount; ++k) {
    const auto tap = broadcast<lanes>(taps[k]);
    for (int v = 0; v < vectors; ++v) sum[v] += tap * load<lanes>(newest - k + v * lanes);
  }
  for (int v = 0; v < vectors; ++v) store<lanes>(out + v * lanes, sum[v]);
}

template <int lanes>
void fir(const double* taps, int tapCount, const double* newest, double* out, int count) noexcept {
  constexpr int kVectors = lanes < 8 ? 8 : 4;  // up to 32 outputs at a time
  int i = 0;
  for (; i + kVectors * lanes <= count; i += kVectors * lanes) {
    firStep<lanes, kVectors>(taps, tapCount, newest + i, out + i);
  }
  for (; i < count; i += 8) firStep<lanes, 8 / lanes>(taps, tapCount, newest + i, out + i);
}

/// Covers `count` outputs in groups of eight vectors, whose independent sums hide the latency of an
/// addition, and then in ever smaller groups. The rest is done together with some outputs already
/// done, or one by one, so that nothing beyond the arrays is touched.
template <int lanes, typename Group>
inline void inGroups(int count, Group group) noexcept {
  int i = 0;
  for (; i + 8 * lanes <= count; i += 8 * lanes) group.template operator()<lanes, 8>(i);
  if (i + 4 * lanes <= count) {
    group.template operator()<lanes, 4>(i);
    i += 4 * lanes;
  }
  if (i + 2 * lanes <= count) {
    group.template operator()<lanes, 2>(i);
    i += 2 * lanes;
  }
  for (; i + lanes <= count; i += lanes) group.template operator()<lanes, 1>(i);
  if (i == count) return;
  if (count >= lanes) return group.template operator()<lanes, 1>(count - lanes);
  for (; i < count; ++i) group.template operator()<1, 1>(i);
}

/// sum[v] += taps[t * lanes] * oldest[(v + t) * lanes] for `joined` values of t: a vector is loaded
/// once for all sums that it is a term of.
template <int lanes, int vectors, int joined>
inline void addTaps(const double* taps, const double* oldest,
                    Vector<lanes> (&sum)[vectors]) noexcept {
  Vector<lanes> tap[joined];
  for (int t = 0; t < joined; ++t) tap[t] = broadcast<lanes>(taps[t * lanes]);
  for (int m = 0; m < vectors + joined - 1; ++m) {
    const auto x = load<lanes>(oldest + m * lanes);
    for (int t = 0; t < joined; ++t) {
      if (m >= t && m - t < vectors) sum[m - t] += tap[t] * x;
    }
  }
}

/// Hides from the compiler where an address comes from. Otherwise it would keep vectors from one
/// iteration of a loop for the next and push the sums out of the registers.
inline const double* opaque(const double* address) noexcept {
  asm("" : "+r"(address));  // NOLINT(hicpp-no-assembler): no instruction
  return address;
}

/// sum[v] = sum of taps[j] * oldest[v * width + j]. The order of the terms depends on `lanes` only:
/// every `lanes`-th tap, then the taps one further on, and so on.
template <int lanes, int width, int vectors>
inline void correlate(const double* taps, int tapCount, const double* oldest,
                      Vector<width> (&sum)[vectors]) noexcept {
  for (int first = 0; first < lanes; ++first) {
    int j = first;
    if constexpr (width == lanes) {
      constexpr int kJoined = 4;
      for (; j + (kJoined - 1) * lanes < tapCount; j += kJoined * lanes) {
        addTaps<lanes, vectors, kJoined>(taps + j, opaque(oldest + j), sum);
      }
      for (; j < tapCount; j += lanes) addTaps<lanes, vectors, 1>(taps + j, oldest + j, sum);
    } else {
      for (; j < tapCount; j += lanes) addTaps<width, vectors, 1>(taps + j, oldest + j, sum);
    }
  }
}

template <int lanes>
void raise(const double* taps, int tapCount, const double* oldest, double* out,
           int count) noexcept {
  const double* const middle = oldest + tapCount / 2;
  inGroups<lanes>(count, [&]<int width, int vectors>(int i) {
    Vector<width> sum[vectors]{};
    correlate<lanes, width, vectors>(taps, tapCount, oldest + i, sum);
    for (int v = 0; v < vectors; ++v) {
      const int at = i + v * width;
      storePairs<width>(out + 2 * at, sum[v], load<width>(middle + at));
    }
  });
}

template <int lanes>
void lower(const double* taps, int tapCount, const double* even, const double* odd, double* out,
           int count) noexcept {
  const double* const middle = odd + tapCount / 2 - 1;
  inGroups<lanes>(count, [&]<int width, int vectors>(int i) {
    Vector<width> sum[vectors]{};
    correlate<lanes, width, vectors>(taps, tapCount, even + i, sum);
    for (int v = 0; v < vectors; ++v) {
      const int at = i + v * width;
      store<width>(out + at, (load<width>(middle + at) + sum[v]) * 0.5);
    }
  });
}

template <int lanes>
void arrayToDecibels(double* values, int count) noexcept {
  for (int i = 0; i < count; i += lanes) {
    store<lanes>(values + i, toDecibels<lanes>(load<lanes>(values + i)));
  }
}

constexpr int kLanes = lanesOf(InstructionSet::KERNEL_SET);

constexpr VectorKernels kTable = {nameOf(InstructionSet::KERNEL_SET),
                                  InstructionSet::KERNEL_SET,
                                  transform<kLanes>,
                                  deinterleave<kLanes>,
                                  interleave<kLanes>,
                                  splitReal<kLanes>,
                                  multiplySpectra<kLanes>,
                                  fir<kLanes>,
                                  raise<kLanes>,
                                  lower<kLanes>,
                                  arrayToDecibels<kLanes>};

}  // namespace

template <>
const VectorKernels& vectorKernelsOf<InstructionSet::KERNEL_SET>() noexcept {
  return kTable;
}
