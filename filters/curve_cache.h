#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <vector>

#include "platform/plug_base_mutex.h"

/// Curves over the same frequencies, computed again, all together, only when their source has
/// changed (compared by ==) or their frequencies have (compared by the first, the last and their
/// number). Threads: any but the audio thread, several at once.
template <typename Source, std::size_t count = 1>
class CurveCache {
 public:
  /// Writes the `n` > 0 magnitudes of curve `index` at `frequencies` (Hz) to `out`. `magnitudes`
  /// maps a frequency in Hz (double) to those of all curves. Throws std::bad_alloc.
  template <typename Magnitudes>
  void draw(const Source& from, const float* frequencies, int n, std::size_t index, float* out,
            const Magnitudes& magnitudes) {
    const PlugBaseMutex::Scope scope(lock);
    if (!holds(from, frequencies, n)) fill(from, frequencies, n, magnitudes);
    std::copy(curves[index].begin(), curves[index].end(), out);
  }

 private:
  [[nodiscard]] bool holds(const Source& from, const float* frequencies, int n) const {
    return static_cast<std::size_t>(n) == curves[0].size() && frequencies[0] == first &&
           frequencies[n - 1] == last && from == source;
  }
  template <typename Magnitudes>
  void fill(const Source& from, const float* frequencies, int n, const Magnitudes& magnitudes) {
    for (auto& curve : curves) curve.resize(static_cast<std::size_t>(n));
    source = from;
    first = frequencies[0];
    last = frequencies[n - 1];
    for (std::size_t i = 0; i < curves[0].size(); ++i) {
      const std::array<double, count> all = magnitudes(static_cast<double>(frequencies[i]));
      for (std::size_t k = 0; k < count; ++k) curves[k][i] = static_cast<float>(all[k]);
    }
  }

  PlugBaseMutex lock;
  // Under the lock.
  Source source{};
  float first = 0.0F;
  float last = 0.0F;
  std::array<std::vector<float>, count> curves;
};
