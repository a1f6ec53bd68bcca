#pragma once

#include <array>

#include "dynamics/work_buffers.h"

/// The way from the output of one chain to that of another, which starts from silence: first the
/// newer one is fed until its latency is full and its filters have settled, then the two outputs
/// are compared, then the newer one is faded in. Where both carry the same signal the weights add
/// up to 1, where they differ their powers do; in between by the correlation that was found.
///
/// Threads: the audio thread; nothing locks or allocates.
class ChainFade {
 public:
  enum class Phase { kFill, kCompare, kFade, kDone };

  /// `rate` in Hz; `latency` of the newer chain in samples.
  void start(double rate, int latency) noexcept;
  [[nodiscard]] Phase phase() const noexcept { return present; }
  /// Frames until the phase ends; slices must not go beyond.
  [[nodiscard]] int left() const noexcept { return length - position; }
  /// Puts what is to be heard of `frames` frames into `older`, and moves on. Returns whether a
  /// phase has ended.
  bool mix(const WorkBuffers::Pair& older, const WorkBuffers::Pair& newer, int channels,
           int frames) noexcept;

 private:
  void compare(const double* older, const double* newer, int frames) noexcept;
  void fade(double* older, const double* newer, int frames) const noexcept;
  void enter(Phase next) noexcept;

  Phase present = Phase::kDone;
  int position = 0;                                          // in the phase
  int length = 0;                                            // of the phase, samples
  int latency = 0;                                           // to fill, samples
  int fadeLength = 1;                                        // samples
  double olderPower = 0.0, newerPower = 0.0, product = 0.0;  // sums while comparing
  double correlation = 1.0;
};
