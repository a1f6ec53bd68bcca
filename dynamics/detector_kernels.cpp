#include "dynamics/detector_kernels.h"

const DetectorKernels& detectorKernels() noexcept {
  switch (vectorKernels().set) {
#if defined(__x86_64__)
    case InstructionSet::kAvx512:
      return detectorKernelsOf<InstructionSet::kAvx512>();
    case InstructionSet::kAvx2:
      return detectorKernelsOf<InstructionSet::kAvx2>();
#endif
    default:
      return detectorKernelsOf<InstructionSet::kPortable>();
  }
}
