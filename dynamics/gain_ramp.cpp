#include "dynamics/gain_ramp.h"

#include <algorithm>

void GainRamp::setTarget(double gain) noexcept {
  if (gain == wanted.load(std::memory_order_relaxed)) return;
  wanted.store(gain, std::memory_order_relaxed);
  changes.fetch_add(1, std::memory_order_release);
}

void GainRamp::reset() noexcept {
  changesSeen = changes.load(std::memory_order_acquire);
  target = wanted.load(std::memory_order_relaxed);
  step = 0.0;
  count = 0;
}

void GainRamp::retarget() noexcept {
  const std::uint32_t newest = changes.load(std::memory_order_acquire);
  if (newest == changesSeen) return;
  changesSeen = newest;
  const double current = target - count * step;
  target = wanted.load(std::memory_order_relaxed);
  step = (target - current) / kLength;
  count = kLength;
}

void GainRamp::fill(double* gains, int frames) noexcept {
  retarget();
  const int moving = std::min<int>(count, frames);
  for (int i = 0; i < moving; ++i) gains[i] = target - (count - i) * step;
  std::fill(gains + moving, gains + frames, target);
  count -= moving;
}
