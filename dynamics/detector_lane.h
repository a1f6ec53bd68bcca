#pragma once

#include "dynamics/static_curve.h"

// What the kernels of the detectors work on: plain records, one of each per detector.

/// A lookahead window (see `LookaheadWindow`, which owns the memory). Level k of the tree, from
/// entry 2^k - 1 on, is a ring of 2^k entries with the write position `treePosition`; while a level
/// below `kUnrolled` is in use, its entries stand in `recent` instead, oldest first.
struct WindowLane {
  static constexpr unsigned kUnrolled = 6;
  static constexpr unsigned kRingSize = 8192;
  static constexpr unsigned kRingMask = kRingSize - 1;
  static constexpr int kRecent = 1 << (kUnrolled - 1);  // entries of a level, the last in use

  double* tree = nullptr;
  double* recent = nullptr;  // `kRecent` for each small level
  unsigned treePosition = 0;
  unsigned levels = 0;   // in use
  unsigned lastLag = 0;  // samples by which the last of them looks back

  bool averaging = false;    // else the maximum is the result
  double* maxima = nullptr;  // ring: what the first average takes in
  double* means = nullptr;   // ring: what the second takes in
  unsigned write = 0;        // position in both rings
  unsigned length1 = 0, length2 = 0;
  double scale1 = 0.0, scale2 = 0.0;
  double sum1 = 0.0, sum2 = 0.0;

  double loudest = 0.0;  // level that came in since the owner set it to 0
};

/// How soon a detector follows, per sample.
struct BallisticsCoefficients {
  double attackCoef = 1.0;   ///< share of the way towards a rising input
  double relSlowCoef = 0.0;  ///< what a release keeps
  double relFastCoef = 0.0;
  double rmsCoef = 1.0;      ///< share of the way of the mean square
  double crestRatio = 0.0;   ///< peak power over mean power from which release is fast
  double holdSamples = 0.0;  ///< whole
};

struct DetectorSettings {
  StaticCurve curve;
  BallisticsCoefficients times;
  double shape = 1.0;       ///< 0 ballistics behind the curve .. 1 in front of it
  double dynWeight = 1.0;   ///< 0..1
  double tranWeight = 0.0;  ///< 0..1
  bool expandMode = false;  ///< attack follows rising gain, not rising level
  int lookahead = 0;        ///< samples
};

/// State of the ballistics, on the level and on the gain.
struct BallisticsState {
  double meanSquare = 0.0;
  double envelope = 0.0;      // linear
  double holdLeft = 0.0;      // samples, whole
  double smoothedGain = 0.0;  // dB
};

struct DetectorLane {
  const DetectorSettings* settings = nullptr;
  WindowLane* window = nullptr;
  BallisticsState* state = nullptr;
  double* signal = nullptr;  // sidechain in, linear gain out
  // Raised by the kernels.
  double envPeak = 0.0;   // linear
  double dynPeak = 0.0;   // dB
  double tranPeak = 0.0;  // dB
  bool releasedFast = false;
  bool releasedSlow = false;
};
