#pragma once

#include <cstdint>

/// A gain that moves to each new target in a linear ramp of 1000 samples, at any sample rate.
/// Threads: audio thread; it neither locks nor allocates.
class GainRamp {
 public:
  static constexpr int kLength = 1000;  ///< samples

  explicit GainRamp(double startGain) noexcept : target(startGain) {}

  /// Starts a ramp of full length from the present gain, even in the middle of another ramp, if
  /// `gain` differs from the last target.
  void setTarget(double gain) noexcept;
  /// Makes the gain jump to its target.
  void reset() noexcept;
  /// Writes the next `frames` gains.
  void fill(double* gains, int frames) noexcept;

 private:
  double target;
  double step = 0.0;       // change per sample
  std::int32_t count = 0;  // samples to go
};
