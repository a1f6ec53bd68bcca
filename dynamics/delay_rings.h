#pragma once

#include <cstddef>
#include <vector>

/// The delays that keep the engine's parallel paths in step: a ring for each path, channel and
/// band, all at one common position. A delay of 0 records too, so that a longer one finds what came
/// before it.
///
/// Threads: all on the audio thread, or while nothing processes. Only the constructor allocates.
class DelayRings {
 public:
  static constexpr int kBands = 8;
  static constexpr int kSize = 16384;  ///< samples of one ring
  static constexpr int kMaxDelay = kSize - 1;

  /// The left ring of each path; the right one has the next number.
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

  /// Delays `frames` samples in place through ring `ring`, 0 to 13, of `band`, 0 to 7, from the
  /// common position on. `delay` in samples; below 0 counts as 0, above `kMaxDelay` as that.
  void delayLine(double* buffer, int ring, int band, int frames, int delay) noexcept;
  /// Moves the common position behind a block that all paths have been through.
  void advance(int frames) noexcept;
  [[nodiscard]] int position() const noexcept { return delayPosition; }  ///< 0 to kSize - 1

  void clearBand(int band) noexcept;  ///< all 14 rings of one band
  void clear() noexcept;

 private:
  [[nodiscard]] double* slice(int ring, int band) noexcept;

  std::vector<double> memory;
  int delayPosition = 0;
};
