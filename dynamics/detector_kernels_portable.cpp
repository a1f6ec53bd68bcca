#include "dynamics/detector_kernels_impl.h"
#include "dynamics/detector_kernels_sets.h"

constinit const DetectorKernels kPortableDetectors = detectorKernelsOf<2>();
