#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

#include "dynamics/shared_ring.h"

/// The newest samples of the output, from which meters compute levels outside the audio thread.
/// Nothing is written while there is no reader.
/// Threads: `write` on the audio thread; `setSampleRate` and `reset` while nothing processes; all
/// else on any thread, for any number of readers.
class OutputFeed {
 public:
  static constexpr int kChannels = 2;
  /// Samples (0.68 s at 192 kHz); both channels take 1 MiB.
  static constexpr std::size_t kSize = 131072;

  void setSampleRate(double hz) noexcept { rate.store(hz, std::memory_order_relaxed); }
  /// As if a whole ring of silence had been written.
  void reset() noexcept;
  /// One signal per channel, 1 or 2; null signals and missing channels are silence.
  template <typename Sample>
  void write(const Sample* const* signals, int channels, int frames) noexcept;

  // Samples are written while there are readers.
  void addReader() const noexcept { readers.fetch_add(1, std::memory_order_relaxed); }
  void removeReader() const noexcept { readers.fetch_sub(1, std::memory_order_relaxed); }
  [[nodiscard]] double sampleRate() const noexcept {  ///< Hz
    return rate.load(std::memory_order_relaxed);
  }
  /// Number of samples written so far. The last `kSize` can be read; a sample that the audio thread
  /// overwrites meanwhile reads as a newer one.
  [[nodiscard]] std::uint64_t position() const noexcept {
    return written.load(std::memory_order_acquire);
  }
  [[nodiscard]] float sample(std::size_t channel, std::uint64_t at) const noexcept {
    return rings[channel].load(at);
  }

 private:
  std::array<SharedRing<float, kSize>, kChannels> rings;
  std::atomic<std::uint64_t> written{0};  // stored with release after the samples
  std::atomic<double> rate{44100.0};      // Hz
  mutable std::atomic<int> readers{0};
};
