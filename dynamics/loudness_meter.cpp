#include "dynamics/loudness_meter.h"

#include <cmath>
#include <limits>

#include "dynamics/flush.h"

namespace {

// Keeps decaying filter states out of the denormal range.
constexpr double kFlush = 1e-50;

constexpr double kAverageSeconds = 45.0;  // exp(-2 / T): a time constant of half of it

std::int32_t addSaturated(std::int32_t count, int frames) noexcept {
  constexpr std::int32_t kMost = std::numeric_limits<std::int32_t>::max();
  return frames > kMost - count ? kMost : count + frames;
}

}  // namespace

void KWeighting::design(double sampleRate) noexcept {
  // ITU-R BS.1770, annex 1: both stages given there at 48 kHz, here by their analog parameters.
  const double w = 239.6122302908756 / sampleRate;
  const double alpha = std::sin(w) / 1.00065407464886;
  highPass.b0 = 1.0;
  highPass.b1 = -2.0;
  highPass.b2 = 1.0;
  highPass.a1 = -2.0 * std::cos(w) / (1.0 + alpha);
  highPass.a2 = (1.0 - alpha) / (1.0 + alpha);

  const double k = std::tan(5284.078578647593 / sampleRate);
  const double vh = std::pow(10.0, 0.19999219269866722);
  const double vb = std::pow(10.0, 0.09999609634933361);
  const double d = 1.0 / (k * k + 1.4140766640886306 * k + 1.0);
  shelf.b0 = (vb * 1.4138596904142389 * k + k * k + vh) * d;
  shelf.b1 = 2.0 * (k * k - vh) * d;
  shelf.b2 = (k * k - vb * 1.4138596904142389 * k + vh) * d;
  shelf.a1 = 2.0 * (k * k - 1.0) * d;
  shelf.a2 = (k * k - 1.4140766640886306 * k + 1.0) * d;
}

void KWeighting::reset() noexcept {
  highPass.s1 = highPass.s2 = 0.0;
  shelf.s1 = shelf.s2 = 0.0;
}

double KWeighting::Biquad::process(double x) noexcept {
  const double y = (b0 * x + s1 + kFlush) - kFlush;
  s1 = b1 * x - a1 * y + s2;
  s2 = b2 * x - a2 * y;
  return y;
}

double KWeighting::process(double x) noexcept { return shelf.process(highPass.process(x)); }

void LoudnessMeter::setSampleRate(double sampleRate) noexcept {
  averageCoef = sampleRate > 0.0 ? 1.0 - std::exp(-2.0 / (kAverageSeconds * sampleRate)) : 1.0;
  if (!(sampleRate > 0.0)) return;
  for (Side* side : {&dry, &wet}) {
    for (KWeighting& filter : side->filters) filter.design(sampleRate);
  }
}

void LoudnessMeter::setMeasuring(bool on) noexcept {
  // In this order: the audio thread reads `started` only after it has seen `active`.
  if (on && !active.load(std::memory_order_relaxed)) {
    started.store(started.load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  }
  active.store(on, std::memory_order_release);
}

bool LoudnessMeter::measuring() const noexcept { return active.load(std::memory_order_relaxed); }

LoudnessMeter::Result LoudnessMeter::result() const noexcept {
  const std::uint32_t start = started.load(std::memory_order_relaxed);
  if (!measuring() || publishedStart.load(std::memory_order_acquire) != start) return {};
  return {dryMeanSquare.load(std::memory_order_relaxed),
          wetMeanSquare.load(std::memory_order_relaxed), dryCount.load(std::memory_order_relaxed),
          wetCount.load(std::memory_order_relaxed)};
}

void LoudnessMeter::restart() noexcept {
  for (Side* side : {&dry, &wet}) {
    for (KWeighting& filter : side->filters) filter.reset();
    side->meanSquare = 0.0;
    side->count = 0;
  }
}

void LoudnessMeter::publish() noexcept {
  dryMeanSquare.store(dry.meanSquare, std::memory_order_relaxed);
  wetMeanSquare.store(wet.meanSquare, std::memory_order_relaxed);
  dryCount.store(dry.count, std::memory_order_relaxed);
  wetCount.store(wet.count, std::memory_order_relaxed);
  publishedStart.store(seen, std::memory_order_release);
}

void LoudnessMeter::measure(const double* left, const double* right, bool isDry, int frames,
                            int channels) noexcept {
  if (!active.load(std::memory_order_acquire)) return;
  const std::uint32_t start = started.load(std::memory_order_relaxed);
  if (start != seen) {
    // A measurement that begins between the two sides of a block waits for the next block.
    if (!isDry) return;
    seen = start;
    restart();
  }
  Side& side = isDry ? dry : wet;
  // A channel that comes back starts from silence.
  if (channels > side.channels) side.filters[1].reset();
  side.channels = channels;
  double mean = side.meanSquare;
  for (int i = 0; i < frames; ++i) {
    const double l = side.filters[0].process(left[i]);
    double energy = l * l;
    if (channels > 1) {
      const double r = side.filters[1].process(right[i]);
      energy += r * r;
    }
    mean += (energy - mean) * averageCoef;
  }
  side.meanSquare = flushed(mean);
  side.count = addSaturated(side.count, frames);
  if (!isDry) publish();
}
