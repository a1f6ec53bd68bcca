#pragma once

#include <gtest/gtest.h>

#include "analysis/vector_kernels.h"

/// Runs `body` with each set of kernels that the processor has.
template <typename Body>
void withAllKernels(Body body) {
  const VectorKernels& usual = vectorKernels();
  for (const VectorKernels* const kernels : allVectorKernels()) {
    SCOPED_TRACE(kernels->name);
    useVectorKernels(*kernels);
    body();
  }
  useVectorKernels(usual);
}
