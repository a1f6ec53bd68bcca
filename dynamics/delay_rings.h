#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "dynamics/bands.h"

/// The delays that keep the engine's parallel paths aligned: one ring (line) for each path, channel
/// and owner, all at a common position. Even a delay of 0 records, so that a later, longer delay
/// finds the past signal. A line that was not fed in the previous block starts from silence: its
/// old contents never come out.
///
/// Threads: all on the audio thread, or while nothing processes. Only the constructor allocates.
class DelayRings {
 public:
  static constexpr int kCrossover = kNumBands;  ///< owner number after those of bands 0 to 7
  static constexpr int kSize = 16384;           ///< samples of one ring
  static constexpr int kMaxDelay = kSize - 1;

  /// The left ring of each path; the right one has the next number. Owners of the first two paths
  /// are bands only; owners of the others are stages, either a dynamic EQ band or the crossover.
  enum Ring : int {
    kLook = 0,       ///< band signal, by the lookahead of its band
    kAlign = 2,      ///< the signal outside a dynamic EQ band, or a crossover band's own signal
    kExtBefore = 4,  ///< external sidechain, by the filter's latency
    kWetBefore = 6,  ///< chain signal, likewise
    kDryBefore = 8,  ///< dry path, likewise
    kExtAfter = 10,  ///< external sidechain, by a stage's lookahead and oversampling
    kDryAfter = 12,  ///< dry path, likewise
    kRings = 14
  };

  DelayRings();

  /// Delays `frames` samples in place through ring 0 to 13 of `owner`, from the common position on;
  /// once per block. `delay` in samples, clamped to 0..`kMaxDelay`.
  void delayLine(double* buffer, int ring, int owner, int frames, int delay) noexcept;
  /// Moves the common position past a block, after all paths have processed it.
  void advance(int frames) noexcept;
  /// 0 to kSize - 1.
  [[nodiscard]] int position() const noexcept { return static_cast<int>(now % kSize); }

  void forget(int band) noexcept;  ///< lets the band's lines start from silence
  void clear() noexcept;           ///< lets all lines start from silence, at position 0

 private:
  static constexpr int kLines = kRings * kNumBands + (kRings - kExtBefore);

  struct Line {
    std::uint64_t end = 0;  // position up to which it was fed
    int known = 0;          // valid samples before that; older ones count as silence
  };
  [[nodiscard]] static std::size_t lineOf(int ring, int owner) noexcept;

  std::vector<double> memory;
  std::array<Line, kLines> lines;
  std::uint64_t now = 0;  // samples since `clear`
};
