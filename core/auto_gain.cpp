#include "core/auto_gain.h"

#include <cmath>

#include "core/plug.h"

namespace {

constexpr double kSilence = 0.00000001;  // mean square

/// What a user moves to judge or set levels by ear: Auto Gain keeps out of the way.
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
  plug.stopMeasuring();
  plug.setParameterAutomated(kAutoGain, 0.0F);
}

void AutoGain::endEdit() { startIfWanted(); }

void AutoGain::startIfWanted() {
  if (isWanted()) plug.startMeasuring();
}

void AutoGain::startAfresh() {
  if (!isWanted()) return;
  plug.stopMeasuring();
  plug.startMeasuring();
}

bool AutoGain::isWanted() const {
  if (!plug.isOn(kAutoGain) || plug.isOn(kListen)) return false;
  if (plug.getPlainValue(kSCListen) != -1.0F) return false;
  for (int band = 0; band < kNumBands; ++band) {
    const bool isSoloed = plug.isOn(bandParameterId(band, kB1Solo));
    if (isSoloed && plug.isOn(bandParameterId(band, kB1State))) return false;
  }
  return true;
}

void AutoGain::onIdle() {
  if (!plug.engine.measuring()) return;
  const LoudnessMeter::Result found = plug.engine.loudnessResult();
  if (!std::isfinite(found.dryMeanSquare) || !std::isfinite(found.wetMeanSquare)) {
    // Nor would it be one later: the trim stays, and another measurement begins.
    plug.stopMeasuring();
    startIfWanted();
    return;
  }
  const double second = plug.getSampleRate();
  const bool longEnough = found.dryCount >= second && found.wetCount >= second;
  if (!longEnough || found.dryMeanSquare <= kSilence || found.wetMeanSquare <= kSilence) return;
  if (!plug.stopMeasuring()) return;  // a user has just taken over
  const double trim =
      10.0 * std::log10(found.dryMeanSquare) - 10.0 * std::log10(found.wetMeanSquare);
  plug.setParameterAutomated(kOpTrim, plug.plainToNormalised(kOpTrim, static_cast<float>(trim)));
}
