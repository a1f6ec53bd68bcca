#pragma once

#include "analysis/vector_kernels.h"

// The tables of this build; `vectorKernels` picks one that the processor can run.
extern const VectorKernels kPortableKernels;
// On x86-64 alone.
extern const VectorKernels kAvx2Kernels;
extern const VectorKernels kAvx512Kernels;
