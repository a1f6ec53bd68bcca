#include "dynamics/engine_settings.h"

#include "dynamics/band_detector.h"

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
