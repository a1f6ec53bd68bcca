#pragma once

#include <array>
#include <atomic>

/// What one band shows: peaks that its detectors raise, decayed and published at the end of each
/// block. Threads: the peaks and `endBlock` are the audio thread's; the shown values may be read
/// anywhere.
class BandMeters {
 public:
  using Peaks = std::array<double, 2>;

  void reset() noexcept;
  /// Publishes the block's peaks, weighted per channel, and takes `decay` (0..1) off each of them.
  void endBlock(const Peaks& weights, double decay) noexcept;

  /// Decibels, sign kept; `parts` adds up 1 for the dynamic and 2 for the transient part. `channel`
  /// 0 or 1.
  [[nodiscard]] double shownGain(int parts, int channel) const noexcept;
  /// Linear gain of both parts together, of the channel where they are larger in size.
  [[nodiscard]] double graphGain() const noexcept;
  [[nodiscard]] double shownEnv() const noexcept;       ///< linear
  [[nodiscard]] double lamp(bool fast) const noexcept;  ///< 1 at use, decaying

  // Audio thread.
  Peaks dynPeak{};        ///< dB, sign kept
  Peaks tranPeak{};       ///< dB, sign kept
  double envPeak = 0.0;   ///< linear
  double fastLamp = 0.0;  ///< 1 at use, decaying
  double slowLamp = 0.0;

 private:
  std::array<std::atomic<double>, 2> dyn{};
  std::array<std::atomic<double>, 2> tran{};
  std::atomic<double> env{0.0};
  std::atomic<double> fast{0.0};
  std::atomic<double> slow{0.0};
};
