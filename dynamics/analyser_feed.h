#pragma once

#include <array>
#include <atomic>
#include <cstdint>

#include "dynamics/shared_ring.h"

/// The newest samples before and after the effect, for the spectrum in the graph.
/// Threads: `beginBlock` to `endBlock` on the audio thread; `copyLatest` on any other;
/// `reset` while nothing processes.
class AnalyserFeed {
 public:
  static constexpr std::size_t kSize = 8192;  ///< samples
  enum Trace : int { kOutputLeft = 0, kOutputRight = 1, kDryLeft = 2, kDryRight = 3 };
  static constexpr int kTraces = 4;

  void reset() noexcept;
  /// Hands the block before to the reader.
  void beginBlock() noexcept;
  /// A trace that is not written in each block starts from silence when it is again.
  template <typename Sample>
  void write(Trace trace, const Sample* signal, int frames, double gain) noexcept;
  /// Moves the position behind the block that has been written.
  void endBlock(int frames) noexcept { written += static_cast<std::uint64_t>(frames); }
  /// Of all traces the last `n` samples before the position, 0 to `kSize`, oldest first. They trail
  /// the newest block by one block, so that a block being written is not read.
  void copyLatest(double* const buffers[kTraces], int n) const noexcept;

 private:
  std::array<SharedRing<double, kSize>, kTraces> rings;
  std::atomic<std::uint32_t> analyserWrite{0};
  // Audio thread: samples since `reset`, of all blocks and up to each trace's last.
  std::uint64_t written = 0;
  std::array<std::uint64_t, kTraces> traceEnds{};
};
