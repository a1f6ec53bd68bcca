#include "analysis/vector_kernels.h"

#include <array>
#include <cstddef>

#include "analysis/vector_kernels_sets.h"

namespace {

struct Available {
  Available() noexcept {
    add(kPortableKernels);
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") == 0 || __builtin_cpu_supports("fma") == 0) return;
    add(kAvx2Kernels);
    if (__builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0) {
      add(kAvx512Kernels);
    }
#endif
  }
  void add(const VectorKernels& kernels) noexcept { sets[count++] = &kernels; }

  std::array<const VectorKernels*, 3> sets{};
  std::size_t count = 0;
};

const Available& available() noexcept {
  static const Available kAvailable;
  return kAvailable;
}

}  // namespace

const VectorKernels& vectorKernels() noexcept { return *available().sets[available().count - 1]; }

std::span<const VectorKernels* const> allVectorKernels() noexcept {
  return {available().sets.data(), available().count};
}
