#pragma once

#include <array>
#include <atomic>
#include <vector>

#include "analysis/planar_array.h"
#include "analysis/planar_fft.h"
#include "filters/kernel_exchange.h"
#include "filters/partitioned_convolver.h"

/// Splits a stereo signal into bands, each by an FIR kernel of `kTaps` taps.
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

  /// The kernels of `bandCount` bands, which add up to an impulse at the middle tap.
  virtual void setKernels(const double* const* kernels, int bandCount) noexcept = 0;
  /// Writes `bandCount` bands; `right` null is mono, and `bandRight` is then not touched. The
  /// outputs must not be the inputs.
  virtual void process(const double* left, const double* right, double* const* bandLeft,
                       double* const* bandRight, int bandCount, int frames) noexcept = 0;
  virtual void reset() noexcept = 0;       ///< forgets the past
  virtual void resetRight() noexcept = 0;  ///< that of the second channel
  /// Samples by which the block scheme delays, beside the kernels' own `kTaps` / 2.
  [[nodiscard]] virtual int blockDelay() const noexcept = 0;
};

/// With the latency of the kernels alone.
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

/// The same bands 1023 samples later, for less work, spread evenly over time: the input is taken in
/// blocks of 512, and of a block's transforms, one forward and one backward per band, one is done
/// in each of the next eight spans of 64 samples. The top band is the delayed input less the
/// others, which is what its kernel is, so that all add up to the delayed input whatever the
/// kernels do.
///
/// New kernels, and a new number of bands, take effect for the first block taken in with them; what
/// came before rings out through the old ones, so that no band jumps when a split moves. When the
/// caller's number of bands is not that of the block coming out, the topmost band both know holds
/// all that is above it.
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
  static constexpr int kSpan = kBlock / kBands;  // of one transform's turn
  static constexpr int kLines = kBands - 1;      // bands that are convolved
  static constexpr int kDelay = kBlockDelay + kTaps / 2;
  static constexpr double kScale = 0.5 / kBlock;  // of a forward and a backward transform

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
  // The last `kDelay` samples, then those of the present block.
  PlanarArrays input{1, kDelay + kBlock};
  PlanarArrays spectrum{1, 2 * kBlock};      // of the block being worked on
  PlanarArrays carried{kLines, 2 * kBlock};  // spectra: its part, per band, in the next block's
  PlanarArrays tails{kLines, kBlock};        // what of a band's last block rings on
  PlanarArrays work{3, 2 * kBlock};
  std::array<Lines, 2> lines;  // coming out, being worked on
  int out = 0;                 // of `lines`
  int position = 0;            // in the block coming out
};
