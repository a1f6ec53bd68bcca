#pragma once

#include "analysis/vector_kernels.h"
#include "dynamics/detector_lane.h"

/// The arithmetic of the detectors on the processor's widest vectors: along time where samples are
/// independent, across detectors where each sample needs the one before. Decisions (attack or
/// release, slow or fast) use the same roundings on every processor; logarithm and power are
/// polynomials that agree with the C library to 1e-9 dB. Audio thread; nothing locks, allocates or
/// throws.
struct DetectorKernels {
  static constexpr int kMaxLanes = 16;
  static constexpr int kChunk = 64;  ///< frames that one call takes at most

  /// Runs whole detectors over the signals of their lanes, in place.
  void (*detect)(DetectorLane* const* lanes, int count, int frames) noexcept;
};

/// See `vectorKernelsOf`.
template <InstructionSet set>
[[nodiscard]] const DetectorKernels& detectorKernelsOf() noexcept;
template <>
[[nodiscard]] const DetectorKernels& detectorKernelsOf<InstructionSet::kPortable>() noexcept;
template <>
[[nodiscard]] const DetectorKernels& detectorKernelsOf<InstructionSet::kAvx2>() noexcept;
template <>
[[nodiscard]] const DetectorKernels& detectorKernelsOf<InstructionSet::kAvx512>() noexcept;

/// The kernels of the instruction set of `vectorKernels()`.
[[nodiscard]] const DetectorKernels& detectorKernels() noexcept;
