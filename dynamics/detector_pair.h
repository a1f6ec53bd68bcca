#pragma once

#include <array>
#include <cstddef>

#include "dynamics/band_detector.h"

/// The detectors of a band's two channels, which have the same settings. While both have heard the
/// same signal since their last reset, the first works for both; when the signals start to differ,
/// the second takes over the state of the first.
///
/// Threads: see `BandDetector`; `reset`, `resetRight` and `oneForBoth` on the audio thread.
class DetectorPair {
 public:
  /// See `BandDetector`.
  explicit DetectorPair(int mostLookahead = LookaheadWindow::kMaxSamples)
      : detectors{BandDetector(mostLookahead), BandDetector(mostLookahead)} {}

  [[nodiscard]] BandDetector& operator[](std::size_t channel) noexcept {
    return detectors[channel];
  }
  [[nodiscard]] auto begin() noexcept { return detectors.begin(); }
  [[nodiscard]] auto end() noexcept { return detectors.end(); }

  void reset() noexcept {
    for (BandDetector& detector : detectors) detector.reset();
    alike = true;
    behind = false;
  }

  /// Resets the second channel only.
  void resetRight() noexcept {
    detectors[1].reset();
    alike = false;
    behind = false;
  }

  /// Takes over what another pair knows of the level; the signal in the windows stays.
  void adoptLevels(const DetectorPair& other) noexcept {
    if (!other.behind) {
      if (behind) detectors[1].copySignal(detectors[0]);
      alike = behind = false;
    }
    detectors[0].adoptLevel(other.detectors[0]);
    detectors[1].adoptLevel(other.detectors[other.behind ? 0 : 1]);
  }

  /// Starts to load what a block will most likely use.
  void fetch(int frames, int channels) const noexcept {
    detectors[0].fetch(frames);
    if (channels == 2 && !behind) detectors[1].fetch(frames);
  }

  /// Call before each block. `same`: both channels hear the same samples in it. Returns true if
  /// only the first detector is to run, with its result valid for both.
  [[nodiscard]] bool oneForBoth(bool same) noexcept {
    if (!same) {
      if (behind) detectors[1].copySignal(detectors[0]);
      alike = false;
    }
    behind = alike;
    return alike;
  }

 private:
  std::array<BandDetector, 2> detectors;
  bool alike = true;    // both have heard the same since the last reset
  bool behind = false;  // the second has missed blocks
};
