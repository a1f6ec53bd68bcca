#include "dynamics/chain_fade.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "platform/index.h"

namespace {

constexpr double kFadeSeconds = 0.01;
constexpr double kSettlingSeconds = 0.02;  // of the filters that detectors hear through

}  // namespace

void ChainFade::start(double rate, int newerLatency) noexcept {
  latency = std::max({1, newerLatency, static_cast<int>(std::lround(rate * kSettlingSeconds))});
  fadeLength = std::max(1, static_cast<int>(std::lround(rate * kFadeSeconds)));
  olderPower = newerPower = product = 0.0;
  enter(Phase::kFill);
}

void ChainFade::enter(Phase next) noexcept {
  present = next;
  position = 0;
  length = next == Phase::kFill ? latency : fadeLength;
  if (next != Phase::kFade) return;
  const double power = std::sqrt(olderPower) * std::sqrt(newerPower);
  const bool isKnown = power > 0.0 && std::isfinite(product);
  correlation = isKnown ? std::clamp(product / power, 0.0, 1.0) : 1.0;
}

bool ChainFade::mix(const WorkBuffers::Pair& older, const WorkBuffers::Pair& newer, int channels,
                    int frames) noexcept {
  for (int c = 0; c < channels; ++c) {
    if (present == Phase::kCompare) compare(older[at(c)], newer[at(c)], frames);
    if (present == Phase::kFade) fade(older[at(c)], newer[at(c)], frames);
  }
  position += frames;
  if (position < length) return false;
  enter(static_cast<Phase>(static_cast<int>(present) + 1));
  return true;
}

void ChainFade::compare(const double* older, const double* newer, int frames) noexcept {
  for (int i = 0; i < frames; ++i) {
    olderPower += older[i] * older[i];
    newerPower += newer[i] * newer[i];
    product += older[i] * newer[i];
  }
}

void ChainFade::fade(double* older, const double* newer, int frames) const noexcept {
  for (int i = 0; i < frames; ++i) {
    const double x = (position + i + 0.5) / length;
    const double in = 0.5 - 0.5 * std::cos(std::numbers::pi * x);
    const double out = 1.0 - in;
    // The power of the sum of two signals with this correlation is that of each of them.
    const double norm = std::sqrt(in * in + out * out + 2.0 * correlation * in * out);
    older[i] = (out * older[i] + in * newer[i]) / norm;
  }
}
