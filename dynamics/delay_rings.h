#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "dynamics/bands.h"
#include "dynamics/delay_lines.h"

/// The delays that keep the engine's parallel paths aligned: one ring (line) for each path, channel
/// and owner. Even a delay of 0 records, so that a later, longer delay finds the past signal,
/// unless delays are fixed. A line that was not fed in the previous block starts from silence: its
/// old contents never come out.
///
/// The lines of an owner exist while it is in use; whoever makes them keeps them that long.
///
/// Threads: all on the audio thread, or while nothing processes; `longest` on any.
class DelayRings {
 public:
  static constexpr int kCrossover = kNumBands;  ///< owner number after those of bands 0 to 7
  static constexpr int kMaxDelay = 16383;       ///< samples

  /// The left ring of each path; the right one has the next number.
  enum Ring : int {
    kLook = 0,        ///< band signal, by the lookahead of its band
    kAlign = 2,       ///< the signal outside a dynamic EQ band, or a crossover band's own signal
    kWetBefore = 4,   ///< chain signal, by the filter's latency
    kDryBefore = 6,   ///< dry path, likewise
    kDryAfter = 8,    ///< dry path, by a stage's lookahead and oversampling
    kExtBefore = 10,  ///< external sidechain, by the filter's latency
    kExtAfter = 12,   ///< external sidechain, by a stage's lookahead and oversampling
    kRings = 14
  };
  /// What an owner is, and with it which paths it has.
  enum class Kind {
    kCrossoverBand,  ///< `kLook` and `kAlign`
    kStageBand,      ///< a dynamic EQ band, which has all
    kCrossover       ///< all but these two
  };

  /// The longest delays of an owner's paths if its band looks ahead by up to `lookahead` samples.
  [[nodiscard]] static DelayLines::Longest longest(Kind kind, int lookahead) noexcept;

  /// From now on the lines of `owner` are these, which start from silence; null for none.
  void use(int owner, DelayLines* lines) noexcept;

  /// Delays `frames` samples in place through ring 0 to 13 of `owner`; once per block. `delay` in
  /// samples, clamped to 0 and the longest of the line.
  void delayLine(double* buffer, int ring, int owner, int frames, int delay) noexcept;
  /// Starts to load what this call will use.
  void fetch(int ring, int owner, int frames, int delay) const noexcept;
  /// Whether delays last as long as the chain: see `DelayLines::delay`. Off at first.
  void setFixed(bool on) noexcept { fixed = on; }
  [[nodiscard]] bool isFixed() const noexcept { return fixed; }
  /// Moves the time past a block, after all paths have processed it.
  void advance(int frames) noexcept { now += static_cast<std::uint64_t>(frames); }
  /// Samples since `clear`, modulo 16384.
  [[nodiscard]] int position() const noexcept { return static_cast<int>(now % (kMaxDelay + 1)); }

  void forget(int band) noexcept;  ///< lets the band's lines start from silence
  void clear() noexcept;           ///< lets all lines start from silence, at position 0

 private:
  std::array<DelayLines*, kNumBands + 1> owners{};
  std::uint64_t now = 0;  // samples since `clear`
  bool fixed = false;
};
