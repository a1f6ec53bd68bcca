#pragma once

#include <array>
#include <vector>

#include "analysis/planar_array.h"
#include "analysis/planar_fft.h"
#include "filters/kernel_exchange.h"

/// Convolves a stereo signal with one or several FIR kernels of up to 2048 taps, the exact sum of
/// taps with no delay at all (W. Gardner, Efficient convolution without input-output delay, 1995):
/// taps 0 to 31 directly, up to 255 in partitions of 32 and the rest in partitions of 256 by
/// transforms. Left and right run as the real and the imaginary part of one signal.
///
/// New kernels take effect as a whole at one sample, at most 256 samples after they were set, at
/// once where nothing has been processed since `reset`.
///
/// Threads: `setKernels` on a control thread at any moment; `process` and `reset` on the audio
/// thread, where they neither lock nor allocate.
class PartitionedConvolver {
 public:
  static constexpr int kPhases = 256;

  /// `tapCount`: a multiple of 256; at most `kernelCount` kernels of that length.
  PartitionedConvolver(int tapCount, int kernelCount);

  /// `count` kernels of the constructor's length.
  void setKernels(const double* const* kernels, int count) noexcept;

  /// Forgets the past. `phase`: where in the cycle of 256 samples to begin (rounded down to a
  /// multiple of 32), so that several convolvers need not do their large transforms together.
  void reset(int phase = 0) noexcept;

  /// Kernel k's output to outLeft[k] and outRight[k], which may be the inputs. A null `right` makes
  /// it mono: `outRight` is then not touched. `outputs` pairs are written, with silence where there
  /// are fewer kernels.
  void process(const double* left, const double* right, double* const* outLeft,
               double* const* outRight, int outputs, int frames) noexcept;

 private:
  static constexpr int kHead = 32;
  static constexpr int kSmall = 32;
  static constexpr int kLarge = kPhases;
  static constexpr int kMaxPartitions = 7;  // of either size

  /// Partitions of one size: the spectra of the input's last blocks, and the transform they take.
  struct Stage {
    Stage(int block, int partitions, int kernelCount);
    /// Takes in the block that ends at `end` and works out each kernel's part in the next block.
    template <typename SpectraOf>
    void run(ConstPlanarSpan end, int kernels, SpectraOf spectraOf) noexcept;
    void clear() noexcept;

    int blockSize;
    int count;
    const PlanarFft& fft;
    PlanarArrays inputs;   // a ring of `count` spectra
    PlanarArrays work;     // three
    PlanarArrays outputs;  // per kernel, `blockSize` each
    int newest = 0;
  };

  struct Spectra {
    std::array<double, kHead> head{};
    PlanarArrays small;
    PlanarArrays large;
  };
  struct KernelSet {
    KernelSet(int smallPartitions, int largePartitions, int kernelCount);
    std::vector<Spectra> kernels;
    int count = 0;
  };

  void loadPartitions(const double* taps, const Stage& stage, const PlanarArrays& spectra) noexcept;
  void processChunk(const double* left, const double* right, double* const* outLeft,
                    double* const* outRight, int outputs, int frames) noexcept;
  void convolveChunk(int kernel, const double* taps, double* left, double* right,
                     int frames) noexcept;
  void endOfBlock() noexcept;

  Stage small;
  Stage large;
  KernelExchange<KernelSet> exchange;
  PlanarArrays past;     // the last block of `kLarge` samples, then the present one
  PlanarArrays loading;  // control side: three, for transforms
  int position = 0;      // in the present block
  bool silent = true;    // nothing has come in since `reset`
};
