#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "dynamics/bands.h"

/// The delays that keep the engine's parallel paths in step: a ring for each path, channel and
/// owner, all at one common position. A delay of 0 records too, so that a longer one finds what
/// came before it. A line that was not fed up to the present block starts from silence: nothing
/// that lay in it since comes out again.
///
/// Threads: all on the audio thread, or while nothing processes. Only the constructor allocates.
class DelayRings {
 public:
  static constexpr int kCrossover = kNumBands;  ///< the owner beside the bands 0 to 7
  static constexpr int kSize = 16384;           ///< samples of one ring
  static constexpr int kMaxDelay = kSize - 1;

  /// The left ring of each path; the right one has the next number. The first two paths are of
  /// bands alone, the others of stages: of a dynamic EQ band or of the crossover.
  enum Ring : int {
    kLook = 0,       ///< band signal, by the lookahead of its band
    kAlign = 2,      ///< what lies beside a dynamic EQ band, or a crossover band's own signal
    kExtBefore = 4,  ///< external sidechain, by the filter's latency
    kWetBefore = 6,  ///< chain signal, likewise
    kDryBefore = 8,  ///< dry path, likewise
    kExtAfter = 10,  ///< external sidechain, by a stage's lookahead and oversampling
    kDryAfter = 12,  ///< dry path, likewise
    kRings = 14
  };

  DelayRings();

  /// Delays `frames` samples in place through ring `ring`, 0 to 13, of `owner`, from the common
  /// position on; once per block. `delay` in samples; below 0 counts as 0, above `kMaxDelay` as
  /// that.
  void delayLine(double* buffer, int ring, int owner, int frames, int delay) noexcept;
  /// Moves the common position behind a block that all paths have been through.
  void advance(int frames) noexcept;
  /// 0 to kSize - 1.
  [[nodiscard]] int position() const noexcept { return static_cast<int>(now % kSize); }

  void forget(int band) noexcept;  ///< its lines start from silence
  void clear() noexcept;           ///< all lines do, from position 0

 private:
  static constexpr int kLines = kRings * kNumBands + (kRings - kExtBefore);

  struct Line {
    std::uint64_t end = 0;  // up to where it was fed
    int known = 0;          // samples before that, of what has been heard since it was silent
  };
  [[nodiscard]] static std::size_t lineOf(int ring, int owner) noexcept;

  std::vector<double> memory;
  std::array<Line, kLines> lines;
  std::uint64_t now = 0;  // samples since `clear`
};
