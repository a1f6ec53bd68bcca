#pragma once

#include <atomic>
#include <cstdint>
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
/// Threads: `setLookahead` on one control thread, at any moment; `lookaheadSamples` on any thread;
/// `process` on the audio thread, where a change applies from the next call; `setSampleRate` on the
/// control thread and `clear` while nothing processes. Only the constructor allocates.
class LookaheadWindow {
 public:
  static constexpr int kMaxSamples = 8191;

  LookaheadWindow();

  void setSampleRate(double rate) noexcept;  ///< Hz; the lookahead in ms stays
  /// Milliseconds; clamped, see `::lookaheadSamples`.
  void setLookahead(float ms) noexcept;
  /// The delay that the audio needs, in samples.
  [[nodiscard]] int lookaheadSamples() const noexcept {
    return pendingSamples.load(std::memory_order_relaxed);
  }
  /// Forgets the signal, keeps the lookahead.
  void clear() noexcept;
  /// Takes over the past signal of `other`; audio thread.
  void copySignal(const LookaheadWindow& other) noexcept;
  /// Processes in place; 0 frames change nothing. Cost per sample: at most one comparison per
  /// doubling of the lookahead.
  void process(double* signal, int frames) noexcept;

  // For detectors, which run many windows side by side.
  /// Applies a change of the lookahead; call it before each block of `frames`.
  void beginBlock(int frames, int samples) noexcept;
  [[nodiscard]] WindowLane& lane() noexcept { return window; }

 private:
  void design() noexcept;
  void adopt(int samples) noexcept;
  void rebuildAverages() noexcept;
  // Move the tree's small levels from their form in use (`recent`) to rings, and back.
  void rollUp() noexcept;
  void unroll() noexcept;
  template <typename Visit>
  void forEachSmallLevel(Visit visit) noexcept;

  // Control thread.
  double sampleRate = 48000.0;  // Hz
  float lookaheadMs = 0.0F;

  // From control to audio: everything else follows from this one word, so that old and new never
  // mix.
  std::atomic<int> pendingSamples{0};

  // Audio thread. Level k of the tree holds, for each of the last 2^k samples, the largest of the
  // 2^k samples up to it.
  std::vector<double> memory;  // the tree, its small levels unrolled, and both rings
  WindowLane window;
  int activeSamples = 0;
  int loudSamples = 0;  // samples until a level too loud for the running sums has left the rings
};
