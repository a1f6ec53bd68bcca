#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>

#include "dynamics/on_demand.h"
#include "dynamics/shared_ring.h"

/// The newest samples before and after the effect, for the spectrum in the graph. They are kept
/// while there is an `AnalyserReader`, and for good from the first `copyLatest` without one.
/// Threads: `beginBlock` to `endBlock` on the audio thread; `copyLatest` and readers on any other
/// thread; `reset` while nothing processes.
class AnalyserFeed {
 public:
  static constexpr std::size_t kSize = 8192;  ///< samples
  enum Trace : int { kOutputLeft = 0, kOutputRight = 1, kDryLeft = 2, kDryRight = 3 };
  static constexpr int kTraces = 4;

  void reset() noexcept;
  /// Makes the previous block available to readers.
  void beginBlock() noexcept;
  /// Writes the next `frames` samples of a trace, times the linear `gain`. A trace that was not
  /// written in the previous block starts from silence.
  template <typename Sample>
  void write(Trace trace, const Sample* signal, int frames, double gain) noexcept;
  /// Moves the position past the block just written.
  void endBlock(int frames) noexcept { written += static_cast<std::uint64_t>(frames); }
  /// A number that changes with every block.
  [[nodiscard]] std::uint32_t position() const noexcept {
    return analyserWrite.load(std::memory_order_relaxed);
  }
  /// Copies the last `n` samples (0 to `kSize`) of each trace, oldest first; silence for what was
  /// not kept. The newest block is left out, so that a block being written is never read.
  void copyLatest(double* const buffers[kTraces], int n) const noexcept;

 private:
  friend class AnalyserReader;
  struct Traces {
    using Ring = SharedRing<double>;
    std::array<Ring, kTraces> rings{Ring(kSize), Ring(kSize), Ring(kSize), Ring(kSize)};
  };
  void addReader() const {
    kept.addReader([] { return std::make_shared<Traces>(); });
  }

  mutable OnDemand<Traces> kept;
  mutable std::atomic<bool> wanted{false};  // by someone who only calls `copyLatest`
  std::atomic<std::uint32_t> analyserWrite{0};
  // Audio thread: samples since `reset`, in total and up to the end of each trace.
  std::uint64_t written = 0;
  std::array<std::uint64_t, kTraces> traceEnds{};
};

/// As long as it exists the samples are kept. The feed must outlive it. Any thread but the audio
/// thread.
class AnalyserReader {
 public:
  /// Throws std::bad_alloc.
  explicit AnalyserReader(const AnalyserFeed& source) : feed(source) { feed.addReader(); }
  ~AnalyserReader() { feed.kept.removeReader(); }
  AnalyserReader(const AnalyserReader&) = delete;
  AnalyserReader& operator=(const AnalyserReader&) = delete;

 private:
  const AnalyserFeed& feed;
};
