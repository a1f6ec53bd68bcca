#pragma once

#include <array>
#include <cstddef>

#include "dynamics/band_detector.h"

/// The detectors of a band's two channels, which have the same settings. As long as both have heard
/// the same since their last reset they would do the same work: then the first does it for both,
/// and the second learns what it has missed when their ways part.
///
/// Threads: as the detectors; `reset`, `resetRight` and `oneForBoth` on the audio thread.
class DetectorPair {
 public:
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

  /// The second channel alone.
  void resetRight() noexcept {
    detectors[1].reset();
    alike = false;
    behind = false;
  }

  /// In front of each block: `same`, the two hear the same samples in it. True: only the first is
  /// to be run, and its result is that of the second, too.
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
  bool alike = true;    // all heard since the last reset was the same
  bool behind = false;  // the second has missed some of it
};
