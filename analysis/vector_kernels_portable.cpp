#include "analysis/vector_kernels_impl.h"
#include "analysis/vector_kernels_sets.h"

constinit const VectorKernels kPortableKernels =
    kernelsOf<2>("portable", InstructionSet::kPortable);
