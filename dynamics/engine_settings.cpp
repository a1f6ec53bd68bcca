#include "dynamics/engine_settings.h"

#include <cmath>

#include "dynamics/band_detector.h"
#include "filters/resampler.h"

namespace {

double linearGain(double decibels) noexcept { return std::pow(10.0, decibels * 0.05); }

}  // namespace

DetectorSettings designDetector(const BandDynamics& d, double sampleRate) noexcept {
  DetectorSettings settings;
  settings.knobs = {d.threshold, d.ratioAbove, d.ceiling, d.ratioBelow,
                    d.floor,     d.deadband,   d.knee};
  settings.curve = StaticCurve::make(settings.knobs);
  settings.times =
      ballisticsCoefficients(d.attackMs, d.relFastMs, d.relSlowMs, d.rmsMs, d.crest, sampleRate);
  settings.shape = d.shape;
  settings.dynWeight = d.dynWeight;
  settings.tranWeight = d.tranWeight;
  settings.lookahead = lookaheadSamples(d.lookaheadMs, sampleRate);
  return settings;
}

void EngineSettings::Band::setTrim(double decibels) noexcept { trim = linearGain(decibels); }

void EngineSettings::setGains(double inDb, double outDb, bool bypass, bool difference,
                              double wetDry) noexcept {
  analyserGain = linearGain(outDb);
  gains = {};
  if (bypass) {
    gains.wet = 0.0;
    gains.dry = 1.0;
  } else {
    const double out = analyserGain;
    gains = {linearGain(inDb), out * wetDry, difference ? -out : 1.0 - wetDry, difference};
  }
}

void EngineSettings::setOversampling(Oversampling mode) noexcept {
  oversampleLatency = 0;
  if (mode == Oversampling::kOff) return;  // the quality stays as it was
  highQuality = mode == Oversampling::kHighQuality;
  oversampleLatency = OversampledGain::latency(highQuality);
}
