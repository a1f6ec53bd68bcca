#include "analysis/vector_kernels_impl.h"
#include "analysis/vector_kernels_sets.h"

constinit const VectorKernels kAvx2Kernels = kernelsOf<4>("AVX2", InstructionSet::kAvx2);
