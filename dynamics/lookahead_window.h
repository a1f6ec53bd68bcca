#pragma once

#include <vector>

#include "dynamics/detector_lane.h"

/// A lookahead in whole samples, cut to 8191, 0 for anything below; `rate` in Hz. Pure; any thread.
[[nodiscard]] int lookaheadSamples(float ms, double rate) noexcept;

/// Lets a level rise ahead of the audio: the largest of the last n samples, smoothed by two moving
/// averages of 3n/4 and n/4 samples. Where the audio is delayed by n, the level of a peak is
/// reached along a ramp when that peak comes out.
///
/// One channel, in place. A lookahead of 0 or 1 sample leaves the signal as it is, one of 2 or 3
/// gives the plain maximum. A change while audio runs takes the averages from the remembered
/// maxima, not from silence.
///
/// Threads: the audio thread; `clear` while nothing processes. Only the constructor allocates.
class LookaheadWindow {
 public:
  static constexpr int kMaxSamples = 8191;

  LookaheadWindow();

  void clear() noexcept;  ///< forgets the signal
  /// Takes over what `other` has heard.
  void copySignal(const LookaheadWindow& other) noexcept;
  /// Takes up a lookahead of `samples`, at most `kMaxSamples`; before each block of `frames`.
  void beginBlock(int frames, int samples) noexcept;
  /// For the kernels of the detectors, which run many windows side by side: at most one comparison
  /// per doubling of the lookahead and sample.
  [[nodiscard]] WindowLane& lane() noexcept { return window; }

 private:
  void adopt(int samples) noexcept;
  void rebuildAverages() noexcept;
  // The tree's small levels from how they are kept in use to the rings that they are, and back.
  void rollUp() noexcept;
  void unroll() noexcept;
  template <typename Visit>
  void forEachSmallLevel(Visit visit) noexcept;

  // Level k of the tree holds the largest of the last 2^k samples, for each of as
  // many samples.
  std::vector<double> memory;  // the tree, its small levels unrolled, and both rings
  WindowLane window;
  int activeSamples = 0;
  int loudSamples = 0;  // to go until what was too loud for the running sums is out of the rings
};
