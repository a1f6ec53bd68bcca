#include "dynamics/delay_rings.h"

#include <algorithm>
#include <cassert>

#include "filters/crossover_bank.h"
#include "filters/resampler.h"
#include "filters/subband.h"
#include "platform/index.h"

DelayLines::Longest DelayRings::longest(Kind kind, int lookahead) noexcept {
  constexpr int kNone = -1;
  constexpr int kOversampling = OversampledGain::latency(true);
  const bool isBand = kind == Kind::kCrossoverBand;
  const int filter = isBand                     ? kNone
                     : kind == Kind::kStageBand ? subband::kTaps / 2
                                                : CrossoverBank::kMostLatency;
  const int after = std::min(lookahead + kOversampling, kMaxDelay);
  DelayLines::Longest samples{};
  const auto set = [&samples](Ring ring, int most) { samples[at(ring / 2)] = most; };
  set(kLook, kind == Kind::kCrossover ? kNone : lookahead);
  set(kAlign, kind == Kind::kCrossover ? kNone : isBand ? lookahead : after);
  for (const Ring ring : {kWetBefore, kDryBefore, kExtBefore}) set(ring, filter);
  for (const Ring ring : {kDryAfter, kExtAfter}) set(ring, isBand ? kNone : after);
  return samples;
}

void DelayRings::use(int owner, DelayLines* lines) noexcept {
  DelayLines*& own = owners[at(owner)];
  if (own == lines) return;
  own = lines;
  if (own != nullptr) own->forget();
}

void DelayRings::delayLine(double* buffer, int ring, int owner, int frames, int delay) noexcept {
  DelayLines* const lines = owners[at(owner)];
  assert(lines != nullptr);
  if (lines != nullptr) lines->delay(buffer, ring, frames, delay, now, fixed);
}

void DelayRings::fetch(int ring, int owner, int frames, int delay) const noexcept {
  if (const DelayLines* const lines = owners[at(owner)]) lines->fetch(ring, frames, delay, fixed);
}

void DelayRings::forget(int band) noexcept {
  if (DelayLines* const lines = owners[at(band)]) lines->forget();
}

void DelayRings::clear() noexcept {
  for (DelayLines* const lines : owners) {
    if (lines != nullptr) lines->forget();
  }
  now = 0;
}
