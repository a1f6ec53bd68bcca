// What the graphs work out for each picture, beside the same worked out plainly.

#include <benchmark/benchmark.h>

#include <cstddef>
#include <vector>

#include "analysis/spectrum_columns.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/plain_spectrum.h"

namespace {

SpectrumSettings spectrumSettings() {
  return {.columns = 786, .tilt = 4.5, .decay = 0.95, .smoothing = 4};
}

/// Both channels; refills the samples, as each picture does.
void spectrum(benchmark::State& state) {
  const SpectrumSettings settings = spectrumSettings();
  const Signal input = noiseOf(SpectrumColumns::kSamples, 1);
  const Signal still(static_cast<std::size_t>(settings.columns));
  Signal left = input;
  Signal right = input;
  Signal leftHeights = still;
  Signal rightHeights = still;
  SpectrumColumns columns;
  columns.set(settings);
  columns.update({left, right}, {leftHeights, rightHeights});
  const Signal wanted = plainHeights(settings, input, still);
  if (leftHeights != wanted || rightHeights != wanted) {
    return state.SkipWithError("the heights are wrong");
  }
  for (auto _ : state) {
    left = input;
    right = input;
    columns.update({left, right}, {leftHeights, rightHeights});
    benchmark::ClobberMemory();
  }
}

void spectrumPlain(benchmark::State& state) {
  const SpectrumSettings settings = spectrumSettings();
  const Signal input = noiseOf(SpectrumColumns::kSamples, 1);
  Signal left(static_cast<std::size_t>(settings.columns));
  Signal right = left;
  for (auto _ : state) {
    left = plainHeights(settings, input, left);
    right = plainHeights(settings, input, right);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(spectrum)->Unit(benchmark::kMicrosecond);
BENCHMARK(spectrumPlain)->Unit(benchmark::kMicrosecond);

}  // namespace
