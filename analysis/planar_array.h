#pragma once

#include <cstddef>
#include <memory>
#include <new>

#include "analysis/vector_kernels.h"

/// Owns `count` planar complex arrays of `points` each, initially zero, placed so that a
/// transform's strided reads of one part do not evict the other from the first-level cache. Can be
/// moved but not copied.
class PlanarArrays {
 public:
  PlanarArrays() = default;
  PlanarArrays(int count, int points)
      : arrayCount(count),
        stride((points + kLine - 1) / kLine * kLine + kGap),
        memory(new (std::align_val_t{kAlignment}) double[size()]()) {}

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
  static constexpr std::size_t kAlignment = 64;
  static constexpr int kLine = 8;  // doubles of a cache line
  // Five lines: without a gap, parts whose size is a power of two would share cache sets.
  static constexpr int kGap = 5 * kLine;

  struct Free {
    void operator()(double* block) const noexcept {
      ::operator delete[](block, std::align_val_t{kAlignment});
    }
  };
  [[nodiscard]] std::size_t size() const noexcept {
    return 2 * static_cast<std::size_t>(arrayCount) * static_cast<std::size_t>(stride);
  }

  int arrayCount = 0;
  int stride = 0;
  std::unique_ptr<double[], Free> memory;
};
