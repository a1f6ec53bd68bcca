#pragma once

#include <array>
#include <atomic>

/// The meters of one band: peaks that its detectors raise, and that are published and decayed at
/// the end of each block. Threads: the peaks and `endBlock` belong to the audio thread; the shown
/// values may be read on any thread.
class BandMeters {
 public:
  using Peaks = std::array<double, 2>;

  void reset() noexcept;
  /// Publishes the block's peaks, weighted per channel, then lowers each by the share `decay`
  /// (0..1).
  void endBlock(const Peaks& weights, double decay) noexcept;

  /// Gain in dB, sign kept. `parts` is a sum: 1 for the dynamic part, 2 for the transient part.
  /// `channel`: 0 or 1.
  [[nodiscard]] double shownGain(int parts, int channel) const noexcept;
  /// Linear gain of both parts together, for the channel where it is further from 0 dB.
  [[nodiscard]] double graphGain() const noexcept;
  [[nodiscard]] double shownEnv() const noexcept;       ///< linear
  [[nodiscard]] double lamp(bool fast) const noexcept;  ///< 1 when its release is used, decaying

  // Audio thread.
  Peaks dynPeak{};        ///< dB, sign kept
  Peaks tranPeak{};       ///< dB, sign kept
  double envPeak = 0.0;   ///< linear
  double fastLamp = 0.0;  ///< 1 when its release is used, decaying
  double slowLamp = 0.0;

 private:
  std::array<std::atomic<double>, 2> dyn{};
  std::array<std::atomic<double>, 2> tran{};
  std::atomic<double> env{0.0};
  std::atomic<double> fast{0.0};
  std::atomic<double> slow{0.0};
};
