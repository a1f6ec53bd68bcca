#include "analysis/vector_kernels_impl.h"
#include "analysis/vector_kernels_sets.h"

constinit const VectorKernels kAvx512Kernels = kernelsOf<8>("AVX-512", InstructionSet::kAvx512);
