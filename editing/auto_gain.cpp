#include "editing/auto_gain.h"

#include <cmath>

#include "dynamics/compressor.h"
#include "editing/edited_parameters.h"
#include "editing/parameter_ids.h"

namespace {

constexpr double kSilence = 0.00000001;  // mean square

/// Parameters with which users judge or set levels by ear: Auto Gain must not interfere.
bool takesOver(int index) noexcept {
  const int row = isBandParameter(index) ? bandOneIdOf(index) : index;
  return row == kOpTrim || row == kSCListen || row == kListen || row == kB1Solo;
}

}  // namespace

void AutoGain::beginEdit(int index) {
  if (!takesOver(index)) {
    startIfWanted();
    return;
  }
  engine.setMeasuring(false);
  parameters.set(kAutoGain, 0.0F);
}

void AutoGain::endEdit() { startIfWanted(); }

void AutoGain::startIfWanted() {
  if (isWanted()) engine.setMeasuring(true);
}

void AutoGain::startAfresh() {
  if (!isWanted()) return;
  engine.setMeasuring(false);
  engine.setMeasuring(true);
}

bool AutoGain::isWanted() const {
  if (!parameters.isOn(kAutoGain) || parameters.isOn(kListen)) return false;
  if (parameters.getPlain(kSCListen) != -1.0F) return false;
  for (int band = 0; band < kNumBands; ++band) {
    const bool isSoloed = parameters.isOn(bandParameterId(band, kB1Solo));
    if (isSoloed && parameters.isOn(bandParameterId(band, kB1State))) return false;
  }
  return true;
}

void AutoGain::onIdle(double sampleRate) {
  if (!engine.measuring()) return;
  const LoudnessMeter::Result found = engine.loudnessResult();
  if (!std::isfinite(found.dryMeanSquare) || !std::isfinite(found.wetMeanSquare)) {
    // It would never become finite again: keep the trim and start another measurement.
    engine.setMeasuring(false);
    startIfWanted();
    return;
  }
  const bool longEnough = found.dryCount >= sampleRate && found.wetCount >= sampleRate;
  if (!longEnough || found.dryMeanSquare <= kSilence || found.wetMeanSquare <= kSilence) return;
  if (!engine.setMeasuring(false)) return;  // a user has just taken over
  const double trim =
      10.0 * std::log10(found.dryMeanSquare) - 10.0 * std::log10(found.wetMeanSquare);
  parameters.set(kOpTrim, parameters.toNormalised(kOpTrim, static_cast<float>(trim)));
}
