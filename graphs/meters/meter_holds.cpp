#include "graphs/meters/meter_holds.h"

#include <algorithm>
#include <cmath>

namespace {

/// 1 or more, for gains above 0.
float distance(float gain) noexcept { return std::max(gain, 1.0F / gain); }

}  // namespace

float furtherFromUnity(float held, float gain) noexcept {
  return distance(gain) > distance(held) ? gain : held;
}

void MeterHolds::take(const Reading& now, double seconds) noexcept {
  const Reading before = held;
  for (std::size_t c = 0; c < now.peak.size(); ++c) {
    held.peak[c] = std::max(held.peak[c], now.peak[c]);
    held.rms[c] = std::max(held.rms[c], now.rms[c]);
    held.reduction[c] = furtherFromUnity(held.reduction[c], now.reduction[c]);
  }
  if (held != before) holdUntil = seconds + kSeconds;
  const bool isOver = mode == HoldMode::kFiveSeconds && seconds > holdUntil;
  if (isOver || mode == HoldMode::kOff) held = now;
}

void ValueHold::take(double now, double seconds, HoldMode mode) noexcept {
  const bool isOver = mode == HoldMode::kFiveSeconds && seconds > holdUntil;
  if (std::abs(now) > std::abs(held)) {
    held = now;
    holdUntil = seconds + MeterHolds::kSeconds;
  } else if (isOver || mode == HoldMode::kOff) {
    held = now;
  }
}
