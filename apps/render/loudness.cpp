#include "apps/render/loudness.h"

#include <cmath>
#include <cstddef>
#include <new>

Loudness::Loudness(int sampleRate, int channels)
    : state(ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(sampleRate),
                         EBUR128_MODE_I)),
      truePeak(channels) {
  if (!state) throw std::bad_alloc();
}

void Loudness::add(const double* interleaved, int frames) {
  if (frames <= 0) return;
  if (ebur128_add_frames_double(state.get(), interleaved, static_cast<std::size_t>(frames)) !=
      EBUR128_SUCCESS) {
    throw std::bad_alloc();
  }
  truePeak.add(interleaved, frames);
}

Loudness::Result Loudness::result() const {
  Result found;
  double loudness = kSilent;
  if (ebur128_loudness_global(state.get(), &loudness) == EBUR128_SUCCESS) {
    found.integratedLufs = loudness;
  }
  const double peak = truePeak.peak();
  if (peak > 0.0) found.truePeakDb = 20.0 * std::log10(peak);
  return found;
}
