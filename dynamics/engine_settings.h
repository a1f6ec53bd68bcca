#pragma once

#include <array>
#include <cstdint>

#include "dynamics/bands.h"
#include "dynamics/detector_lane.h"
#include "dynamics/sidechain_filters.h"
#include "dynamics/stage_plan.h"

/// Settings of one band, as its parameters give them.
struct BandSettings {
  bool active = false;
  bool solo = false;
  bool bypass = false;
  bool leftRight = false;  ///< the two gains act on left and right; if false, on mid and side
  double position = 0.0;   ///< -1 left or mid only .. 0 both .. +1 right or side only
  double gain = 1.0;       ///< linear
  double dry = 0.0;        ///< linear share of the unprocessed band
  bool operator==(const BandSettings&) const = default;
};

/// Where a band's sidechain comes from.
struct SidechainRoute {
  enum Source : int { kWide, kBand, kExternal };  ///< other values mean the band
  int source = kBand;
  /// Index in the XOver list of the band that a crossover band hears instead of itself, or -1.
  int bandIndex = -1;
  bool operator==(const SidechainRoute&) const = default;
};

/// Settings of a band's two detectors, in dB and ms; see `BandDetector`.
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

/// The settings of detectors at `sampleRate` (Hz); `expandMode` is left false.
[[nodiscard]] DetectorSettings designDetector(const BandDynamics& dynamics,
                                              double sampleRate) noexcept;

/// How a band is multiplied by its gain.
enum class Oversampling { kOff, kStandard, kHighQuality };

struct ChainParts;

/// All settings that a block reads, except filters, which take effect earlier. The audio thread
/// sees it change as a whole, so that a band is never heard in one place of the chain with the
/// settings for another.
struct EngineSettings {
  struct Band {
    BandSettings path;
    DetectorSettings detector;
    SidechainRoute route;
    SidechainLinkage linkage;
    double trim = 1.0;  ///< of the sidechain before its filters, linear
    void setTrim(double decibels) noexcept;
    bool operator==(const Band&) const = default;
  };
  /// The gains around the chain, linear.
  struct Gains {
    double in = 1.0;
    double wet = 1.0;
    double dry = 0.0;
    bool listen = false;  ///< the difference between wet and dry is heard
  };

  /// `inDb`, `outDb` in decibels; `wetDry` 0..1.
  void setGains(double inDb, double outDb, bool bypass, bool difference, double wetDry) noexcept;
  void setOversampling(Oversampling mode) noexcept;

  std::uint32_t chain = 0;  ///< number of the chain that they are for
  bool endsChange = false;  ///< to that chain, if one is under way
  int latency = 0;          ///< of that chain, samples
  std::array<Band, kNumBands> bands;
  StagePlan plan;
  int xoverMaxLookahead = 0;  ///< samples: the largest of the XOver list
  int oversampleLatency = 0;  ///< samples, 0 without oversampling
  bool highQuality = false;   ///< of the oversampling; keeps its value while that is off
  Gains gains;
  int scListen = -1;  ///< the band whose sidechain is heard, or -1
  bool autolistenPassband = false;
  const ChainParts* parts = nullptr;  ///< made for the plan; see `PartsOwner`
  double analyserGain = 1.0;          ///< linear, of the dry traces
  double meterDecay = 0.0;            ///< share of a peak left after a sample, 0..1
};
