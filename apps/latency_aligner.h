#pragma once

#include <algorithm>
#include <cstdint>

/// Bookkeeping that takes a process's delay out of what it puts out: the first `delay` frames are
/// dropped, and as many frames of silence follow the input to bring the tail out. What remains is
/// as long as the input and aligned with it.
class LatencyAligner {
 public:
  /// `delayFrames` below 0 counts as 0.
  explicit LatencyAligner(std::int64_t delayFrames) noexcept
      : left(std::max<std::int64_t>(delayFrames, 0)), silence(left) {}

  /// How many of the next `frames` that the process put out are to be dropped from their head.
  [[nodiscard]] int drop(int frames) noexcept {
    const auto dropped = static_cast<int>(std::min<std::int64_t>(frames, left));
    left -= dropped;
    return dropped;
  }

  /// After the input's end: the frames of the next block of silence, at most `largest`; 0 when all
  /// is out.
  [[nodiscard]] int nextFlush(int largest) noexcept {
    const auto frames = static_cast<int>(std::min<std::int64_t>(largest, silence));
    silence -= frames;
    return frames;
  }

 private:
  std::int64_t left;     // frames still to be dropped
  std::int64_t silence;  // frames still to be fed after the input
};
