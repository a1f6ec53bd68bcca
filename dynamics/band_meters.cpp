#include "dynamics/band_meters.h"

#include <cstddef>

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
    dynPeak[c] -= dynPeak[c] * decay;
    tranPeak[c] -= tranPeak[c] * decay;
  }
  env.store(envPeak, std::memory_order_relaxed);
  envPeak -= envPeak * decay;
  fast.store(fastLamp, std::memory_order_relaxed);
  slow.store(slowLamp, std::memory_order_relaxed);
}

double BandMeters::shownDyn(int channel) const noexcept {
  return dyn[static_cast<std::size_t>(channel)].load(std::memory_order_relaxed);
}

double BandMeters::shownTran(int channel) const noexcept {
  return tran[static_cast<std::size_t>(channel)].load(std::memory_order_relaxed);
}

double BandMeters::shownEnv() const noexcept { return env.load(std::memory_order_relaxed); }

double BandMeters::lamp(bool isFast) const noexcept {
  return (isFast ? fast : slow).load(std::memory_order_relaxed);
}
