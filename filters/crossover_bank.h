#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <span>
#include <vector>

#include "filters/crossover.h"
#include "filters/curve_cache.h"
#include "filters/kernel_copy.h"
#include "platform/plug_base_mutex.h"

/// The frequencies and slopes at which the crossover splits.
struct CrossoverSplits {
  static constexpr int kBands = CrossoverEngine::kBands;

  int bandCount = 0;
  // Index k from 1 is the split between bands k - 1 and k.
  std::array<double, kBands> splitFrequency{};  ///< Hz
  std::array<double, kBands> splitExponent{};   ///< slope in units of 6.02 dB per octave
  bool operator==(const CrossoverSplits&) const = default;
};

/// The ideal magnitudes of all bands: the low-pass of the split above a band times the high-passes
/// of all splits below it. A low-pass is 1 / (1 + (f / split)^exponent), a high-pass 1 minus that.
/// 1 for bands not in use.
[[nodiscard]] std::array<double, CrossoverSplits::kBands> bandMagnitudes(
    const CrossoverSplits& splits, double frequency) noexcept;

/// The crossover: designs kernels from splits and runs them. The kernels are linear-phase with 1024
/// taps and add up to an impulse at tap 512, so that the bands add up to the input delayed by
/// `latency` samples. Until kernels are built the lowest band is all of the input. Holds next to
/// nothing until there are bands; those of a caller who asks before that are silent.
///
/// Threads: `setSampleRate`, `setSplits` and `buildKernels` on one control thread at a time, at any
/// moment; `processBlock` and `reset*` on the audio thread; `bandMagnitude`, `crossoverCurve` and
/// `copyKernel` on any other threads, several at once.
class CrossoverBank {
 public:
  static constexpr int kBands = CrossoverSplits::kBands;
  static constexpr int kTaps = CrossoverEngine::kTaps;
  static constexpr int kMostLatency = kTaps / 2 + kTaps - 1;  ///< samples

  void setSampleRate(double hz) noexcept { sampleRate = hz; }
  /// Takes the centres (Hz, ascending) and slopes (dB per octave) of up to eight bands. A split
  /// lies at the geometric mean of two neighbouring centres and has the slope of the lower band.
  void setSplits(std::span<const double> centres, std::span<const double> slopes);
  /// Hands kernels to the audio thread if splits or rate have changed; designs them if no instance
  /// has these.
  void buildKernels();

  /// Splits `inputs` into `bandCount` bands; mono if the second channel is null.
  void processBlock(const double* const inputs[2], double* const* bandLeft,
                    double* const* bandRight, int bandCount, int frames) noexcept;
  void reset() noexcept;
  void resetRight() noexcept;  ///< the second channel alone
  /// Samples, if there is a crossover band.
  [[nodiscard]] int latency() const noexcept;

  [[nodiscard]] double bandMagnitude(int band, double frequency) const;
  /// Writes `bandMagnitude` at `n` frequencies (Hz) to `out`. Cached; see `CurveCache`.
  void crossoverCurve(const float* frequencies, int n, float* out, int band);

  /// See `KernelCopy::copy`; 0 for an unknown band.
  unsigned copyKernel(int band, unsigned known, std::vector<double>& taps) const;

  bool useBlocked = true;  ///< less work, 1023 samples more delay; set before the first splits

 private:
  void makeEngine();
  [[nodiscard]] CrossoverSplits currentSplits() const;

  double sampleRate = 44100.0;
  CrossoverSplits splits;  // written by the control side under the lock
  mutable PlugBaseMutex splitsLock;
  CrossoverSplits builtSplits;  // what the kernels were designed from
  double builtRate = 0.0;
  std::unique_ptr<CrossoverEngine> owned;  // null until the first splits
  std::atomic<CrossoverEngine*> engine{nullptr};
  CurveCache<CrossoverSplits, kBands> curves;
  std::array<KernelCopy, kBands> copies;
};
