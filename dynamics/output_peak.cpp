#include "dynamics/output_peak.h"

#include <cmath>
#include <cstddef>

#include "platform/index.h"

namespace {

/// The factor of a one-pole follower that covers all but the share `base` of its way in `seconds`;
/// with 0 seconds it follows at once.
struct Time {
  double base;
  double seconds;
};

struct Ballistic {
  Time attack;
  Time release;
};

constexpr std::array<Ballistic, 4> kBallistics = {{{{0.1, 0.0}, {0.1, 0.3}},
                                                   {{0.2, 0.005}, {0.1, 1.7}},
                                                   {{0.01, 0.3}, {0.01, 0.3}},
                                                   {{0.2, 0.01}, {0.0631, 2.8}}}};

double factor(const Time& time, double sampleRate) noexcept {
  if (time.seconds == 0.0) return 1.0;
  return 1.0 - std::pow(time.base, 1.0 / (sampleRate * time.seconds));
}

double step(double env, double x, double up, double down) noexcept {
  // Infinities and NaN are ignored: they would stay for ever.
  const double distance = x * 0.0 == 0.0 ? std::abs(x) - env : 0.0;
  const double next = env + (distance > 0.0 ? up : down) * distance;
  return (next + 1.0) - 1.0;  // flushes small values; coarse below 2^-52, which no meter shows
}

}  // namespace

void OutputPeak::setBallistic(int choice, double sampleRate) noexcept {
  const bool known = choice >= 0 && choice < static_cast<int>(kBallistics.size());
  const Ballistic& ballistic = kBallistics[at(known ? choice : kDigital)];
  attack.store(factor(ballistic.attack, sampleRate), std::memory_order_relaxed);
  release.store(factor(ballistic.release, sampleRate), std::memory_order_relaxed);
}

void OutputPeak::reset() noexcept {
  for (auto& channel : envelope) channel.store(0.0, std::memory_order_relaxed);
}

template <typename Sample>
void OutputPeak::followOne(int channel, const Sample* signal, int frames,
                           Factors factors) noexcept {
  auto& shared = envelope[at(channel)];
  double env = shared.load(std::memory_order_relaxed);
  for (int i = 0; i < frames; ++i)
    env = step(env, static_cast<double>(signal[i]), factors.up, factors.down);
  shared.store(env, std::memory_order_relaxed);
}

template <typename Sample>
void OutputPeak::followBoth(const Sample* left, const Sample* right, int frames,
                            Factors factors) noexcept {
  // Each step waits for the one before it, so that two channels side by side take the time of one.
  double l = envelope[0].load(std::memory_order_relaxed);
  double r = envelope[1].load(std::memory_order_relaxed);
  for (int i = 0; i < frames; ++i) {
    l = step(l, static_cast<double>(left[i]), factors.up, factors.down);
    r = step(r, static_cast<double>(right[i]), factors.up, factors.down);
  }
  envelope[0].store(l, std::memory_order_relaxed);
  envelope[1].store(r, std::memory_order_relaxed);
}

template <typename Sample>
void OutputPeak::follow(Sample const* const* signals, int channels, int frames) noexcept {
  const Factors factors{attack.load(std::memory_order_relaxed),
                        release.load(std::memory_order_relaxed)};
  if (channels == 2 && signals[0] != nullptr && signals[1] != nullptr) {
    followBoth(signals[0], signals[1], frames, factors);
    return;
  }
  if (channels == 1) envelope[1].store(0.0, std::memory_order_relaxed);
  for (int c = 0; c < channels; ++c) {
    if (signals[c] != nullptr) followOne(c, signals[c], frames, factors);
  }
}

template void OutputPeak::follow(float const* const*, int, int) noexcept;
template void OutputPeak::follow(double const* const*, int, int) noexcept;

double OutputPeak::peak(int channel) const noexcept {
  if (channel < 0 || channel >= static_cast<int>(envelope.size())) return 0.0;
  return envelope[at(channel)].load(std::memory_order_relaxed);
}
