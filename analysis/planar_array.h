#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <new>

#include "analysis/vector_kernels.h"

/// How planar arrays lie in memory: a transform's strided reads of one part must not evict the
/// other from the first-level cache.
struct PlanarLayout {
  static constexpr std::size_t kAlignment = 64;
  static constexpr int kLine = 8;  // doubles of a cache line

  /// Doubles from one part of `points` to the next.
  [[nodiscard]] static constexpr int strideOf(int points) noexcept {
    // Without a gap, parts whose size is a power of two would share cache sets; short ones do not
    // fill enough of them to matter.
    const int gap = points < 256 ? 1 : 5;
    return ((points + kLine - 1) / kLine + gap) * kLine;
  }
};

/// Owns `count` planar complex arrays of `points` each, initially zero. Can be moved but not
/// copied.
class PlanarArrays {
 public:
  PlanarArrays() = default;
  PlanarArrays(int count, int points)
      : arrayCount(count),
        stride(PlanarLayout::strideOf(points)),
        memory(new (std::align_val_t{PlanarLayout::kAlignment}) double[size()]()) {}

  [[nodiscard]] PlanarSpan operator[](int index) const noexcept {
    double* const start = memory.get() + 2 * static_cast<std::ptrdiff_t>(index) * stride;
    return {start, start + stride};
  }
  void clear() noexcept {
    for (std::size_t i = 0; i < size(); ++i) memory[i] = 0.0;
  }
  [[nodiscard]] int count() const noexcept { return arrayCount; }
  /// Zeroes the imaginary parts only.
  void clearImaginary() noexcept {
    for (int i = 0; i < arrayCount; ++i) {
      double* const im = (*this)[i].im;
      for (int k = 0; k < stride; ++k) im[k] = 0.0;
    }
  }

 private:
  struct Free {
    void operator()(double* block) const noexcept {
      ::operator delete[](block, std::align_val_t{PlanarLayout::kAlignment});
    }
  };
  [[nodiscard]] std::size_t size() const noexcept {
    return 2 * static_cast<std::size_t>(arrayCount) * static_cast<std::size_t>(stride);
  }

  int arrayCount = 0;
  int stride = 0;
  std::unique_ptr<double[], Free> memory;
};

/// `count` planar complex arrays of `points` each as a local variable, not initialised: memory of a
/// transform that all instances on a thread use in turn, so that it stays in the near caches.
template <int count, int points>
class PlanarScratch {
 public:
  [[nodiscard]] PlanarSpan operator[](int index) noexcept {
    double* const start = memory.data() + static_cast<std::ptrdiff_t>(2) * index * kStride;
    return {start, start + kStride};
  }

 private:
  static constexpr int kStride = PlanarLayout::strideOf(points);

  alignas(PlanarLayout::kAlignment)
      std::array<double, std::size_t{2} * count * kStride> memory;  // NOLINT: not initialised
};
