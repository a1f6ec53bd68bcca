#pragma once

#include "dynamics/detector_kernels.h"

// The tables of this build; `detectorKernels` picks one that the processor can run.
extern const DetectorKernels kPortableDetectors;
// On x86-64 alone.
extern const DetectorKernels kAvx2Detectors;
extern const DetectorKernels kAvx512Detectors;
