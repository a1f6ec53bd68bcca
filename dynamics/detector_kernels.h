#pragma once

#include "analysis/vector_kernels.h"
#include "dynamics/detector_lane.h"

/// The arithmetic of the detectors with the widest vectors of the processor: along time where
/// samples are independent, across detectors where each needs the one before. Decisions (attack or
/// release, slow or fast) rest on the same roundings on every processor; logarithm and power are
/// polynomials that agree with the library's to 1e-9 dB. On the audio thread; nothing locks,
/// allocates or throws.
struct DetectorKernels {
  static constexpr int kMaxLanes = 16;
  static constexpr int kChunk = 64;  ///< frames that one call takes at most

  /// Whole detectors over their signals, which are left alone but for those of their lanes.
  void (*detect)(DetectorLane* const* lanes, int count, int frames) noexcept;
};

/// As `vectorKernelsOf`.
template <InstructionSet set>
[[nodiscard]] const DetectorKernels& detectorKernelsOf() noexcept;
template <>
[[nodiscard]] const DetectorKernels& detectorKernelsOf<InstructionSet::kPortable>() noexcept;
template <>
[[nodiscard]] const DetectorKernels& detectorKernelsOf<InstructionSet::kAvx2>() noexcept;
template <>
[[nodiscard]] const DetectorKernels& detectorKernelsOf<InstructionSet::kAvx512>() noexcept;

/// Those that belong to `vectorKernels()`.
[[nodiscard]] const DetectorKernels& detectorKernels() noexcept;
