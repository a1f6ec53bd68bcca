#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>

#include "dynamics/loudness_meter.h"
#include "dynamics/output_feed.h"

/// Levels of the output for a meter: the RMS of each channel over 300 ms, and the momentary
/// loudness of EBU Tech 3341, K-weighted over 400 ms without a gate. Both are updated every 10 ms.
/// One object per consumer, used by one thread at a time, never by the audio thread. The feed must
/// outlive it.
class OutputLevels {
 public:
  static constexpr double kSilent = -std::numeric_limits<double>::infinity();

  /// Throws std::bad_alloc.
  explicit OutputLevels(const OutputFeed& source) : feed(source) { feed.addReader(); }
  ~OutputLevels() { feed.removeReader(); }
  OutputLevels(const OutputLevels&) = delete;
  OutputLevels& operator=(const OutputLevels&) = delete;

  /// Reads the samples since the last call (at first, since construction). If the call comes so
  /// late that samples are lost, starts anew from the last half second. About 20 ns per frame.
  void update() noexcept;
  /// Linear, 1 for a full-scale constant; 0 for an unknown channel.
  [[nodiscard]] double rms(int channel) const noexcept;
  /// LUFS; `kSilent` below -200. For rates from 8 kHz up.
  [[nodiscard]] double momentaryLufs() const noexcept;

 private:
  static constexpr std::size_t kChannels = OutputFeed::kChannels;
  static constexpr std::size_t kRmsSteps = 30;
  static constexpr std::size_t kLoudnessSteps = 40;

  /// Sums of squares.
  struct Step {
    std::array<double, kChannels> plain{};
    double weighted = 0.0;  // of both channels
  };
  void start(double newRate, std::uint64_t end, std::uint64_t kept) noexcept;
  void take(const OutputFeed::Samples& samples, std::uint64_t at) noexcept;
  /// The mean over the last `count` steps of the sums that `sumOf` returns for each.
  template <typename SumOf>
  [[nodiscard]] double mean(std::size_t count, const SumOf& sumOf) const noexcept;

  const OutputFeed& feed;
  double rate = 0.0;  // Hz, for which everything below is designed
  const std::uint64_t begin = feed.position();
  std::uint64_t position = begin;
  std::array<KWeighting, kChannels> filters;
  int stepFrames = 1;
  int filled = 0;  // frames in `running`
  Step running;
  std::array<Step, kLoudnessSteps> steps{};
  std::size_t next = 0;  // index of the oldest of `steps`
};
