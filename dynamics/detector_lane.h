#pragma once

#include "dynamics/static_curve.h"

// The data of the detectors' kernels: plain records, one of each per detector.

/// A lookahead window; see `LookaheadWindow`, which owns the memory. Level k of the tree starts at
/// entry 2^k - 1 and is a ring of 2^k entries with the write position `treePosition`. While a level
/// below `kUnrolled` is in use, its entries are in `recent` instead, oldest first.
struct WindowLane {
  static constexpr unsigned kUnrolled = 6;
  static constexpr int kRecent = 1 << (kUnrolled - 1);  // entries per small level, last in use

  double* tree = nullptr;
  double* recent = nullptr;  // `kRecent` entries for each small level
  unsigned treePosition = 0;
  unsigned levels = 0;   // in use
  unsigned lastLag = 0;  // samples by which the last level looks back

  /// The past input of an average.
  struct Ring {
    double* entries = nullptr;
    unsigned size = 0;   // at least two chunks
    unsigned write = 0;  // position
  };
  bool averaging = false;  // if not, the maximum is the result
  Ring maxima;             // of the first average
  Ring means;              // of the second average
  unsigned length1 = 0, length2 = 0;
  double scale1 = 0.0, scale2 = 0.0;
  double sum1 = 0.0, sum2 = 0.0;

  double loudest = 0.0;  // highest input level since the owner last set this to 0
};

/// How fast a detector follows, per sample.
struct BallisticsCoefficients {
  double attackCoef = 1.0;   ///< share of the distance to a rising input
  double relSlowCoef = 0.0;  ///< share of the distance that remains in a slow release
  double relFastCoef = 0.0;  ///< the same in a fast release
  double rmsCoef = 1.0;      ///< share of the distance of the mean square
  double crestRatio = 0.0;   ///< peak power over mean power from which release is fast
  double holdSamples = 0.0;  ///< a whole number
  bool operator==(const BallisticsCoefficients&) const = default;
};

struct DetectorSettings {
  CurveKnobs knobs;
  StaticCurve curve;  ///< of the knobs
  BallisticsCoefficients times;
  double shape = 1.0;       ///< 0 ballistics after the curve .. 1 before it
  double dynWeight = 1.0;   ///< 0..1
  double tranWeight = 0.0;  ///< 0..1
  bool expandMode = false;  ///< attack follows rising gain instead of rising level
  int lookahead = 0;        ///< samples
  bool operator==(const DetectorSettings&) const = default;
};

/// State of the ballistics, on the level and on the gain.
struct BallisticsState {
  double meanSquare = 0.0;
  double envelope = 0.0;      // linear
  double holdLeft = 0.0;      // samples, a whole number
  double smoothedGain = 0.0;  // dB
};

/// Where settings that scale sound go within a call: in each frame the gain in dB is a mixture of
/// the gains by the settings before and by these.
struct DetectorMotion {
  StaticCurve curve;
  double shape = 1.0;
  double dynWeight = 1.0;
  double tranWeight = 0.0;
  const double* shares = nullptr;  ///< of these values, for each frame
};

struct DetectorLane {
  const DetectorSettings* settings = nullptr;
  const DetectorMotion* motion = nullptr;  // null if nothing moves
  WindowLane* window = nullptr;
  BallisticsState* state = nullptr;
  double* signal = nullptr;  // sidechain in, linear gain out
  // Updated by the kernels.
  double envPeak = 0.0;   // linear
  double dynPeak = 0.0;   // dB
  double tranPeak = 0.0;  // dB
  bool releasedFast = false;
  bool releasedSlow = false;
};
