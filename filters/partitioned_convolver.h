#pragma once

#include <array>
#include <vector>

#include "analysis/planar_array.h"
#include "analysis/planar_fft.h"
#include "filters/kernel_exchange.h"
#include "platform/index.h"

/// Convolves a stereo signal with one or several FIR kernels of up to 2048 taps, the exact sum of
/// taps with no delay at all (W. Gardner, Efficient convolution without input-output delay, 1995):
/// taps 0 to 31 directly, up to 255 in partitions of 32 and the rest in partitions of 256 by
/// transforms. Left and right run as the real and the imaginary part of one signal.
///
/// New kernels, and a new number of them, are in force from one sample of the input on, at most 256
/// samples after they were set, at once where nothing has been processed since `reset`. What came
/// in before rings out through the kernels it met, so that no output steps.
///
/// Threads: `setKernels` on a control thread at any moment; `process` and `reset*` on the audio
/// thread, where they neither lock nor allocate.
class PartitionedConvolver {
 public:
  static constexpr int kPhases = 256;

  /// `tapCount`: a multiple of 256, 512 to 2048; at most `kernelCount` kernels of that length.
  PartitionedConvolver(int tapCount, int kernelCount);

  /// `count` kernels of the constructor's length.
  void setKernels(const double* const* kernels, int count) noexcept;

  /// Forgets the past. `phase`: where in the cycle of 256 samples to begin (rounded down to a
  /// multiple of 32), so that several convolvers need not do their large transforms together.
  void reset(int phase = 0) noexcept;
  void resetRight() noexcept;  ///< forgets the second channel's

  /// Kernel k's output to outLeft[k] and outRight[k], which may be the inputs. A null `right` makes
  /// it mono: `outRight` is then not touched. `outputs` pairs, at most 8, are written, with silence
  /// where there are fewer kernels.
  void process(const double* left, const double* right, double* const* outLeft,
               double* const* outRight, int outputs, int frames) noexcept;

 private:
  static constexpr int kHead = 32;
  static constexpr int kSmall = 32;
  static constexpr int kLarge = kPhases;
  static constexpr int kMaxPartitions = 7;  // of either size

  /// Partitions of one size, by overlap-add: a block's whole response is that of the kernels which
  /// were in force when it came in.
  struct Stage {
    Stage(int block, int partitions, int kernelCount);
    /// Takes in a block, followed by as many zeros, and works out each kernel's part in the next
    /// two.
    template <typename SpectraOf>
    void run(ConstPlanarSpan padded, int kernels, SpectraOf spectraOf) noexcept;
    /// Works out what the blocks so far still have to say through these kernels, which others
    /// replace.
    template <typename SpectraOf>
    void retire(int kernels, SpectraOf spectraOf) noexcept;
    void addRetired(int kernel, PlanarSpan sum) noexcept;
    void clear() noexcept;
    void clearRight() noexcept;
    /// What is to be added up for the present block: the part that began with it, and the end of
    /// the one before.
    [[nodiscard]] PlanarSpan fresh(int kernel) const noexcept { return parts[2 * kernel + turn]; }
    [[nodiscard]] PlanarSpan tail(int kernel) const noexcept;

    int blockSize;
    int count;
    const PlanarFft& fft;
    PlanarArrays inputs;       // a ring of `count` spectra
    PlanarArrays work;         // two
    PlanarArrays parts;        // per kernel two, used in turn
    PlanarArrays retired;      // per kernel a ring of `count` spectra: the parts of former kernels
    std::vector<int> ringing;  // per kernel: runs until nothing of former kernels is left
    int newest = 0;            // of `inputs`
    int known = 0;             // of `inputs`, those that met the present kernels
    int turn = 0;              // of `parts`
    int due = 0;               // of `retired`, for the next run
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
  PlanarArrays past;        // `kHead` samples, the present block of `kLarge`, as many zeros
  PlanarArrays smallBlock;  // the last `kSmall` samples, as many zeros
  PlanarArrays loading;     // control side: three, for transforms
  int position = 0;         // in the present block
  bool silent = true;       // nothing has come in since `reset`
};
