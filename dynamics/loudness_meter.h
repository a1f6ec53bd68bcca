#pragma once

#include <array>
#include <atomic>
#include <cstdint>

/// The two biquads of the K-weighting of ITU-R BS.1770, for one channel at any sample rate.
class KWeighting {
 public:
  /// Coefficients for `sampleRate` (Hz, > 0).
  void design(double sampleRate) noexcept;
  void reset() noexcept;
  [[nodiscard]] double process(double x) noexcept;

 private:
  struct Biquad {
    double b0 = 1.0, b1 = 0.0, b2 = 0.0, a1 = 0.0, a2 = 0.0;
    double s1 = 0.0, s2 = 0.0;

    [[nodiscard]] double process(double x) noexcept;
  };
  Biquad highPass;
  Biquad shelf;
};

/// Compares the loudness of a signal before (`dry`) and after (`wet`) processing by two K-weighted
/// running mean squares with a time constant of 22.5 seconds. Threads: `setSampleRate` while
/// nothing processes; `setMeasuring` and `result` on control threads, one at a time; `measure` on
/// the audio thread, which owns the filters and sums and clears them when a new measurement begins.
class LoudnessMeter {
 public:
  struct Result {
    double dryMeanSquare = 0.0;
    double wetMeanSquare = 0.0;
    std::int32_t dryCount = 0;  ///< samples measured, no more than 2^31 - 1
    std::int32_t wetCount = 0;
  };

  /// Hz; at or below 0 the mean follows every sample at once.
  void setSampleRate(double sampleRate) noexcept;
  /// Starts a new measurement, unless one is running, or stops it.
  void setMeasuring(bool on) noexcept;
  [[nodiscard]] bool measuring() const noexcept;
  /// The result so far; all 0 before the first block of a measurement and while none is running.
  [[nodiscard]] Result result() const noexcept;

  /// Measures one side of a block, first dry, then wet. `right` is not read if `channels` is 1.
  void measure(const double* left, const double* right, bool isDry, int frames,
               int channels) noexcept;

 private:
  struct Side {
    std::array<KWeighting, 2> filters;
    double meanSquare = 0.0;
    std::int32_t count = 0;
    int channels = 2;  // of the last block
  };
  void restart() noexcept;
  void publish() noexcept;

  std::atomic<bool> active{false};
  std::atomic<std::uint32_t> started{0};  // counts measurements; written by the control side
  double averageCoef = 1.0;

  std::uint32_t seen = 0;  // audio side: the measurement that `dry` and `wet` belong to
  Side dry;
  Side wet;

  // Results up to the last block. `publishedStart`, stored last with release, says to which
  // measurement they belong.
  std::atomic<double> dryMeanSquare{0.0};
  std::atomic<double> wetMeanSquare{0.0};
  std::atomic<std::int32_t> dryCount{0};
  std::atomic<std::int32_t> wetCount{0};
  std::atomic<std::uint32_t> publishedStart{0};
};
