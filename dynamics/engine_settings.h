#pragma once

#include <array>

#include "dynamics/bands.h"
#include "dynamics/detector_lane.h"
#include "dynamics/sidechain_filters.h"
#include "dynamics/stage_plan.h"

/// Settings of one band as its parameters give them.
struct BandSettings {
  bool active = false;
  bool solo = false;
  bool bypass = false;
  bool leftRight = false;  ///< the two gains act on left and right, else on mid and side
  double position = 0.0;   ///< -1 left or mid only .. 0 both .. +1 right or side only
  double gain = 1.0;       ///< linear
  double dry = 0.0;        ///< linear share of the unprocessed band
};

/// Where a band's sidechain comes from.
struct SidechainRoute {
  enum Source : int { kWide, kBand, kExternal };  ///< any other leaves what there was
  int source = kBand;
  /// Place in the XOver list of the band that a crossover band hears instead, or -1.
  int bandIndex = -1;
};

/// What a band's two detectors do; decibels and ms, see `BandDetector`.
struct BandDynamics {
  double threshold = 0.0;
  double ratioAbove = 0.0;
  double ceiling = 24.0;
  double ratioBelow = 0.0;
  double floor = 24.0;
  double deadband = 0.0;
  double knee = 0.0;
  double attackMs = 3.15;
  double relFastMs = 20.0;
  double relSlowMs = 200.0;
  double rmsMs = 50.0;
  double crest = 6.0;
  double shape = 1.0;
  double dynWeight = 1.0;
  double tranWeight = 0.0;
  float lookaheadMs = 0.0F;
};

/// How the product of a band and its gain is formed.
enum class Oversampling { kOff, kStandard, kHighQuality };

/// All that a block reads of the engine's settings, apart from the filters and the sidechains'
/// trim, which go ahead of it. The audio thread sees it change as a whole: a band is never heard in
/// one place with the settings of another.
struct EngineSettings {
  struct Band {
    BandSettings path;
    DetectorSettings detector;
    SidechainRoute route;
    SidechainLinkage linkage;
  };
  /// The gains around the chain, linear.
  struct Gains {
    double in = 1.0;
    double wet = 1.0;
    double dry = 0.0;
    bool listen = false;  ///< to the difference of wet and dry
  };

  std::array<Band, kNumBands> bands;
  StagePlan plan;
  int xoverMaxLookahead = 0;  ///< samples: the largest of the XOver list
  int oversampleLatency = 0;  ///< samples, 0 where nothing is oversampled
  bool highQuality = false;   ///< of what is oversampled; kept while nothing is
  Gains gains;
  int scListen = -1;  ///< the band whose sidechain is heard, or -1
  bool autolistenPassband = false;
  double analyserGain = 1.0;  ///< linear, of the dry traces
  double meterDecay = 0.0;    ///< 0..1, the share that a peak keeps per sample
};
