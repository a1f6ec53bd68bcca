#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <span>
#include <vector>

#include "analysis/fft.h"
#include "analysis/spectrum_columns.h"
#include "analysis/window_table.h"

/// The heights of one channel after `heights`, every value worked out where it is used.
inline std::vector<double> plainHeights(const SpectrumSettings& s, std::vector<double> samples,
                                        const std::vector<double>& heights) {
  WindowTable(12.0F).applyWindow(samples.data(), 8192);
  FftTables tables;
  realForward8192(samples.data(), tables);
  const auto depth = [&](int bin) {
    const int k = std::min(bin, 4095);
    const auto half = s.sampleRateHalf;
    const double f = static_cast<double>(2.0F * static_cast<float>(k) / 8192.0F * half);
    const double re = samples[static_cast<std::size_t>(2 * k)];
    const double im = samples[static_cast<std::size_t>(2 * k + 1)];
    const double m = std::max(std::sqrt(re * re + im * im) / 8192.0, 1e-10);
    const double bent =
        s.tilt == 0.0 ? 0.0 : -std::log(f / 1000.0) * s.tilt / (std::numbers::ln2 * s.displayRange);
    const auto e = static_cast<float>(bent + s.displayTop / s.displayRange);
    const double p = std::log(m) * (-20.0 / std::numbers::ln10 / s.displayRange);
    return std::clamp(p + static_cast<double>(e), 0.0, 1.0);
  };
  const double length = std::log(s.highestFrequency / s.lowestFrequency);
  const auto position = [&](int i) {
    const double f = std::exp(i * length / s.columns) * s.lowestFrequency;
    const double x = f * 8192.0 / (2.0 * static_cast<double>(s.sampleRateHalf));
    return x < 4096.0 ? std::max(x, 0.0) : 4095.0;
  };
  std::vector<double> peaks;
  for (int i = 0; i < s.columns; ++i) {
    const double from = position(i);
    const double to = position(i + 1);
    const auto bin = static_cast<int>(std::floor(from));
    double v = depth(bin) + (depth(bin + 1) - depth(bin)) * (from - bin);
    for (int k = bin; to > from + 1.0 && k < static_cast<int>(std::floor(to)); ++k) {
      v = std::min(v, depth(k));
    }
    peaks.push_back(std::max(heights[static_cast<std::size_t>(i)] * s.decay, 1.0 - v));
  }
  std::vector<double> smooth;
  double sum = 0.0;
  for (int i = 1 - s.smoothing; i < s.columns; ++i) {
    const int next = i + s.smoothing - 1;
    if (next >= 0 && next < s.columns) sum += peaks[static_cast<std::size_t>(next)];
    if (i < 0) continue;
    smooth.push_back(sum / (2 * s.smoothing - 1));
    const int last = i - s.smoothing + 1;
    if (last >= 0) sum -= peaks[static_cast<std::size_t>(last)];
  }
  return smooth;
}
