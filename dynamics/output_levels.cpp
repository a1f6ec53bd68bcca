#include "dynamics/output_levels.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double kStepsPerSecond = 100.0;
constexpr double kSettlingSeconds = 0.5;  // longer than both windows, so that the filters settle
constexpr double kSilentPower = 1e-20;

}  // namespace

void OutputLevels::start(double newRate, std::uint64_t end, std::uint64_t kept) noexcept {
  rate = newRate;
  stepFrames = std::max(1, static_cast<int>(std::lround(rate / kStepsPerSecond)));
  const auto wanted = static_cast<std::uint64_t>(rate * kSettlingSeconds);
  position = end - std::min({end - begin, wanted, kept});
  for (KWeighting& filter : filters) {
    filter.design(rate);
    filter.reset();
  }
  filled = 0;
  running = {};
  steps.fill({});
}

void OutputLevels::update() noexcept {
  const auto samples = feed.samples();
  if (samples == nullptr) return;
  const std::uint64_t end = feed.position();
  const double newRate = feed.sampleRate();
  if (!(newRate > 0.0)) return;
  if (newRate != rate || end - position >= samples->size()) start(newRate, end, samples->size());
  for (; position != end; ++position) take(*samples, position);
}

void OutputLevels::take(const OutputFeed::Samples& samples, std::uint64_t at) noexcept {
  for (std::size_t c = 0; c < kChannels; ++c) {
    const auto sample = static_cast<double>(samples.sample(c, at));
    const double x = sample * 0.0 == 0.0 ? sample : 0.0;  // infinities and NaN would never decay
    const double y = filters[c].process(x);
    running.plain[c] += x * x;
    running.weighted += y * y;
  }
  if (++filled < stepFrames) return;
  steps[next] = running;
  next = (next + 1) % steps.size();
  running = {};
  filled = 0;
}

template <typename SumOf>
double OutputLevels::mean(std::size_t count, const SumOf& sumOf) const noexcept {
  double sum = 0.0;
  for (std::size_t i = 1; i <= count; ++i) {
    sum += sumOf(steps[(next + steps.size() - i) % steps.size()]);
  }
  return sum / (static_cast<double>(count) * stepFrames);
}

double OutputLevels::rms(int channel) const noexcept {
  if (channel < 0 || channel >= OutputFeed::kChannels) return 0.0;
  const auto c = static_cast<std::size_t>(channel);
  return std::sqrt(mean(kRmsSteps, [c](const Step& step) { return step.plain[c]; }));
}

double OutputLevels::momentaryLufs() const noexcept {
  const double power = mean(kLoudnessSteps, [](const Step& step) { return step.weighted; });
  // ITU-R BS.1770, annex 1: eq. (2), both channels weighted alike
  return power >= kSilentPower ? 10.0 * std::log10(power) - 0.691 : kSilent;
}
