#pragma once

#include <algorithm>
#include <cstddef>
#include <vector>

/// A curve that is worked out again only when what it was drawn from has changed: `Source`,
/// compared by ==, or the frequencies, told apart by the first, the last and their number. One
/// thread.
template <typename Source>
class CurveCache {
 public:
  [[nodiscard]] bool holds(const Source& from, const float* frequencies, int n) const {
    return static_cast<std::size_t>(n) == curve.size() && frequencies[0] == first &&
           frequencies[n - 1] == last && from == source;
  }
  /// `magnitude`: a frequency in Hz (double) to a magnitude (double).
  template <typename Magnitude>
  void fill(const Source& from, const float* frequencies, int n, Magnitude magnitude) {
    source = from;
    first = frequencies[0];
    last = frequencies[n - 1];
    curve.resize(static_cast<std::size_t>(n));
    std::transform(frequencies, frequencies + n, curve.begin(),
                   [&](float f) { return static_cast<float>(magnitude(static_cast<double>(f))); });
  }
  void copyTo(float* out) const { std::copy(curve.begin(), curve.end(), out); }

 private:
  Source source{};
  float first = 0.0F;
  float last = 0.0F;
  std::vector<float> curve;
};
