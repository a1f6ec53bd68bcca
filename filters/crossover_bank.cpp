#include "filters/crossover_bank.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <deque>
#include <functional>
#include <optional>
#include <utility>

#include "filters/kernel_cache.h"
#include "filters/linear_phase.h"
#include "platform/index.h"

namespace {

/// The low-pass of one split.
double lowpass(const CrossoverSplits& splits, int split, double frequency) noexcept {
  const double ratio = frequency / splits.splitFrequency[at(split)];
  return 1.0 / (std::pow(ratio, splits.splitExponent[at(split)]) + 1.0);
}

constexpr std::size_t kKernelTaps = CrossoverBank::kTaps;

std::vector<double> lowpassKernel(double relativeFrequency, double exponent) {
  std::array<double, kKernelTaps / 2 + 1> half{};
  for (std::size_t i = 0; i < half.size(); ++i) {
    const double ratio = static_cast<double>(i) / (kKernelTaps * relativeFrequency);
    half[i] = (1.0 / kKernelTaps) / (1.0 + std::pow(ratio, exponent));
  }
  return linearPhaseKernel(half);
}

/// From the top down: a band is all that lies below the split above it, minus the low-pass of the
/// split below it.
std::vector<std::vector<double>> designBands(const CrossoverSplits& splits, double rate) {
  std::vector<std::vector<double>> kernels(static_cast<std::size_t>(splits.bandCount));
  std::vector<double> above(kKernelTaps);
  above[kKernelTaps / 2] = 1.0;
  for (int k = splits.bandCount - 1; k >= 1; --k) {
    std::vector<double> below =
        lowpassKernel(splits.splitFrequency[at(k)] / rate, splits.splitExponent[at(k)]);
    std::ranges::transform(above, below, above.begin(), std::minus<>());
    kernels[at(k)] = std::exchange(above, std::move(below));
  }
  kernels[0] = std::move(above);
  return kernels;
}

/// What kernels are designed from.
struct KernelSource {
  CrossoverSplits splits;
  double rate;
  bool isBlocked;  // the engine with latency
  bool operator==(const KernelSource&) const = default;
};

/// Finished kernels: as they are shown, and as their engine reads them.
struct KernelSet {
  explicit KernelSet(const KernelSource& source) {
    std::array<const double*, CrossoverBank::kBands> pointers{};
    for (std::vector<double>& kernel : designBands(source.splits, source.rate)) {
      shown.emplace_back(std::move(kernel));
    }
    for (std::size_t k = 0; k < shown.size(); ++k) pointers[k] = shown[k].taps.data();
    if (source.isBlocked) {
      blocked.emplace(pointers.data(), source.splits.bandCount);
    } else {
      direct.emplace(pointers.data(), source.splits.bandCount, CrossoverBank::kTaps);
    }
  }

  std::deque<NumberedTaps> shown;
  std::optional<BlockedKernels> blocked;
  std::optional<PartitionedKernels> direct;
};
using SharedSet = std::shared_ptr<const KernelSet>;

SharedSet kernelsOf(const KernelSource& source) {
  constexpr std::size_t kRecent = 8;  // of up to 300 KiB each
  static KernelCache<KernelSource, KernelSet> cache(kRecent);
  return cache.get(source, [&source] { return std::make_shared<const KernelSet>(source); });
}

}  // namespace

std::array<double, CrossoverSplits::kBands> bandMagnitudes(const CrossoverSplits& splits,
                                                           double frequency) noexcept {
  std::array<double, CrossoverSplits::kBands + 1> low{};
  for (int split = 1; split < splits.bandCount; ++split) {
    low[at(split)] = lowpass(splits, split, frequency);
  }
  low[at(splits.bandCount)] = 1.0;  // the topmost band has no low-pass
  std::array<double, CrossoverSplits::kBands> magnitudes{};
  magnitudes.fill(1.0);
  for (int band = 0; band < splits.bandCount; ++band) {
    double& magnitude = magnitudes[at(band)];
    magnitude = low[at(band + 1)];
    for (int split = 1; split <= band; ++split) magnitude *= 1.0 - low[at(split)];
  }
  return magnitudes;
}

void CrossoverBank::setSplits(std::span<const double> centres, std::span<const double> slopes) {
  CrossoverSplits wanted;
  wanted.bandCount = std::min(static_cast<int>(centres.size()), kBands);
  for (int split = 1; split < wanted.bandCount; ++split) {
    wanted.splitFrequency[at(split)] = std::sqrt(centres[at(split - 1)] * centres[at(split)]);
    wanted.splitExponent[at(split)] = slopes[at(split - 1)] / 6.0;
  }
  if (owned == nullptr && wanted.bandCount > 0) makeEngine();
  const PlugBaseMutex::Scope lock(splitsLock);
  splits = wanted;
}

void CrossoverBank::makeEngine() {
  if (useBlocked) {
    owned = std::make_unique<Crossover_WithLatency>();
  } else {
    owned = std::make_unique<Crossover>();
  }
  // Release: hands over the engine.
  engine.store(owned.get(), std::memory_order_release);
}

CrossoverSplits CrossoverBank::currentSplits() const {
  const PlugBaseMutex::Scope lock(splitsLock);
  return splits;
}

void CrossoverBank::buildKernels() {
  if (owned != nullptr) owned->collect();
  const CrossoverSplits wanted = currentSplits();
  if (wanted.bandCount < 1 || (wanted == builtSplits && sampleRate == builtRate)) return;
  const SharedSet set = kernelsOf({wanted, sampleRate, useBlocked});
  if (useBlocked) {
    static_cast<Crossover_WithLatency&>(*owned).setKernels({set, &*set->blocked});
  } else {
    static_cast<Crossover&>(*owned).setKernels({set, &*set->direct});
  }
  for (std::size_t k = 0; k < kBands; ++k) {
    copies[k].set(k < set->shown.size() ? KernelCopy::Shared(set, &set->shown[k]) : nullptr);
  }
  builtSplits = wanted;
  builtRate = sampleRate;
}

void CrossoverBank::processBlock(const double* const inputs[2], double* const* bandLeft,
                                 double* const* bandRight, int bandCount, int frames) noexcept {
  if (bandCount < 1) return;
  if (CrossoverEngine* const made = engine.load(std::memory_order_acquire)) {
    made->process(inputs[0], inputs[1], bandLeft, bandRight, bandCount, frames);
    return;
  }
  for (int band = 0; band < bandCount; ++band) {
    std::fill_n(bandLeft[band], frames, 0.0);
    if (inputs[1] != nullptr) std::fill_n(bandRight[band], frames, 0.0);
  }
}

void CrossoverBank::reset() noexcept {
  if (CrossoverEngine* const made = engine.load(std::memory_order_acquire)) made->reset();
}

void CrossoverBank::resetRight() noexcept {
  if (CrossoverEngine* const made = engine.load(std::memory_order_acquire)) made->resetRight();
}

int CrossoverBank::latency() const noexcept {
  return (useBlocked ? Crossover_WithLatency::kBlockDelay : Crossover::kBlockDelay) + kTaps / 2;
}

double CrossoverBank::bandMagnitude(int band, double frequency) const {
  if (band < 0 || band >= kBands) return 1.0;
  return bandMagnitudes(currentSplits(), frequency)[at(band)];
}

void CrossoverBank::crossoverCurve(const float* frequencies, int n, float* out, int band) {
  if (n <= 0) return;
  if (band < 0 || band >= kBands) {
    std::fill_n(out, n, 1.0F);
    return;
  }
  const CrossoverSplits drawn = currentSplits();
  curves.draw(drawn, frequencies, n, at(band), out,
              [&](double f) { return bandMagnitudes(drawn, f); });
}

unsigned CrossoverBank::copyKernel(int band, unsigned known, std::vector<double>& taps) const {
  return band < 0 || band >= kBands ? 0 : copies[at(band)].copy(known, taps);
}
