#pragma once

#include <cstdint>

/// A gain that moves to each new target in a straight line of 1000 samples, at any sample rate.
/// Threads: on the audio thread, where it neither locks nor allocates.
class GainRamp {
 public:
  static constexpr int kLength = 1000;  ///< samples

  explicit GainRamp(double startGain) noexcept : target(startGain) {}

  /// Starts a ramp from the present gain when `gain` differs from the last target; a change in the
  /// middle of a ramp starts from where that ramp is, with its whole length to go.
  void setTarget(double gain) noexcept;
  /// The gain jumps to its target.
  void reset() noexcept;
  /// Writes the next `frames` gains.
  void fill(double* gains, int frames) noexcept;

 private:
  double target;
  double step = 0.0;       // change per sample
  std::int32_t count = 0;  // samples to go
};
