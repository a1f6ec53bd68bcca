#include "dynamics/detector_kernels.h"

#include "dynamics/detector_kernels_sets.h"

const DetectorKernels& detectorKernels() noexcept {
  switch (vectorKernels().set) {
#if defined(__x86_64__)
    case InstructionSet::kAvx512:
      return kAvx512Detectors;
    case InstructionSet::kAvx2:
      return kAvx2Detectors;
#endif
    default:
      return kPortableDetectors;
  }
}
