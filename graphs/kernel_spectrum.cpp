#include "graphs/kernel_spectrum.h"

#include <algorithm>
#include <cmath>

void KernelSpectrum::set(std::span<const double> taps, FftTables& tables) {
  std::array<double, kPoints> samples{};
  for (std::size_t i = 0; i < taps.size(); ++i) {
    samples[(i + kPoints - taps.size() / 2) % kPoints] = taps[i];
  }
  realForward8192(samples.data(), tables);
  for (std::size_t k = 0; k < kBins; ++k) amplitudes[k + 1] = samples[2 * k];
  amplitudes[kBins + 1] = samples[1];
  amplitudes[0] = amplitudes[2];
  amplitudes[kBins + 2] = amplitudes[kBins];
  amplitudes[kBins + 3] = amplitudes[kBins - 1];
}

double KernelSpectrum::magnitudeAt(double cyclesPerSample) const noexcept {
  const double bin = std::clamp(cyclesPerSample, 0.0, 0.5) * static_cast<double>(kPoints);
  const auto whole = static_cast<std::size_t>(bin);
  const double t = bin - static_cast<double>(whole);
  // The cubic through four neighbours: the transform is four times as fine as the kernel's own.
  const double* const a = &amplitudes[whole];
  const double value =
      -t * (t - 1.0) * (t - 2.0) / 6.0 * a[0] + (t + 1.0) * (t - 1.0) * (t - 2.0) / 2.0 * a[1] -
      (t + 1.0) * t * (t - 2.0) / 2.0 * a[2] + (t + 1.0) * t * (t - 1.0) / 6.0 * a[3];
  return std::abs(value);
}
