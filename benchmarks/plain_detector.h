#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "dynamics/band_detector.h"

/// The window's law one sample at a time, each level in a ring of its own.
class PlainWindow {
 public:
  PlainWindow() {
    for (std::size_t k = 0; k < 13; ++k) levels.emplace_back(std::size_t{1} << k);
  }
  void change(std::size_t samples) {
    if (samples == n) return;
    n = samples;
    depth = 0;
    while ((std::size_t{1} << depth) < n) ++depth;
    if (n <= 3) return;
    length1 = 3 * n / 4;
    length2 = n / 4;
    sum1 = 0.0;
    sum2 = 0.0;
    for (std::size_t j = 1; j <= length1; ++j) sum1 += maximaAgo(j);
    double sum = sum1;
    for (std::size_t j = 1; j <= length2; ++j) {
      means[(time - j) % 8192] = (1.0 / static_cast<double>(length1)) * sum;
      sum2 += means[(time - j) % 8192];
      sum += maximaAgo(j + length1) - maximaAgo(j);
    }
  }
  double next(double x) {
    for (std::size_t k = 0; k < depth; ++k) {
      const std::size_t size = levels[k].size();
      const std::size_t ahead = k + 1 == depth ? 2 * size - n : 0;
      const double earlier = levels[k][(treeTime + ahead) % size];
      levels[k][treeTime % size] = x;
      x = std::max(earlier, x);
    }
    treeTime = (treeTime + 1) % (std::size_t{1} << depth);
    if (n > 3) {
      sum1 += x - maximaAgo(length1);
      sum1 = (sum1 + 1e-30) - 1e-30;
      maxima[time % 8192] = x;
      const double mean = (1.0 / static_cast<double>(length1)) * sum1;
      sum2 += mean - means[(time - length2) % 8192];
      sum2 = (sum2 + 1e-30) - 1e-30;
      means[time % 8192] = mean;
      x = (1.0 / static_cast<double>(length2)) * sum2;
    }
    ++time;
    return x;
  }

 private:
  [[nodiscard]] double maximaAgo(std::size_t j) const { return maxima[(time - j) % 8192]; }

  std::vector<std::vector<double>> levels;
  std::vector<double> maxima = std::vector<double>(8192);
  std::vector<double> means = std::vector<double>(8192);
  std::size_t n = 0, depth = 0, treeTime = 0, length1 = 0, length2 = 0;
  std::size_t time = 8192;
  double sum1 = 0.0, sum2 = 0.0;
};

/// The detector's law one sample at a time, with the library's logarithm and power.
class PlainDetector {
 public:
  struct Meters {
    double envPeak = 0.0, dynPeak = 0.0, tranPeak = 0.0;
    bool fast = false, slow = false;
  };

  void change(const DetectorSettings& newSettings, int lookahead) {
    settings = newSettings;
    window.change(static_cast<std::size_t>(lookahead));
  }

  /// Linear gain.
  double next(double sidechain) {
    const DetectorSettings& s = settings;
    double x = window.next(std::abs(sidechain));
    const double instant = gainDb(x);
    const double envelope = followLevel(x);
    meters.envPeak = std::max(meters.envPeak, envelope);
    x = s.shape == 1.0 ? envelope : x + (envelope - x) * s.shape;
    x = gainDb(x);
    const double smoothed = followGain(x);
    double y = s.shape == 0.0 ? smoothed : x + (smoothed - x) * (1.0 - s.shape);
    const double d = instant - y;
    double transient = y > 0.0 ? std::max(d, 0.0) : std::min(d, 0.0);
    y *= s.dynWeight;
    transient *= s.tranWeight;
    if (std::abs(y) > std::abs(meters.dynPeak)) meters.dynPeak = y;
    if (std::abs(transient) > std::abs(meters.tranPeak)) meters.tranPeak = transient;
    return std::pow(10.0, (y + transient) * 0.05);
  }

  Meters meters;

 private:
  /// From 0 dB at a threshold to the range of its side, bent towards a smoothstep.
  [[nodiscard]] double gainDb(double level) const {
    const StaticCurve& c = settings.curve;
    const double db = level < 1e-10 ? -200.0 : 20.0 * std::log10(level);
    const bool above = db >= c.thresholdHigh;
    if (!above && db > c.thresholdLow) return 0.0;
    const double way =
        above ? (db - c.thresholdHigh) * c.slopeAbove : (c.thresholdLow - db) * c.slopeBelow;
    const double t = std::min(1.0, way);
    const double bent = t * t * (3.0 - 2.0 * t);
    return (t + (bent - t) * c.knee) * (above ? c.rangeAbove : c.rangeBelow);
  }

  double followLevel(double in) {
    const BallisticsCoefficients& c = settings.times;
    meanSquare += (in * in - meanSquare) * c.rmsCoef;
    const bool slow = value * value <= meanSquare * c.crestRatio;
    phase = slow ? 3 : 2;
    if (in < value) {
      if (holdLeft == 0.0) {
        value *= slow ? c.relSlowCoef : c.relFastCoef;
      } else {
        holdLeft -= 1.0;
        phase = 1;
      }
    } else {
      holdLeft = c.holdSamples;
      value += (in - value) * c.attackCoef;
      if (!settings.expandMode) phase = 0;
    }
    return value = (value + 1e-30) - 1e-30;
  }

  void release(bool fast, double target) {
    (fast ? meters.fast : meters.slow) = true;
    const BallisticsCoefficients& c = settings.times;
    gain += (target - gain) * (1.0 - (fast ? c.relFastCoef : c.relSlowCoef));
  }

  double followGain(double g) {
    const bool attacks = settings.expandMode ? g >= gain : phase == 0;
    if (attacks) {
      gain += (g - gain) * settings.times.attackCoef;
    } else if (phase != 1) {
      release(phase == 2, g);
    }
    return gain = (gain + 1e-30) - 1e-30;
  }

  DetectorSettings settings;
  PlainWindow window;
  double meanSquare = 0.0, value = 0.0, holdLeft = 0.0, gain = 0.0;
  int phase = 0;
};
