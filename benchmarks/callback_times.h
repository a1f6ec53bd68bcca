#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <numeric>
#include <vector>

/// Times callbacks one by one where the work comes round in a cycle, and tells how evenly it is
/// spread: for each place in the cycle the median over all rounds, so that what else the machine
/// does is left out.
class CallbackTimes {
 public:
  /// The cycle of 512 samples of all filters, in callbacks of `frames`.
  explicit CallbackTimes(int frames)
      : places(512 / static_cast<std::size_t>(std::gcd(frames, 512))) {}

  template <typename Callback>
  void time(Callback callback) {
    const auto start = std::chrono::steady_clock::now();
    callback();
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    places[next++ % places.size()].push_back(seconds.count());
  }

  /// Sets the counters that all benchmarks of callbacks show; `frames` per callback.
  void report(benchmark::State& state, int frames, double rate) {
    std::vector<double> typical;
    for (auto& times : places) {
      if (!times.empty()) typical.push_back(median(times));
    }
    const double total = std::accumulate(typical.begin(), typical.end(), 0.0);
    const double perFrame = total / static_cast<double>(typical.size()) / frames;
    state.counters["ns/frame"] = perFrame * 1e9;
    state.counters["% of core"] = perFrame * rate * 100.0;
    state.counters["x real time"] = 1.0 / (perFrame * rate);
    state.counters["worst/median"] =
        *std::max_element(typical.begin(), typical.end()) / median(typical);
  }

 private:
  static double median(std::vector<double>& values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
  }

  std::vector<std::vector<double>> places;
  std::size_t next = 0;
};
