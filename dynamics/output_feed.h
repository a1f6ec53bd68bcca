#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "dynamics/on_demand.h"
#include "dynamics/shared_ring.h"

/// The newest samples of the output, from which meters compute levels outside the audio thread.
/// They are kept only while there is a reader.
/// Threads: `write` on the audio thread; `setSampleRate` and `reset` while nothing processes; all
/// else on any other thread, for any number of readers.
class OutputFeed {
 public:
  static constexpr int kChannels = 2;
  static constexpr std::size_t kMostSamples = 131072;

  /// The last samples of both channels: 0.6 s, at most `kMostSamples`.
  class Samples {
   public:
    explicit Samples(std::size_t size) : rings{Ring(size), Ring(size)} {}
    [[nodiscard]] std::size_t size() const noexcept { return rings[0].size(); }
    /// A sample that the audio thread overwrites meanwhile reads as a newer one.
    [[nodiscard]] float sample(std::size_t channel, std::uint64_t at) const noexcept {
      return rings[channel].load(at);
    }

   private:
    friend class OutputFeed;
    using Ring = SharedRing<float>;
    std::array<Ring, kChannels> rings;
  };

  void setSampleRate(double hz) noexcept;
  /// As if silence had been written for longer than anything is kept.
  void reset() noexcept;
  /// One signal per channel, 1 or 2; null signals and missing channels are silence.
  template <typename Sample>
  void write(const Sample* const* signals, int channels, int frames) noexcept;

  // Samples are kept while there are readers.
  void addReader() const;  ///< throws std::bad_alloc
  void removeReader() const noexcept { kept.removeReader(); }
  [[nodiscard]] double sampleRate() const noexcept {  ///< Hz
    return rate.load(std::memory_order_relaxed);
  }
  /// Number of samples written so far.
  [[nodiscard]] std::uint64_t position() const noexcept {
    return written.load(std::memory_order_acquire);
  }
  /// Those up to `position`; for readers.
  [[nodiscard]] std::shared_ptr<const Samples> samples() const { return kept.get(); }

 private:
  [[nodiscard]] std::shared_ptr<Samples> makeSamples() const;

  mutable OnDemand<Samples> kept;
  std::atomic<std::uint64_t> written{0};  // stored with release after the samples
  std::atomic<double> rate{44100.0};      // Hz
};
