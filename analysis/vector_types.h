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
  return Vector<lanes>{} + x;
}

template <int lanes>
inline Vector<lanes> larger(Vector<lanes> a, Vector<lanes> b) noexcept {
  return a > b ? a : b;
}

}  // namespace
