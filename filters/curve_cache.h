#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

#include "platform/plug_base_mutex.h"

/// A curve that is computed again only when its source has changed (compared by ==) or its
/// frequencies have (compared by the first, the last and their number). Threads: any but the audio
/// thread, several at once.
template <typename Source>
class CurveCache {
 public:
  /// Writes `n` > 0 magnitudes at `frequencies` (Hz) to `out`. `magnitude` maps a frequency in Hz
  /// (double) to a magnitude (double). Throws std::bad_alloc.
  template <typename Magnitude>
  void draw(const Source& from, const float* frequencies, int n, float* out,
            const Magnitude& magnitude) {
    const PlugBaseMutex::Scope scope(lock);
    if (!holds(from, frequencies, n)) fill(from, frequencies, n, magnitude);
    std::copy(curve.begin(), curve.end(), out);
  }

 private:
  [[nodiscard]] bool holds(const Source& from, const float* frequencies, int n) const {
    return static_cast<std::size_t>(n) == curve.size() && frequencies[0] == first &&
           frequencies[n - 1] == last && from == source;
  }
  template <typename Magnitude>
  void fill(const Source& from, const float* frequencies, int n, const Magnitude& magnitude) {
    curve.resize(static_cast<std::size_t>(n));
    source = from;
    first = frequencies[0];
    last = frequencies[n - 1];
    std::transform(frequencies, frequencies + n, curve.begin(),
                   [&](float f) { return static_cast<float>(magnitude(static_cast<double>(f))); });
  }

  PlugBaseMutex lock;
  // Under the lock.
  Source source{};
  float first = 0.0F;
  float last = 0.0F;
  std::vector<float> curve;
};
