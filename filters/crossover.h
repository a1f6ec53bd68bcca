#pragma once

#include <array>
#include <atomic>
#include <vector>

#include "analysis/planar_array.h"
#include "analysis/planar_fft.h"
#include "filters/kernel_exchange.h"
#include "filters/partitioned_convolver.h"

/// Splits a mono or stereo signal into bands, each by an FIR kernel of `kTaps` taps.
///
/// Threads: `setKernels` on a control thread at any moment; `process` and `reset*` on the audio
/// thread, where they neither lock nor allocate.
class CrossoverEngine {
 public:
  static constexpr int kBands = 8;
  static constexpr int kTaps = 1024;

  CrossoverEngine() = default;
  CrossoverEngine(const CrossoverEngine&) = delete;
  CrossoverEngine& operator=(const CrossoverEngine&) = delete;
  virtual ~CrossoverEngine() = default;

  /// Sets the kernels of `bandCount` bands; they must add up to an impulse at the middle tap.
  virtual void setKernels(const double* const* kernels, int bandCount) noexcept = 0;
  /// Writes `bandCount` bands. If `right` is null the call is mono and `bandRight` is not touched.
  /// Outputs must not be inputs.
  virtual void process(const double* left, const double* right, double* const* bandLeft,
                       double* const* bandRight, int bandCount, int frames) noexcept = 0;
  virtual void reset() noexcept = 0;       ///< forgets the past
  virtual void resetRight() noexcept = 0;  ///< forgets the past of the second channel
  /// Delay of the block scheme in samples, in addition to the kernels' own `kTaps` / 2.
  [[nodiscard]] virtual int blockDelay() const noexcept = 0;
};

/// The crossover whose only delay is that of the kernels.
class Crossover final : public CrossoverEngine {
 public:
  void setKernels(const double* const* kernels, int bandCount) noexcept override {
    convolver.setKernels(kernels, bandCount);
  }
  void process(const double* left, const double* right, double* const* bandLeft,
               double* const* bandRight, int bandCount, int frames) noexcept override {
    convolver.process(left, right, bandLeft, bandRight, bandCount, frames);
  }
  void reset() noexcept override { convolver.reset(); }
  void resetRight() noexcept override { convolver.resetRight(); }
  [[nodiscard]] int blockDelay() const noexcept override { return 0; }

 private:
  PartitionedConvolver convolver{kTaps, kBands};
};

/// Produces the same bands 1023 samples later, with less work that is spread evenly over time. The
/// input is taken in blocks of 512; a block's transforms, one forward and one backward per band,
/// run one at a time in the next eight spans of 64 samples. The top band is the delayed input minus
/// all other bands, as its kernel is, so that the sum is exact.
///
/// New kernels, and a new number of bands, take effect at the next input block. Earlier blocks ring
/// out through the old kernels, so that no band jumps when a split moves. While the caller's number
/// of bands differs from that of the block being output, the topmost band common to both holds
/// everything above it.
class Crossover_WithLatency final
    : public CrossoverEngine {  // NOLINT(readability-identifier-naming)
 public:
  Crossover_WithLatency();

  void setKernels(const double* const* kernels, int bandCount) noexcept override;
  void process(const double* left, const double* right, double* const* bandLeft,
               double* const* bandRight, int bandCount, int frames) noexcept override;
  void reset() noexcept override;
  void resetRight() noexcept override;
  [[nodiscard]] int blockDelay() const noexcept override { return kBlockDelay; }

 private:
  static constexpr int kBlockDelay = 1023;
  static constexpr int kBlock = 512;
  static constexpr int kPartitions = kTaps / kBlock;
  static constexpr int kSpan = kBlock / kBands;  // samples per transform
  static constexpr int kLines = kBands - 1;      // bands that are convolved
  static constexpr int kDelay = kBlockDelay + kTaps / 2;
  static constexpr double kScale = 0.5 / kBlock;  // undoes the gain of both transforms

  struct KernelSet {
    PlanarArrays spectra{kLines * kPartitions, 2 * kBlock};
    int lines = 0;
  };
  /// The convolved bands of one block.
  struct Lines {
    PlanarArrays samples{kLines, kBlock};
    int count = 0;
  };

  void takeInput(const double* left, const double* right, int frames) noexcept;
  void emit(double* const* bandLeft, double* const* bandRight, int bandCount, int done, int frames,
            bool mono) noexcept;
  void endOfSpan() noexcept;
  void transformInput() noexcept;
  void transformBand(int band) noexcept;
  void addBands(int before, int count) noexcept;
  void endOfBlock() noexcept;

  KernelExchange<KernelSet> exchange;
  const PlanarFft& fft;
  PlanarArrays loading{3, 2 * kBlock};  // control side
  // The last `kDelay` samples, followed by those of the present block.
  PlanarArrays input{1, kDelay + kBlock};
  PlanarArrays spectrum{1, 2 * kBlock};      // of the block being worked on
  PlanarArrays carried{kLines, 2 * kBlock};  // spectra: per band, its part in the next block
  PlanarArrays tails{kLines, kBlock};        // per band, what the last block still adds
  PlanarArrays work{3, 2 * kBlock};
  std::array<Lines, 2> lines;  // the block being output and the one being worked on
  int out = 0;                 // index in `lines` of the block being output
  int position = 0;            // in the block being output
};
