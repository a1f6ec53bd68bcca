#pragma once

#include <array>
#include <atomic>
#include <memory>

#include "analysis/planar_array.h"
#include "analysis/planar_fft.h"
#include "filters/kernel_handover.h"
#include "filters/partitioned_convolver.h"

/// Splits a mono or stereo signal into bands, each by an FIR kernel of `kTaps` taps.
///
/// Threads: `setKernels` and `collect` on a control thread at any moment; `process` and `reset*` on
/// the audio thread, where they neither lock nor allocate.
class CrossoverEngine {
 public:
  static constexpr int kBands = 8;
  static constexpr int kTaps = 1024;

  CrossoverEngine() = default;
  CrossoverEngine(const CrossoverEngine&) = delete;
  CrossoverEngine& operator=(const CrossoverEngine&) = delete;
  virtual ~CrossoverEngine() = default;

  /// Sets the kernels of `bandCount` bands; they must add up to an impulse at the middle tap.
  /// Throws std::bad_alloc, with nothing changed.
  virtual void setKernels(const double* const* kernels, int bandCount) = 0;
  /// Frees what former kernels have left.
  virtual void collect() noexcept = 0;
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
  static constexpr int kBlockDelay = 0;

  void setKernels(const double* const* kernels, int bandCount) override {
    convolver.setKernels(kernels, bandCount);
  }
  /// Sets kernels that others may share.
  void setKernels(std::shared_ptr<const PartitionedKernels> kernels) {
    convolver.setKernels(std::move(kernels));
  }
  void collect() noexcept override { convolver.collect(); }
  void process(const double* left, const double* right, double* const* bandLeft,
               double* const* bandRight, int bandCount, int frames) noexcept override {
    convolver.process(left, right, bandLeft, bandRight, bandCount, frames);
  }
  void reset() noexcept override { convolver.reset(); }
  void resetRight() noexcept override { convolver.resetRight(); }
  [[nodiscard]] int blockDelay() const noexcept override { return kBlockDelay; }

 private:
  PartitionedConvolver convolver{kTaps, kBands};
};

/// The kernels of all bands but the topmost as `Crossover_WithLatency` reads them. Never changes,
/// so that any number of crossovers can share it.
class BlockedKernels {
 public:
  static constexpr int kBlock = 512;

  BlockedKernels(const double* const* kernels, int bandCount);

  [[nodiscard]] int lines() const noexcept { return lineCount; }  ///< bands that are convolved
  // Spectra of the first and the second half of a kernel, which undo the gain of both transforms.
  [[nodiscard]] ConstPlanarSpan near(int band) const noexcept { return spectra[2 * band]; }
  [[nodiscard]] ConstPlanarSpan far(int band) const noexcept { return spectra[2 * band + 1]; }

 private:
  int lineCount;
  PlanarArrays spectra;
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
  static constexpr int kBlockDelay = 1023;

  Crossover_WithLatency();

  void setKernels(const double* const* kernels, int bandCount) override;
  /// Sets kernels that others may share.
  void setKernels(std::shared_ptr<const BlockedKernels> kernels);
  void collect() noexcept override { handover.collect(); }
  void process(const double* left, const double* right, double* const* bandLeft,
               double* const* bandRight, int bandCount, int frames) noexcept override;
  void reset() noexcept override;
  void resetRight() noexcept override;
  [[nodiscard]] int blockDelay() const noexcept override { return kBlockDelay; }

 private:
  static constexpr int kBlock = BlockedKernels::kBlock;
  static constexpr int kSpan = kBlock / kBands;  // samples per transform
  static constexpr int kLines = kBands - 1;      // bands that are convolved
  static constexpr int kDelay = kBlockDelay + kTaps / 2;
  static constexpr int kRing = 4 * kBlock;        // samples; more than `kDelay` and a span
  static constexpr double kScale = 0.5 / kBlock;  // undoes the gain of both transforms

  struct Load {
    std::shared_ptr<const BlockedKernels> kernels;
    std::atomic<bool> done{false};
  };
  /// A convolved band: index 0 and 1 are its samples in the block being output and in the one being
  /// worked on, in turn; index 2 is what the last block still adds.
  using Line = PlanarArrays;
  static constexpr int kTail = 2;

  void takeInput(const double* left, const double* right, int frames) noexcept;
  void emit(double* const* bandLeft, double* const* bandRight, int bandCount, int done, int frames,
            bool mono) noexcept;
  void fetchAhead(int frames) const noexcept;
  void endOfSpan(int framesLeft) noexcept;
  void takeKernels() noexcept;
  void transformInput() noexcept;
  void transformBand(int band) noexcept;
  void carryOver(int band, PlanarSpan sum, PlanarSpan work) const noexcept;
  void addTails(int before, int count) noexcept;
  /// Where the sample is that came so many before the present one, at most `kDelay`.
  [[nodiscard]] int placeBefore(int samples) const noexcept {
    return (start + position - samples) & (kRing - 1);
  }

  KernelHandover<Load> handover;
  const PlanarFft& fft;
  // The control side makes a line before it publishes the first kernels that need it.
  std::array<Line, kLines> lines;
  // A ring that starts with a block, and after it its first sample once more: the ways back are
  // one sample short of whole spans.
  PlanarArrays input{1, kRing + 1};
  PlanarArrays spectra{2, 2 * kBlock};  // of the block being worked on and of the one before
  Load* current = nullptr;              // whose kernels the block being worked on meets
  Load* former = nullptr;               // those that the block before met, if others
  int linesUsed = 0;                    // lines that have ever been needed
  std::array<int, 2> counts{};          // lines of the block being output and the one worked on
  int out = 0;                          // index in `counts` and in lines of the block being output
  int newest = 0;                       // index in `spectra` of the block being worked on
  int start = 0;                        // of that block in `input`
  int position = 0;                     // in that block
};
