#pragma once

#include <cstddef>
#include <random>
#include <vector>

using Signal = std::vector<double>;

inline Signal noiseOf(int frames, unsigned seed) {
  std::mt19937 random(seed);
  std::uniform_real_distribution<double> level(-1.0, 1.0);
  Signal signal(static_cast<std::size_t>(frames));
  for (double& x : signal) x = level(random);
  return signal;
}

/// Changes with any sample.
inline double weightedSum(const double* samples, std::size_t count) {
  double sum = 0.0;
  for (std::size_t i = 0; i < count; ++i) sum += (1.0 + static_cast<double>(i % 7)) * samples[i];
  return sum;
}
