#include "apps/render/true_peak.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "platform/index.h"

namespace {

double highestOf(const double* samples, std::size_t count) {
  double highest = 0.0;
  for (std::size_t i = 0; i < count; ++i) highest = std::max(highest, std::abs(samples[i]));
  return highest;
}

}  // namespace

TruePeak::TruePeak(int channelCount) : channels(static_cast<std::size_t>(channelCount)) {}

/// A sinc with its zeros on the other samples, in a Kaiser window: full-band noise and edges read
/// as on other meters of this kind, 0.1 dB or less apart.
const TruePeak::Kernels& TruePeak::kernels() {
  static const Kernels made = [] {
    constexpr double kBeta = 9.0;
    Kernels result{};
    for (int place = 0; place < kPlaces; ++place) {
      Kernel& kernel = result[at(place)];
      double sum = 0.0;
      for (int tap = 0; tap < kTaps; ++tap) {
        const double x = tap - (kHalf - 1) - (place + 1) / (kPlaces + 1.0);
        const double edge = x / kHalf;
        const double window = std::cyl_bessel_i(0.0, kBeta * std::sqrt(1.0 - edge * edge));
        kernel[at(tap)] = window * std::sin(std::numbers::pi * x) / x;
        sum += kernel[at(tap)];
      }
      for (double& weight : kernel) weight /= sum;
    }
    return result;
  }();
  return made;
}

void TruePeak::add(const double* interleaved, int frames) {
  const std::size_t stride = channels.size();
  const auto count = static_cast<std::size_t>(std::max(frames, 0));
  for (std::size_t c = 0; c < stride; ++c) {
    std::vector<double>& waiting = channels[c].waiting;
    const std::size_t before = waiting.size();
    waiting.resize(before + count);
    for (std::size_t i = 0; i < count; ++i) waiting[before + i] = interleaved[i * stride + c];
    if (!channels[c].begun && waiting.size() > kHalf) begin(channels[c]);
    if (channels[c].begun) read(channels[c]);
  }
}

/// Needs more than `kHalf` samples.
void TruePeak::begin(Channel& channel) {
  std::vector<double>& waiting = channel.waiting;
  const std::vector<double> first(waiting.begin() + 1, waiting.begin() + kHalf);
  waiting.insert(waiting.begin(), first.rbegin(), first.rend());
  channel.begun = true;
}

void TruePeak::read(Channel& channel) {
  std::vector<double>& waiting = channel.waiting;
  if (waiting.size() < kTaps) return;
  // No sum of products is larger than this many times the largest sample.
  constexpr double kMostGain = 2.5;
  constexpr std::size_t kStretch = 64;
  const std::size_t places = waiting.size() - kTaps + 1;
  for (std::size_t start = 0; start < places; start += kStretch) {
    const std::size_t count = std::min(kStretch, places - start);
    const double* const from = waiting.data() + start;
    const double samples = highestOf(from, count + kTaps - 1);
    if (samples * kMostGain <= channel.highest) continue;
    channel.highest = std::max(channel.highest, samples);
    for (const Kernel& kernel : kernels()) {
      std::array<double, kStretch> between{};
      for (std::size_t tap = 0; tap < kTaps; ++tap) {
        for (std::size_t i = 0; i < count; ++i) between[i] += kernel[tap] * from[i + tap];
      }
      channel.highest = std::max(channel.highest, highestOf(between.data(), count));
    }
  }
  waiting.erase(waiting.begin(), waiting.begin() + static_cast<std::ptrdiff_t>(places));
}

double TruePeak::peak() const {
  double highest = 0.0;
  for (Channel channel : channels) {
    if (channel.waiting.empty()) continue;
    channel.waiting.resize(channel.waiting.size() + kHalf);  // the tail of the filter
    if (!channel.begun) begin(channel);
    read(channel);
    highest = std::max(highest, channel.highest);
  }
  return highest;
}
