#pragma once

#include <cstdint>

#include "dynamics/bands.h"
#include "filters/band_shape.h"

/// Ids of the 422 parameters. Each of the eight bands has the same 51 rows; only those of band 1
/// are named here, and `bandParameterId` gives the same row of another band.
enum ParameterId : std::int32_t {
  kIpTrim = 0,
  kOpTrim,

  kB1State = 2,
  kB1Bypass,
  kB1Type,
  kB1SubType,
  kB1Solo,
  kB1Threshold,
  kB1Ratio,
  kB1Ceiling,
  kB1LR,
  kB1Position,
  kB1Knee,
  kB1Frequency,
  kB1Gain,
  kB1DryGain,
  kB1Slope,
  kB1Slope2,
  kB1Q,
  kB1Target,
  kB1Attack,
  kB1RelSlow,
  kB1RelFast,
  kB1Lookahead,
  kB1Crest,
  kB1Shape,
  kB1RatioB,
  kB1Floor,
  kB1Deadband,
  kB1RMS,
  kB1SCSrc,
  kB1SCSBand,
  kB1SCLR,
  kB1SCPos,
  kB1SCLink,
  kB1SCTrim,
  kB1SCLF,
  kB1SCLFF,
  kB1SCLFG,
  kB1SCLFQ,
  kB1SCLFSlope,
  kB1SCLFType,
  kB1SCMF,
  kB1SCMFF,
  kB1SCMFG,
  kB1SCMFQ,
  kB1SCMFType,
  kB1SCHF,
  kB1SCHFF,
  kB1SCHFG,
  kB1SCHFQ,
  kB1SCHFSlope,
  kB1SCHFType,

  kBandOrder = 410,
  kWetDry,
  kAutoGain,
  kSCListen,
  kListen,
  kBypass,
  kOversample,
  kOversampleOL,
  kLogBehaviour,
  kExtendedRanges,
  kExtendedRatios,
  kABBank,

  kNumParams,
};

inline constexpr int kBandRows = 51;

/// The id of the row of `bandOneId` (`kB1State` to `kB1SCHFType`) in band 0..7.
[[nodiscard]] constexpr int bandParameterId(int band, int bandOneId) noexcept {
  return bandOneId + kBandRows * band;
}

/// Whether a parameter is a row of a band. If so, `bandOf` gives the band 0..7 and `bandOneIdOf`
/// the same row of band 1.
[[nodiscard]] constexpr bool isBandParameter(int id) noexcept {
  return id >= kB1State && id < kBandOrder;
}
[[nodiscard]] constexpr int bandOf(int id) noexcept { return (id - kB1State) / kBandRows; }
[[nodiscard]] constexpr int bandOneIdOf(int id) noexcept {
  return kB1State + (id - kB1State) % kBandRows;
}
