#pragma once

#include <vector>

#include "dynamics/detector_lane.h"

/// Converts a lookahead to whole samples, clamped to 0..8191; `rate` in Hz. Pure; any thread.
[[nodiscard]] int lookaheadSamples(float ms, double rate) noexcept;

/// Makes a level rise ahead of the audio: takes the largest of the last n samples and smooths it by
/// two moving averages of 3n/4 and n/4 samples. If the audio is delayed by n, the level ramps up to
/// a peak and reaches it when the peak comes out.
///
/// One channel, in place. A lookahead of 0 or 1 sample leaves the signal as it is; one of 2 or 3
/// gives the plain maximum. After a change while audio runs, the averages continue from the
/// remembered maxima, not from silence.
///
/// Threads: the audio thread; `clear` while nothing processes. Only the constructor allocates.
class LookaheadWindow {
 public:
  static constexpr int kMaxSamples = 8191;

  LookaheadWindow();

  void clear() noexcept;  ///< forgets the signal
  /// Takes over the past signal of `other`.
  void copySignal(const LookaheadWindow& other) noexcept;
  /// Applies a lookahead of `samples`, at most `kMaxSamples`; call it before each block of
  /// `frames`.
  void beginBlock(int frames, int samples) noexcept;
  /// For the kernels of the detectors, which run many windows side by side: at most one comparison
  /// per doubling of the lookahead and sample.
  [[nodiscard]] WindowLane& lane() noexcept { return window; }

 private:
  void adopt(int samples) noexcept;
  void rebuildAverages() noexcept;
  // Move the tree's small levels from their form in use (`recent`) to rings, and back.
  void rollUp() noexcept;
  void unroll() noexcept;
  template <typename Visit>
  void forEachSmallLevel(Visit visit) noexcept;

  // Level k of the tree holds, for each of the last 2^k samples, the largest of the 2^k samples up
  // to it.
  std::vector<double> memory;  // the tree, its small levels unrolled, and both rings
  WindowLane window;
  int activeSamples = 0;
  int loudSamples = 0;  // samples until a level too loud for the running sums has left the rings
};
