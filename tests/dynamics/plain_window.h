#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

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
