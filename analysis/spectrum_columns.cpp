#include "analysis/spectrum_columns.h"

#include <algorithm>
#include <cmath>
#include <numbers>

SpectrumColumns::SpectrumColumns() {
  tables.prepareReal8192();
  std::vector<double> silence(kSamples);
  window.applyWindow(silence.data(), kSamples);
  placeLevels();
}

void SpectrumColumns::set(const SpectrumSettings& settings) {
  if (settings == shown) return;
  shown = settings;
  shown.smoothing = std::clamp(shown.smoothing, 1, kMostSmoothing);
  placeColumns();
  placeLevels();
}

void SpectrumColumns::placeColumns() {
  columns.resize(static_cast<std::size_t>(std::max(shown.columns, 0)));
  const double range = std::log(shown.highestFrequency / shown.lowestFrequency);
  const auto position = [&](std::size_t column) {
    const double turn = static_cast<double>(column) * range / static_cast<double>(columns.size());
    const double x = std::exp(turn) * shown.lowestFrequency * static_cast<double>(kSamples) /
                     (2.0 * static_cast<double>(shown.sampleRateHalf));
    if (!(x > 0.0)) return 0.0;
    return x < kBins ? x : kBins - 1.0;
  };
  firstBin = kBins;
  endBin = 0;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const double start = position(i);
    const double end = position(i + 1);
    const auto bin = static_cast<int>(start);
    columns[i] = {bin, start - bin, end > start + 1.0 ? static_cast<int>(end) : bin};
    firstBin = std::min(firstBin, bin);
    endBin = std::max({endBin, std::min(bin + 2, kBins), columns[i].end});
  }
}

void SpectrumColumns::placeLevels() {
  const double top = shown.displayTop / shown.displayRange;
  for (int k = 0; k < kBins; ++k) {
    const float frequency =
        2.0F * static_cast<float>(k) / static_cast<float>(kSamples) * shown.sampleRateHalf;
    const double octaves = std::log(static_cast<double>(frequency) / 1000.0);
    // Without a tilt bin 0 is as any other; with one it is infinitely far below.
    const double tilted =
        shown.tilt == 0.0 ? 0.0 : -octaves * shown.tilt / (std::numbers::ln2 * shown.displayRange);
    offsets[static_cast<std::size_t>(k)] = static_cast<float>(tilted + top);
  }
}

void SpectrumColumns::findLevels(const Channels& samples) noexcept {
  constexpr double kScale = 1.0 / static_cast<double>(kSamples);
  constexpr double kSilence = 1e-10;
  const double perNeper = -20.0 / std::numbers::ln10 / shown.displayRange;
  for (std::size_t channel = 0; channel < kChannels; ++channel) {
    double* const a = samples[channel].data();
    window.applyWindow(a, kSamples);
    realForward8192(a, tables);
    auto& depth = depths[channel];
    for (int k = firstBin; k < endBin; ++k) {
      const auto bin = static_cast<std::size_t>(k);
      depth[bin] = std::sqrt(a[2 * bin] * a[2 * bin] + a[2 * bin + 1] * a[2 * bin + 1]) * kScale;
    }
    for (int k = firstBin; k < endBin; ++k) {
      const auto bin = static_cast<std::size_t>(k);
      // Takes what is not a number for silence.
      const double magnitude = depth[bin] > kSilence ? depth[bin] : kSilence;
      depth[bin] =
          std::clamp(std::log(magnitude) * perNeper + static_cast<double>(offsets[bin]), 0.0, 1.0);
    }
    depth[kBins] = depth[kBins - 1];
  }
}

void SpectrumColumns::update(const Channels& samples, const Channels& heights) noexcept {
  // Smaller than any that is seen; even smaller ones would become denormal.
  constexpr double kSmallest = 1e-200;
  findLevels(samples);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const Column& column = columns[i];
    const auto bin = static_cast<std::size_t>(column.bin);
    for (std::size_t channel = 0; channel < kChannels; ++channel) {
      const double* const depth = depths[channel].data();
      double v = depth[bin] + (depth[bin + 1] - depth[bin]) * column.part;
      for (int k = column.bin; k < column.end; ++k) v = std::min(v, depth[k]);
      double& height = heights[channel][i];
      height *= shown.decay;
      if (height < kSmallest) height = 0.0;
      if (1.0 - v > height) height = 1.0 - v;
    }
  }
  if (shown.smoothing > 1) smooth(heights);
}

void SpectrumColumns::smooth(const Channels& heights) const noexcept {
  const auto w = static_cast<std::size_t>(shown.smoothing);
  const std::size_t count = columns.size();
  const auto divisor = static_cast<double>(2 * w - 1);
  for (const std::span<double> height : heights) {
    std::array<double, kMostSmoothing> old{};  // the last w heights before they were replaced
    double sum = 0.0;
    for (std::size_t i = 0; i < std::min(w - 1, count); ++i) sum += height[i];
    for (std::size_t i = 0; i < count; ++i) {
      if (i + w - 1 < count) sum += height[i + w - 1];
      old[i % w] = height[i];
      height[i] = sum / divisor;
      if (i + 1 >= w) sum -= old[(i + 1) % w];
    }
  }
}
