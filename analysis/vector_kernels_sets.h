#pragma once

#include "analysis/vector_kernels.h"

// The tables that exist in this build; `vectorKernels` picks one that the processor can run.
extern const VectorKernels kPortableKernels;
extern const VectorKernels kAvx2Kernels;
extern const VectorKernels kAvx512Kernels;
