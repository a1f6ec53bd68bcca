#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <vector>

#include "analysis/planar_array.h"
#include "analysis/planar_fft.h"
#include "filters/kernel_handover.h"
#include "platform/index.h"

/// FIR kernels as `PartitionedConvolver` reads them. Never changes, so that any number of
/// convolvers can share it.
class PartitionedKernels {
 public:
  static constexpr int kHead = 32;   ///< taps that are convolved directly
  static constexpr int kSmall = 32;  ///< taps of a partition for taps up to `kLarge`
  static constexpr int kLarge = 256;
  static constexpr int kSmallPartitions = kLarge / kSmall - 1;

  /// `count` kernels of `tapCount` taps, a multiple of 256 from 512 to 2048.
  PartitionedKernels(const double* const* kernels, int count, int tapCount);

  [[nodiscard]] int count() const noexcept { return static_cast<int>(heads.size()); }
  [[nodiscard]] const double* head(int kernel) const noexcept { return heads[at(kernel)].data(); }
  // Spectra of twice a partition's length, which undo the gain of both transforms.
  [[nodiscard]] ConstPlanarSpan small(int kernel, int partition) const noexcept {
    return smallSpectra[kernel * kSmallPartitions + partition];
  }
  [[nodiscard]] ConstPlanarSpan large(int kernel, int partition) const noexcept {
    return largeSpectra[kernel * largePartitions + partition];
  }

 private:
  int largePartitions;
  std::vector<std::array<double, kHead>> heads;
  PlanarArrays smallSpectra;
  PlanarArrays largeSpectra;
};

/// Convolves a stereo signal with one or several FIR kernels of up to 2048 taps, without any delay
/// (W. Gardner, Efficient convolution without input-output delay, 1995): taps 0 to 31 directly,
/// taps up to 255 by transforms in partitions of 32, the rest in partitions of 256. Left and right
/// run as the real and the imaginary part of one signal.
///
/// New kernels, and a new number of kernels, apply to the input from one sample on, at most 256
/// samples after they were set, or at once if nothing has been processed since `reset`. Earlier
/// input rings out through the kernels it met, so that no output jumps.
///
/// Threads: `setKernels` and `collect` on a control thread at any moment; `process` and `reset*` on
/// the audio thread, where they neither lock nor allocate.
class PartitionedConvolver {
 public:
  static constexpr int kPhases = 256;

  /// For at most `kernelCount` kernels of `tapCount` taps, a multiple of 256 from 512 to 2048.
  PartitionedConvolver(int tapCount, int kernelCount);

  /// Sets `count` kernels of the constructor's length. Throws std::bad_alloc, with nothing changed.
  void setKernels(const double* const* kernels, int count);
  /// Sets kernels that others may share; at most as many as the constructor was told.
  void setKernels(std::shared_ptr<const PartitionedKernels> kernels);
  /// Frees what former kernels have left.
  void collect() noexcept;

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
  static constexpr int kHead = PartitionedKernels::kHead;
  static constexpr int kSmall = PartitionedKernels::kSmall;
  static constexpr int kLarge = PartitionedKernels::kLarge;
  static constexpr int kMaxPartitions = 7;  // of either size

  using SpectrumOf = ConstPlanarSpan (PartitionedKernels::*)(int kernel, int partition) const;

  /// Partitions of one size, by overlap-add: a block's whole response is that of the kernels that
  /// it met.
  template <int blockSize, SpectrumOf spectrumOf>
  struct Stage {
    Stage(int partitions, int kernelCount);
    /// Takes a block and computes what each kernel adds to the next two blocks. `kernels` may be
    /// null, and `retired` if nothing rings.
    void run(ConstPlanarSpan block, const PartitionedKernels* kernels,
             const PlanarArrays* retired) noexcept;
    /// Computes what the blocks so far will still add through these kernels, which are about to be
    /// replaced.
    void retire(const PartitionedKernels& kernels, const PlanarArrays& retired) noexcept;
    void addRetired(int kernel, PlanarSpan sum, const PlanarArrays& retired) noexcept;
    [[nodiscard]] bool rings() const noexcept;
    void clear() noexcept;
    void clearRight(const PlanarArrays* retired) noexcept;
    /// Its ring of `count` spectra per kernel, for the parts of former kernels.
    [[nodiscard]] PlanarArrays ring() const;
    // The two parts that add up to the present block: the one that began with it (`fresh`) and the
    // end of the one before (`tail`).
    [[nodiscard]] PlanarSpan fresh(int kernel) const noexcept { return parts[2 * kernel + turn]; }
    [[nodiscard]] PlanarSpan tail(int kernel) const noexcept;

    int count;
    const PlanarFft& fft;
    PlanarArrays inputs;       // a ring of `count` spectra
    PlanarArrays parts;        // two per kernel, used in turn
    std::vector<int> ringing;  // per kernel: runs until former kernels have rung out
    int newest = 0;            // index in `inputs`
    int known = 0;             // how many of `inputs` met the present kernels
    int turn = 0;              // index in `parts`
    int due = 0;               // index in the ring of former kernels for the next run
  };
  using SmallStage = Stage<kSmall, &PartitionedKernels::small>;
  using LargeStage = Stage<kLarge, &PartitionedKernels::large>;

  /// What former kernels still add. Needed only after a change, therefore made with each change.
  struct RingOut {
    PlanarArrays small;
    PlanarArrays large;
  };
  struct Load {
    std::shared_ptr<const PartitionedKernels> kernels;
    std::unique_ptr<RingOut> ringOut;       // null if there were no kernels before
    std::atomic<bool> isRingUnused{false};  // set by the audio thread
    std::atomic<bool> done{false};
  };

  [[nodiscard]] const PartitionedKernels* active() const noexcept {
    return current == nullptr ? nullptr : current->kernels.get();
  }
  void processChunk(const double* left, const double* right, double* const* outLeft,
                    double* const* outRight, int outputs, int frames) noexcept;
  void convolveChunk(int kernel, double* left, double* right, int frames) noexcept;
  void endOfBlock() noexcept;
  void takeKernels() noexcept;
  void retireKernels(Load& next) noexcept;
  void endRinging() noexcept;

  int taps;
  SmallStage small;
  LargeStage large;
  KernelHandover<Load> handover;
  Load* current = nullptr;  // audio thread: whose kernels are in use
  Load* ringing = nullptr;  // audio thread: whose `ringOut` is in use
  PlanarArrays past;        // `kHead` samples, then the present block of `kLarge`
  int position = 0;         // in the present block
  bool silent = true;       // nothing has come in since `reset`
};
