#include "filters/crossover_bank.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "platform/index.h"

namespace {

/// The low-pass of one split.
double lowpass(const CrossoverSplits& splits, int split, double frequency) noexcept {
  const double ratio = frequency / splits.splitFrequency[at(split)];
  return 1.0 / (std::pow(ratio, splits.splitExponent[at(split)]) + 1.0);
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
  const PlugBaseMutex::Scope lock(splitsLock);
  splits = wanted;
}

CrossoverSplits CrossoverBank::currentSplits() const {
  const PlugBaseMutex::Scope lock(splitsLock);
  return splits;
}

void CrossoverBank::buildKernels() {
  const CrossoverSplits wanted = currentSplits();
  if (wanted.bandCount < 1 || (wanted == builtSplits && sampleRate == builtRate)) return;
  // From the top down: a band is all that lies below the split above it, minus the low-pass of the
  // split below it.
  Kernel above{};
  above[kTaps / 2] = 1.0;
  for (int k = wanted.bandCount - 1; k >= 1; --k) {
    Kernel& below = kernels[at(k - 1)];
    lowpassKernel(wanted.splitFrequency[at(k)] / sampleRate, wanted.splitExponent[at(k)], below);
    for (std::size_t i = 0; i < kTaps; ++i) kernels[at(k)][i] = above[i] - below[i];
    above = below;
  }
  kernels[0] = above;
  for (int k = 0; k < wanted.bandCount; ++k) copies[at(k)].set(kernels[at(k)]);
  std::array<const double*, kBands> pointers{};
  for (std::size_t k = 0; k < kBands; ++k) pointers[k] = kernels[k].data();
  direct.setKernels(pointers.data(), wanted.bandCount);
  blocked.setKernels(pointers.data(), wanted.bandCount);
  builtSplits = wanted;
  builtRate = sampleRate;
}

void CrossoverBank::lowpassKernel(double relativeFrequency, double exponent, Kernel& kernel) {
  constexpr std::size_t kHalf = kTaps / 2;
  spectrum.assign(2 * kTaps, 0.0);
  for (std::size_t i = 0; i <= kHalf; ++i) {
    const double ratio = static_cast<double>(i) / (kTaps * relativeFrequency);
    spectrum[2 * i] = (1.0 / kTaps) / (1.0 + std::pow(ratio, exponent));
  }
  for (std::size_t i = 1; i < kHalf; ++i) spectrum[2 * (kTaps - i)] = spectrum[2 * i];
  complexForward(kTaps, spectrum.data(), fft);
  // The response is centred on index 0 and wraps around: exchange the halves.
  for (std::size_t i = 0; i < kTaps; ++i) kernel[i] = spectrum[2 * ((i + kHalf) % kTaps)];
  kernelWindow.applyWindow(kernel.data(), kTaps);
}

void CrossoverBank::processBlock(const double* const inputs[2], double* const* bandLeft,
                                 double* const* bandRight, int bandCount, int frames) noexcept {
  if (bandCount < 1) return;
  if (useBlocked) {
    blocked.process(inputs[0], inputs[1], bandLeft, bandRight, bandCount, frames);
  } else {
    direct.process(inputs[0], inputs[1], bandLeft, bandRight, bandCount, frames);
  }
}

void CrossoverBank::reset() noexcept {
  direct.reset();
  blocked.reset();
}

void CrossoverBank::resetRight() noexcept {
  useBlocked ? blocked.resetRight() : direct.resetRight();
}

int CrossoverBank::latency() const noexcept {
  const int blocks = useBlocked ? blocked.blockDelay() : direct.blockDelay();
  return blocks + kTaps / 2;
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
