#pragma once

#include <atomic>
#include <cstdint>
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
/// Threads: `setLookahead` on one control thread, at any moment; `lookaheadSamples` anywhere;
/// `process` on the audio thread, where a change applies from the next call; `setSampleRate` on the
/// control thread and `clear` while nothing processes. Only the constructor allocates.
class LookaheadWindow {
 public:
  static constexpr int kMaxSamples = 8191;

  LookaheadWindow();

  void setSampleRate(double rate) noexcept;  ///< Hz, keeps the milliseconds
  /// Milliseconds; cut to whole samples and to `kMaxSamples`, 0 for anything below.
  void setLookahead(float ms) noexcept;
  /// By how much the audio has to be delayed.
  [[nodiscard]] int lookaheadSamples() const noexcept {
    return pendingSamples.load(std::memory_order_relaxed);
  }
  /// Forgets the signal, keeps the lookahead.
  void clear() noexcept;
  /// Takes over what `other` has heard; audio thread.
  void copySignal(const LookaheadWindow& other) noexcept;
  /// At most one comparison per doubling of the lookahead and sample; 0 frames change nothing.
  void process(double* signal, int frames) noexcept;

  // For the detectors, which run many windows side by side.
  /// Applies a change of the lookahead; before each block of `frames`.
  void beginBlock(int frames, int samples) noexcept;
  [[nodiscard]] WindowLane& lane() noexcept { return window; }

 private:
  void design() noexcept;
  void adopt(int samples) noexcept;
  void rebuildAverages() noexcept;
  // The tree's small levels from how they are kept in use to the rings that they are, and back.
  void rollUp() noexcept;
  void unroll() noexcept;
  template <typename Visit>
  void forEachSmallLevel(Visit visit) noexcept;

  // Control thread.
  double sampleRate = 48000.0;  // Hz
  float lookaheadMs = 0.0F;

  // From control to audio: all else follows from this one word, so no mix of old and new is seen.
  std::atomic<int> pendingSamples{0};

  // Audio thread. Level k of the tree holds the largest of the last 2^k samples, for each of as
  // many samples.
  std::vector<double> memory;  // the tree, its small levels unrolled, and both rings
  WindowLane window;
  int activeSamples = 0;
  int loudSamples = 0;  // to go until what was too loud for the running sums is out of the rings
};
