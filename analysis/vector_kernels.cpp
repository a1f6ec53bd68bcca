#include "analysis/vector_kernels.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace {

struct Available {
  Available() noexcept {
    add(vectorKernelsOf<InstructionSet::kPortable>());
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") == 0 || __builtin_cpu_supports("fma") == 0) return;
    add(vectorKernelsOf<InstructionSet::kAvx2>());
    if (__builtin_cpu_supports("avx512f") != 0 && __builtin_cpu_supports("avx512dq") != 0 &&
        __builtin_cpu_supports("avx512vl") != 0) {
      add(vectorKernelsOf<InstructionSet::kAvx512>());
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

std::atomic<const VectorKernels*>& inUse() noexcept {
  static std::atomic<const VectorKernels*> kernels{available().sets[available().count - 1]};
  return kernels;
}

}  // namespace

const VectorKernels& vectorKernels() noexcept { return *inUse().load(std::memory_order_relaxed); }

void useVectorKernels(const VectorKernels& kernels) noexcept {
  inUse().store(&kernels, std::memory_order_relaxed);
}

std::span<const VectorKernels* const> allVectorKernels() noexcept {
  return {available().sets.data(), available().count};
}
