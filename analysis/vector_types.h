#pragma once

// Vectors of doubles of the width that a file is compiled for. In an unnamed namespace and with
// nothing of the standard library, so that no function compiled for a wide processor can reach
// another file.

namespace {  // NOLINT(google-build-namespaces, cert-dcl59-cpp): one copy per instruction set

/// `lanes` doubles, loaded and stored at any address.
template <int lanes>
struct VectorOf {
  typedef double Type
      __attribute__((vector_size(sizeof(double) * lanes),
                     aligned(8)));  // NOLINT(modernize-use-using): an alias drops the attributes
};
template <>
struct VectorOf<1> {
  using Type = double;
};
template <int lanes>
using Vector = typename VectorOf<lanes>::Type;

template <int lanes>
inline Vector<lanes> load(const double* from) noexcept {
  return *reinterpret_cast<const Vector<lanes>*>(from);
}
template <int lanes>
inline void store(double* to, Vector<lanes> x) noexcept {
  *reinterpret_cast<Vector<lanes>*>(to) = x;
}
template <int lanes>
inline Vector<lanes> broadcast(double x) noexcept {
  // Not a sum with zeros, which would turn -0 and cost an addition.
  if constexpr (lanes == 1) return x;
  if constexpr (lanes == 2) return Vector<2>{x, x};
  if constexpr (lanes == 4) return Vector<4>{x, x, x, x};
  if constexpr (lanes == 8) return Vector<8>{x, x, x, x, x, x, x, x};
}

template <int lanes>
inline Vector<lanes> larger(Vector<lanes> a, Vector<lanes> b) noexcept {
  return a > b ? a : b;
}

}  // namespace
