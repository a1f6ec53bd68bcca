#include "dynamics/gain_ramp.h"

#include <algorithm>

void GainRamp::setTarget(double gain) noexcept {
  if (gain == target) return;
  const double current = target - count * step;
  target = gain;
  step = (target - current) / kLength;
  count = kLength;
}

void GainRamp::reset() noexcept {
  step = 0.0;
  count = 0;
}

void GainRamp::fill(double* gains, int frames) noexcept {
  const int moving = std::min<int>(count, frames);
  for (int i = 0; i < moving; ++i) gains[i] = target - (count - i) * step;
  std::fill(gains + moving, gains + frames, target);
  count -= moving;
}
