#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "platform/zero_memory.h"

/// The delays of one owner of `DelayRings`: a ring (line) for each of its paths and channels, as
/// long as the path can ever be delayed and a slice of a block more. A line that nothing has been
/// written to takes no memory, such as those of a sidechain that never comes.
///
/// Threads: made on the control side; all else on the audio thread, or while nothing processes.
class DelayLines {
 public:
  static constexpr int kPaths = 7;
  static constexpr int kLines = 2 * kPaths;  ///< two channels each
  /// The longest delay of each path in samples; below 0 for a path that the owner has not got.
  using Longest = std::array<int, kPaths>;

  /// `place`: a small number, different for owners that run in the same chain, so that they do not
  /// share cache sets. Throws std::bad_alloc.
  DelayLines(const Longest& delays, int place);

  /// Delays `frames` samples in place; once per block. `now`: the time at which they begin. `delay`
  /// in samples, clamped to 0 and the longest of the path. A `fixed` delay lasts: the line keeps no
  /// more than it, which with a delay of 0 is nothing.
  void delay(double* buffer, int line, int frames, int delay, std::uint64_t now,
             bool fixed = false) noexcept;
  /// Starts to load what such a call will use.
  void fetch(int line, int frames, int delay, bool fixed) const noexcept;
  void forget() noexcept;  ///< lets the lines start from silence
  /// Whether it was made for these delays.
  [[nodiscard]] bool holds(const Longest& delays) const noexcept { return delays == longest; }

 private:
  struct Line {
    std::size_t start = 0;  // in the memory
    int size = 0;           // 0 for a line that does not exist
    int length = 0;         // of the part that is in use
    int at = 0;             // where it is written next
    int known = 0;          // valid samples before that; older ones count as silence
    std::uint64_t end = 0;  // time up to which it was fed
  };
  using Lines = std::array<Line, kLines>;
  void setLength(Line& line, int length) noexcept;
  [[nodiscard]] static Lines linesOf(const Longest& delays, int place) noexcept;
  [[nodiscard]] std::size_t sizeNeeded() const noexcept;

  Longest longest;
  Lines lines;
  ZeroMemory memory;
};
