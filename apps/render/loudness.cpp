#include "apps/render/loudness.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>

Loudness::Loudness(int sampleRate, int channels)
    : state(ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(sampleRate),
                         EBUR128_MODE_I | EBUR128_MODE_TRUE_PEAK)) {
  if (!state) throw std::bad_alloc();
}

void Loudness::add(const double* interleaved, int frames) {
  if (frames <= 0) return;
  if (ebur128_add_frames_double(state.get(), interleaved, static_cast<std::size_t>(frames)) !=
      EBUR128_SUCCESS) {
    throw std::bad_alloc();
  }
}

Loudness::Result Loudness::result() const {
  Result found;
  double loudness = kSilent;
  if (ebur128_loudness_global(state.get(), &loudness) == EBUR128_SUCCESS) {
    found.integratedLufs = loudness;
  }
  double peak = 0.0;
  for (unsigned channel = 0; channel < state->channels; ++channel) {
    double one = 0.0;
    if (ebur128_true_peak(state.get(), channel, &one) == EBUR128_SUCCESS)
      peak = std::max(peak, one);
  }
  if (peak > 0.0) found.truePeakDb = 20.0 * std::log10(peak);
  return found;
}
