#pragma once

// Vectors of doubles of the width that a file is compiled for. In an unnamed namespace and with
// nothing of the standard library, so that no function compiled for a wide processor can reach
// another file.

namespace {  // NOLINT(google-build-namespaces, cert-dcl59-cpp): one copy per instruction set

/// `lanes` doubles; `InMemory` stands at any address of doubles.
template <int lanes>
struct VectorOf {
  using Type [[gnu::vector_size(sizeof(double) * lanes)]] = double;
  using InMemory [[gnu::vector_size(sizeof(double) * lanes), gnu::aligned(8)]] = double;
};
template <>
struct VectorOf<1> {
  using Type = double;
  using InMemory = double;
};
template <int lanes>
using Vector = typename VectorOf<lanes>::Type;

template <int lanes>
inline Vector<lanes> load(const double* from) noexcept {
  return *reinterpret_cast<const typename VectorOf<lanes>::InMemory*>(from);
}
template <int lanes>
inline void store(double* to, Vector<lanes> x) noexcept {
  *reinterpret_cast<typename VectorOf<lanes>::InMemory*>(to) = x;
}
template <int lanes>
inline Vector<lanes> broadcast(double x) noexcept {
  // Not by adding `x` to zeros: that would turn -0 into 0 and cost an addition.
  if constexpr (lanes == 1) return x;
  if constexpr (lanes == 2) return Vector<2>{x, x};
  if constexpr (lanes == 4) return Vector<4>{x, x, x, x};
  if constexpr (lanes == 8) return Vector<8>{x, x, x, x, x, x, x, x};
}

// Reordering of elements.
template <int... index, typename V>
inline V pick(V a, V b) noexcept {
  return __builtin_shufflevector(a, b, index...);
}
/// Interleaves the first halves of `a` and `b`; `zipHigh` interleaves their second halves.
template <int lanes>
inline Vector<lanes> zipLow(Vector<lanes> a, Vector<lanes> b) noexcept {
  if constexpr (lanes == 2) return pick<0, 2>(a, b);
  if constexpr (lanes == 4) return pick<0, 4, 1, 5>(a, b);
  if constexpr (lanes == 8) return pick<0, 8, 1, 9, 2, 10, 3, 11>(a, b);
}
template <int lanes>
inline Vector<lanes> zipHigh(Vector<lanes> a, Vector<lanes> b) noexcept {
  if constexpr (lanes == 2) return pick<1, 3>(a, b);
  if constexpr (lanes == 4) return pick<2, 6, 3, 7>(a, b);
  if constexpr (lanes == 8) return pick<4, 12, 5, 13, 6, 14, 7, 15>(a, b);
}

/// `lanes` elements of `a` followed by `b`, from number `first` on.
template <int lanes, int first>
inline Vector<lanes> across(Vector<lanes> a, Vector<lanes> b) noexcept {
  constexpr int i = first;  // NOLINT(readability-identifier-naming): short, as often as it stands
  if constexpr (lanes == 2) return pick<i, i + 1>(a, b);
  if constexpr (lanes == 4) return pick<i, i + 1, i + 2, i + 3>(a, b);
  if constexpr (lanes == 8) {
    return pick<i, i + 1, i + 2, i + 3, i + 4, i + 5, i + 6, i + 7>(a, b);
  }
}

/// Exchanges the blocks of `half` by `half` elements that a transposition swaps between two rows.
template <int lanes, int half>
inline void exchangeBlocks(Vector<lanes>& a, Vector<lanes>& b) noexcept {
  const Vector<lanes> x = a;
  const Vector<lanes> y = b;
  if constexpr (lanes == 2) {
    a = pick<0, 2>(x, y);
    b = pick<1, 3>(x, y);
  } else if constexpr (lanes == 4 && half == 1) {
    a = pick<0, 4, 2, 6>(x, y);
    b = pick<1, 5, 3, 7>(x, y);
  } else if constexpr (lanes == 4) {
    a = pick<0, 1, 4, 5>(x, y);
    b = pick<2, 3, 6, 7>(x, y);
  } else if constexpr (half == 1) {
    a = pick<0, 8, 2, 10, 4, 12, 6, 14>(x, y);
    b = pick<1, 9, 3, 11, 5, 13, 7, 15>(x, y);
  } else if constexpr (half == 2) {
    a = pick<0, 1, 8, 9, 4, 5, 12, 13>(x, y);
    b = pick<2, 3, 10, 11, 6, 7, 14, 15>(x, y);
  } else {
    a = pick<0, 1, 2, 3, 8, 9, 10, 11>(x, y);
    b = pick<4, 5, 6, 7, 12, 13, 14, 15>(x, y);
  }
}

/// Transposes a square matrix of `lanes` rows.
template <int lanes, int half = 1>
inline void transpose(Vector<lanes> (&rows)[lanes]) noexcept {
  for (int i = 0; i < lanes; ++i) {
    if ((i & half) == 0) exchangeBlocks<lanes, half>(rows[i], rows[i + half]);
  }
  if constexpr (2 * half < lanes) transpose<lanes, 2 * half>(rows);
}

template <int lanes>
inline Vector<lanes> larger(Vector<lanes> a, Vector<lanes> b) noexcept {
  return a > b ? a : b;
}

}  // namespace
