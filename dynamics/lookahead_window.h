#pragma once

#include "dynamics/detector_lane.h"
#include "platform/zero_memory.h"

/// Converts a lookahead to whole samples, clamped to 0..8191; `rate` in Hz. Pure; any thread.
[[nodiscard]] int lookaheadSamples(float ms, double rate) noexcept;
/// The most that a parameter can ask for.
constexpr float kLongestLookaheadMs = 50.0F;

/// Makes a level rise ahead of the audio: takes the largest of the last n samples and smooths it by
/// two moving averages of 3n/4 and n/4 samples. If the audio is delayed by n, the level ramps up to
/// a peak and reaches it when the peak comes out.
///
/// One channel, in place. A lookahead of 0 or 1 sample leaves the signal as it is; one of 2 or 3
/// gives the plain maximum. After a change while audio runs, the averages continue from the
/// remembered maxima, not from silence; while there were none, they were 0.
///
/// Threads: the audio thread; `clear` while nothing processes. Only the constructor allocates.
class LookaheadWindow {
 public:
  static constexpr int kMaxSamples = 8191;

  /// For lookaheads of up to `most` samples, 0 to `kMaxSamples`. Throws std::bad_alloc.
  explicit LookaheadWindow(int most = kMaxSamples);

  void clear() noexcept;  ///< forgets the signal
  /// Takes over the past signal of `other`, which is made for the same lookaheads.
  void copySignal(const LookaheadWindow& other) noexcept;
  /// Applies a lookahead of `samples`, at most that of the constructor; call it before each block
  /// of `frames`. A `fixed` lookahead lasts until the next `clear`: then no more is remembered than
  /// it needs.
  void beginBlock(int frames, int samples, bool fixed = false) noexcept;
  /// Starts to load what a block of so many frames will use.
  void fetch(int frames) const noexcept;
  /// For the kernels of the detectors, which run many windows side by side: at most one comparison
  /// per doubling of the lookahead and sample.
  [[nodiscard]] WindowLane& lane() noexcept { return window; }

 private:
  /// How the memory is divided, in the order in which a chunk goes through it.
  struct Sizes {
    explicit Sizes(int most) noexcept;
    [[nodiscard]] std::size_t total() const noexcept;
    unsigned tree, maxima, means;
  };
  LookaheadWindow(const Sizes& sizes, int most);

  void adopt(int samples, bool fixed) noexcept;
  void setMemory(unsigned maxima) noexcept;
  void passGap() noexcept;
  void rebuildAverages() noexcept;
  // Move the tree's small levels from their form in use (`recent`) to rings, and back.
  void rollUp() noexcept;
  void unroll() noexcept;
  template <typename Visit>
  void forEachSmallLevel(Visit visit) noexcept;

  // Level k of the tree holds, for each of the last 2^k samples, the largest of the 2^k samples up
  // to it.
  ZeroMemory memory;  // the tree, its small levels unrolled, and both rings
  WindowLane window;
  int mostSamples;
  int activeSamples = 0;
  bool isFixed = false;
  int loudSamples = 0;  // samples until a level too loud for the running sums has left the rings
  unsigned gap = 0;     // samples without averages; no more than a ring
  bool isClear = true;  // nothing has been written
};
