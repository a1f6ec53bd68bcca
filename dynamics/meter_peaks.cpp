#include "dynamics/meter_peaks.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>

#include "analysis/vector_kernels.h"
#include "platform/index.h"

namespace {

// What a slot's word says above a value's bits.
constexpr std::uint64_t kNothing = 0;
constexpr std::uint64_t kValue = std::uint64_t{1} << 32;
constexpr std::uint64_t kAnew = std::uint64_t{2} << 32;

constexpr std::array kTraceOf = {0, 1, 0, 1, 2, 3, 4, 5};  // of each selector

float valueOf(std::uint64_t word) noexcept {
  return std::bit_cast<float>(static_cast<std::uint32_t>(word));
}
std::uint64_t wordOf(float value) noexcept { return kValue | std::bit_cast<std::uint32_t>(value); }

template <typename Sample>
struct Range {
  Sample low, high;
};

/// The least and the largest of `start` and all samples.
template <typename Sample>
Range<Sample> rangeOf(const Sample* samples, int count, Sample start) noexcept {
  constexpr int kTogether = 8;  // independent, so that they go side by side
  std::array<Sample, kTogether> low;
  std::array<Sample, kTogether> high;
  low.fill(start);
  high.fill(start);
  int i = 0;
  for (; i + kTogether <= count; i += kTogether) {
    for (int j = 0; j < kTogether; ++j) {
      const Sample x = samples[i + j];
      low[at(j)] = x < low[at(j)] ? x : low[at(j)];
      high[at(j)] = x > high[at(j)] ? x : high[at(j)];
    }
  }
  for (; i < count; ++i) {
    low[0] = std::min(low[0], samples[i]);
    high[0] = std::max(high[0], samples[i]);
  }
  return {*std::ranges::min_element(low), *std::ranges::max_element(high)};
}

/// The value furthest from 0, of two alike the first.
float furthestOf(const double* signal, int frames) noexcept {
  const Range<double> range = rangeOf(signal, frames, 0.0);
  const auto low = static_cast<float>(range.low);
  const auto high = static_cast<float>(range.high);
  if (-low != high || high == 0.0F) return -low > high ? low : high;
  const double* const first = std::find_if(signal, signal + frames, [high](double x) {
    return std::abs(static_cast<float>(x)) == high;
  });
  return *first > 0.0 ? high : low;
}

Range<float> decibels(const Range<float>& gains) noexcept {
  constexpr double kSmallest = 1e-300;  // as good as 0, but with a logarithm
  constexpr int kRoom = 8;              // of the kernel
  std::array<double, kRoom> levels;
  levels.fill(1.0);
  levels[0] = std::max(static_cast<double>(gains.low), kSmallest);
  levels[1] = std::max(static_cast<double>(gains.high), kSmallest);
  vectorKernels().toDecibels(levels.data(), 2);
  return {static_cast<float>(levels[0]), static_cast<float>(levels[1])};
}

}  // namespace

MeterPeaks::~MeterPeaks() {
  for (Slot* slot = slots.load(std::memory_order_acquire); slot != nullptr;) {
    const Slot* const gone = slot;
    slot = slot->next;
    delete gone;
  }
}

MeterPeaks::Slot& MeterPeaks::claim() const {
  for (Slot* slot = slots.load(std::memory_order_acquire); slot != nullptr; slot = slot->next) {
    int free = Slot::kFree;
    if (slot->state.compare_exchange_strong(free, Slot::kClaimed, std::memory_order_acq_rel)) {
      return *slot;
    }
  }
  auto* const slot = new Slot;  // the list owns it
  slot->next = slots.load(std::memory_order_relaxed);
  while (!slots.compare_exchange_weak(slot->next, slot, std::memory_order_acq_rel)) {
  }
  return *slot;
}

void MeterPeaks::reset() noexcept {
  furthest = {};
  for (Slot* slot = slots.load(std::memory_order_acquire); slot != nullptr; slot = slot->next) {
    for (auto& word : slot->words) word.store(kAnew, std::memory_order_release);
  }
}

void MeterPeaks::keep(int trace, float value) noexcept {
  float& most = furthest[at(trace)];
  if (std::abs(value) > std::abs(most)) most = value;
}

void MeterPeaks::writeInput(int channel, const double* signal, int frames) noexcept {
  if (signal != nullptr) keep(2 + channel, furthestOf(signal, frames));
}

void MeterPeaks::writeOutput(int channel, const double* signal, int frames) noexcept {
  if (signal != nullptr) keep(4 + channel, furthestOf(signal, frames));
}

void MeterPeaks::writeReduction(int channel, const float* gains, int frames) noexcept {
  if (frames <= 0) return;
  const Range<float> range = rangeOf(gains, frames, gains[0]);
  const auto [low, high] = decibels(range);
  // Of two gains that are as far from 0 dB, the first counts.
  const float* const first = std::find_if(gains, gains + frames, [range](float gain) {
    return gain == range.low || gain == range.high;
  });
  const bool lowFirst = first != gains + frames && *first == range.low;
  keep(channel, lowFirst ? low : high);
  keep(channel, lowFirst ? high : low);
}

void MeterPeaks::endBlock() noexcept {
  for (Slot* slot = slots.load(std::memory_order_acquire); slot != nullptr; slot = slot->next) {
    if (slot->state.load(std::memory_order_acquire) != Slot::kActive) continue;
    for (std::size_t s = 0; s < kSelectors; ++s) {
      const float value = furthest[at(kTraceOf[s])];
      std::atomic<std::uint64_t>& word = slot->words[s];
      std::uint64_t present = word.load(std::memory_order_relaxed);
      const bool isFurther =
          (present & kValue) == 0 || std::abs(value) > std::abs(valueOf(present));
      if (!isFurther) continue;
      // If the reader has taken the present one meanwhile, nothing is left to compare with.
      if (!word.compare_exchange_strong(present, wordOf(value), std::memory_order_release,
                                        std::memory_order_relaxed)) {
        word.store(wordOf(value), std::memory_order_release);
      }
    }
  }
  furthest = {};
}

GainReductionReader::GainReductionReader(const MeterPeaks& source) : slot(source.claim()) {
  for (auto& word : slot.words) word.store(kNothing, std::memory_order_relaxed);
  slot.state.store(MeterPeaks::Slot::kActive, std::memory_order_release);
}

GainReductionReader::~GainReductionReader() {
  slot.state.store(MeterPeaks::Slot::kFree, std::memory_order_release);
}

double GainReductionReader::getGainReduction(int selector) noexcept {
  return std::pow(10.0, getDecibels(selector) * 0.05);
}

double GainReductionReader::getDecibels(int selector) noexcept {
  if (selector < 0 || selector >= MeterPeaks::kSelectors) return 0.0;
  double& result = results[at(selector)];
  const std::uint64_t word = slot.words[at(selector)].exchange(kNothing, std::memory_order_acquire);
  if (word == kAnew) result = 0.0;
  if ((word & kValue) != 0) result = static_cast<double>(valueOf(word));
  return result;
}
