#pragma once

#include <atomic>
#include <cstdint>

/// A gain that moves to each new target in a straight line of 1000 samples, at any sample rate.
/// Threads: `setTarget` on one control thread at a time, at any moment; `fill` on the audio thread,
/// which starts a ramp at its next block; `reset` while nothing processes. None of them locks or
/// allocates.
class GainRamp {
 public:
  static constexpr int kLength = 1000;  ///< samples

  explicit GainRamp(double startGain) noexcept : wanted(startGain), target(startGain) {}

  /// Starts a ramp from the present gain when `gain` differs from the last target; a change in the
  /// middle of a ramp starts from where that ramp is, with its whole length to go.
  void setTarget(double gain) noexcept;
  /// The gain jumps to its target.
  void reset() noexcept;
  /// Writes the next `frames` gains.
  void fill(double* gains, int frames) noexcept;

 private:
  void retarget() noexcept;

  // From control to audio: `changes` counts targets and is stored after its target, with release. A
  // target newer than the count that came with it only makes the next block start its ramp anew.
  std::atomic<double> wanted;
  std::atomic<std::uint32_t> changes{0};

  // Audio thread.
  std::uint32_t changesSeen = 0;
  double target;
  double step = 0.0;       // change per sample
  std::int32_t count = 0;  // samples to go
};
