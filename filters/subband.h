#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

#include "filters/analog_sections.h"
#include "filters/band_shape.h"
#include "filters/curve_cache.h"
#include "filters/kernel_copy.h"
#include "filters/partitioned_convolver.h"
#include "platform/plug_base_mutex.h"

/// Half-power edge ratio of a second-order band-pass: its edges lie at f / r and f * r.
[[nodiscard]] double bandEdgeRatio(double q) noexcept;

/// The filter of a dynamic EQ band: extracts a region of the spectrum with a linear-phase FIR of
/// 2048 taps, and provides the rest, so that both add up to the delayed input. Analog filters
/// describe the region; the kernel is sampled from their magnitude and used for all channels. Holds
/// next to nothing until it is configured to filter.
///
/// Threads: `setSampleRate`, `configureFilters` and `rebuildKernel` on one control thread at a
/// time, at any moment; `filter` and `reset*` on the audio thread, where they neither lock nor
/// allocate; `latency` on any thread; `bandCurve`, `bandMagnitude` and `copyKernel` on any other
/// thread, several at once.
class subband {
 public:
  static constexpr int kTaps = 2048;
  static constexpr int kChannels = 2;

  void setSampleRate(double hz);  ///< Hz
  /// `shape`: a `SubType`. `frequency` in Hz; slopes in dB per octave, `slope2` that of the lower
  /// edge of `kBandPassB`. Marks the kernel for a rebuild if it changes.
  void configureFilters(int shape, float frequency, float slope, float q, float slope2);
  /// Hands the kernel over, if marked; designs it if no instance has it.
  void rebuildKernel();

  /// `band` holds the input and is replaced by the band; `rest` is written. `channels`: 1 or 2.
  /// Returns the delay of both in samples. Until `configureFilters` the band is silent and all is
  /// in the rest, without a delay.
  int filter(double* const band[kChannels], double* const rest[kChannels], int frames,
             int channels) noexcept;
  /// Forgets the past. `newPhase`: when to do the large part of the work, in samples; bands whose
  /// phases differ by multiples of 32 do it at different times.
  void reset(int newPhase) noexcept;
  void resetRight() noexcept;  ///< forgets the second channel's past

  /// Delay of the band in samples.
  [[nodiscard]] int latency() const noexcept {
    return filtered.load(std::memory_order_relaxed) ? kTaps / 2 : 0;
  }

  /// The analog magnitude at `frequency` (Hz).
  [[nodiscard]] double bandMagnitude(double frequency) const;
  /// Writes `bandMagnitude` at `n` frequencies (Hz) to `out`. Cached; see `CurveCache`.
  void bandCurve(const float* frequencies, int n, float* out);
  /// See `KernelCopy::copy`; 0 if the band lets everything through.
  unsigned copyKernel(unsigned known, std::vector<double>& taps) const {
    return filtered.load(std::memory_order_relaxed) ? kernelCopy.copy(known, taps) : 0;
  }

 private:
  static constexpr int kDelay = kTaps / 2;

  /// The rows of three filters in series: high-pass, low-pass, band-pass.
  struct Sections {
    std::array<AnalogSections, 3> filters = {kFlatSections, kFlatSections, kFlatSections};
    [[nodiscard]] double magnitudeAt(double frequency) const noexcept;
    bool operator==(const Sections&) const = default;
  };

  /// What the audio thread needs to filter.
  struct Filter {
    void delay(double* samples, std::size_t channel, int frames) noexcept;

    static constexpr std::size_t kApart = 40;  // samples, so that lines share no cache sets
    PartitionedConvolver convolver{kTaps, 1};
    std::array<std::array<double, kDelay + kApart>, kChannels> lines{};
    int index = 0;  // in the lines
  };

  void useKernel(const Sections& source);
  /// What the audio thread filters with, or null if it does not.
  [[nodiscard]] Filter* inUse() const noexcept {
    const bool filters = filtered.load(std::memory_order_relaxed);
    return filters ? shared.load(std::memory_order_acquire) : nullptr;
  }

  // Control side.
  double sampleRate = 44100.0;
  bool rebuildNeeded = true;
  std::unique_ptr<Filter> owned;  // null until the first setting that filters

  std::atomic<bool> filtered{false};
  std::atomic<bool> configured{false};  // until it is set, the rest is the whole input
  std::atomic<Filter*> shared{nullptr};

  // Audio thread.
  int phase = 0;
  bool running = false;  // the last block was filtered

  // Source of the curves.
  Sections sections;  // written by the control side under the lock
  mutable PlugBaseMutex sectionsLock;
  CurveCache<Sections> curve;
  KernelCopy kernelCopy;
};
