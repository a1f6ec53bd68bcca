#include "dynamics/band_meters.h"

#include <cmath>
#include <cstddef>

#include "dynamics/flush.h"

void BandMeters::reset() noexcept {
  dynPeak.fill(0.0);
  tranPeak.fill(0.0);
  envPeak = fastLamp = slowLamp = 0.0;
  endBlock({1.0, 1.0}, 0.0);
}

void BandMeters::endBlock(const Peaks& weights, double decay) noexcept {
  for (std::size_t c = 0; c < weights.size(); ++c) {
    dyn[c].store(weights[c] * dynPeak[c], std::memory_order_relaxed);
    tran[c].store(weights[c] * tranPeak[c], std::memory_order_relaxed);
    dynPeak[c] = flushed(dynPeak[c] - dynPeak[c] * decay);
    tranPeak[c] = flushed(tranPeak[c] - tranPeak[c] * decay);
  }
  env.store(envPeak, std::memory_order_relaxed);
  envPeak = flushed(envPeak - envPeak * decay);
  fast.store(fastLamp, std::memory_order_relaxed);
  slow.store(slowLamp, std::memory_order_relaxed);
}

double BandMeters::shownGain(int parts, int channel) const noexcept {
  const auto index = static_cast<std::size_t>(channel);
  double decibels = 0.0;
  if ((parts & 1) != 0) decibels += dyn[index].load(std::memory_order_relaxed);
  if ((parts & 2) != 0) decibels += tran[index].load(std::memory_order_relaxed);
  return decibels;
}

double BandMeters::graphGain() const noexcept {
  const double left = shownGain(3, 0);
  const double right = shownGain(3, 1);
  return std::pow(10.0, (std::abs(right) > std::abs(left) ? right : left) * 0.05);
}

double BandMeters::shownEnv() const noexcept { return env.load(std::memory_order_relaxed); }

double BandMeters::lamp(bool isFast) const noexcept {
  return (isFast ? fast : slow).load(std::memory_order_relaxed);
}
