#pragma once

#include <array>
#include <vector>

#include "analysis/planar_array.h"
#include "analysis/planar_fft.h"
#include "filters/kernel_exchange.h"
#include "platform/index.h"

/// Convolves a stereo signal with one or several FIR kernels of up to 2048 taps, without any delay
/// (W. Gardner, Efficient convolution without input-output delay, 1995): taps 0 to 31 directly,
/// taps up to 255 by transforms in partitions of 32, the rest in partitions of 256. Left and right
/// run as the real and the imaginary part of one signal.
///
/// New kernels, and a new number of kernels, apply to the input from one sample on, at most 256
/// samples after they were set, or at once if nothing has been processed since `reset`. Earlier
/// input rings out through the kernels it met, so that no output jumps.
///
/// Threads: `setKernels` on a control thread at any moment; `process` and `reset*` on the audio
/// thread, where they neither lock nor allocate.
class PartitionedConvolver {
 public:
  static constexpr int kPhases = 256;

  /// For at most `kernelCount` kernels of `tapCount` taps, a multiple of 256 from 512 to 2048.
  PartitionedConvolver(int tapCount, int kernelCount);

  /// Sets `count` kernels of the constructor's length.
  void setKernels(const double* const* kernels, int count) noexcept;

  /// Forgets the past. `phase`: where in the cycle of 256 samples to begin, rounded down to a
  /// multiple of 32, so that several convolvers do their large transforms at different times.
  void reset(int phase = 0) noexcept;
  void resetRight() noexcept;  ///< forgets the past of the second channel

  /// Writes the output of kernel k to outLeft[k] and outRight[k], which may be the inputs. If
  /// `right` is null the call is mono and `outRight` is not touched. Writes `outputs` pairs, at
  /// most 8; those without a kernel are silent.
  void process(const double* left, const double* right, double* const* outLeft,
               double* const* outRight, int outputs, int frames) noexcept;

 private:
  static constexpr int kHead = 32;
  static constexpr int kSmall = 32;
  static constexpr int kLarge = kPhases;
  static constexpr int kMaxPartitions = 7;  // of either size

  /// Partitions of one size, by overlap-add: a block's whole response is that of the kernels that
  /// it met.
  struct Stage {
    Stage(int block, int partitions, int kernelCount);
    /// Takes a block, followed by as many zeros, and computes what each kernel adds to the next two
    /// blocks.
    template <typename SpectraOf>
    void run(ConstPlanarSpan padded, int kernels, SpectraOf spectraOf) noexcept;
    /// Computes what the blocks so far will still add through these kernels, which are about to be
    /// replaced.
    template <typename SpectraOf>
    void retire(int kernels, SpectraOf spectraOf) noexcept;
    void addRetired(int kernel, PlanarSpan sum) noexcept;
    void clear() noexcept;
    void clearRight() noexcept;
    // The two parts that add up to the present block: the one that began with it (`fresh`) and the
    // end of the one before (`tail`).
    [[nodiscard]] PlanarSpan fresh(int kernel) const noexcept { return parts[2 * kernel + turn]; }
    [[nodiscard]] PlanarSpan tail(int kernel) const noexcept;

    int blockSize;
    int count;
    const PlanarFft& fft;
    PlanarArrays inputs;       // a ring of `count` spectra
    PlanarArrays work;         // two
    PlanarArrays parts;        // two per kernel, used in turn
    PlanarArrays retired;      // per kernel a ring of `count` spectra: the parts of former kernels
    std::vector<int> ringing;  // per kernel: runs until former kernels have rung out
    int newest = 0;            // index in `inputs`
    int known = 0;             // how many of `inputs` met the present kernels
    int turn = 0;              // index in `parts`
    int due = 0;               // index in `retired` for the next run
  };

  struct Spectra {
    std::array<double, kHead> head{};
    PlanarArrays small;
    PlanarArrays large;
  };
  struct KernelSet {
    KernelSet(int smallPartitions, int largePartitions, int kernelCount);
    [[nodiscard]] auto smallSpectra() const noexcept {
      return [this](int k) -> const PlanarArrays& { return kernels[at(k)].small; };
    }
    [[nodiscard]] auto largeSpectra() const noexcept {
      return [this](int k) -> const PlanarArrays& { return kernels[at(k)].large; };
    }
    std::vector<Spectra> kernels;
    int count = 0;
  };

  void loadPartitions(const double* taps, const Stage& stage, const PlanarArrays& spectra) noexcept;
  void processChunk(const double* left, const double* right, double* const* outLeft,
                    double* const* outRight, int outputs, int frames) noexcept;
  void convolveChunk(int kernel, double* left, double* right, int frames) noexcept;
  void endOfBlock() noexcept;
  void changeKernels() noexcept;

  Stage small;
  Stage large;
  KernelExchange<KernelSet> exchange;
  PlanarArrays past;        // `kHead` samples, the present block of `kLarge`, then `kLarge` zeros
  PlanarArrays smallBlock;  // the last `kSmall` samples, then `kSmall` zeros
  PlanarArrays loading;     // control side: three, for transforms
  int position = 0;         // in the present block
  bool silent = true;       // nothing has come in since `reset`
};
