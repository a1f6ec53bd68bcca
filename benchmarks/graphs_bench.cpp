// What the graphs work out for each picture, beside the same worked out plainly.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstddef>
#include <string>
#include <vector>

#include "analysis/spectrum_columns.h"
#include "core/plug.h"
#include "graphs/band_curves.h"
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

/// Eight running bands: `xover` of them in the crossover, the others with both edges as steep as
/// they come.
class EightBands {
 public:
  explicit EightBands(int xover) : machine(std::make_unique<MemoryStore>(), InstallFolders()) {
    const UpdateHold together(plug.updates());
    for (int band = 0; band < kNumBands; ++band) {
      const bool isXover = band < xover;
      set(band, kB1State, 1.0F);
      set(band, kB1Type, isXover ? 0.0F : 1.0F);
      set(band, kB1SubType, static_cast<float>(kBandPassB));
      set(band, kB1Frequency, 60.0F * std::exp2(static_cast<float>(band)));
      set(band, kB1Slope, 96.0F);
      set(band, kB1Slope2, 96.0F);
      set(band, kB1Gain, band % 2 == 0 ? 6.0F : -6.0F);
    }
  }
  void set(int band, int row, float plain) {
    const int id = bandParameterId(band, row);
    plug.setParameter(id, plug.plainToNormalised(id, plain));
  }
  Machine machine;
  Plug plug{nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, machine};
};

/// All curves for an axis that is another each time. Range: crossover bands.
void curves(benchmark::State& state) {
  EightBands effect(static_cast<int>(state.range(0)));
  effect.plug.resume();
  BandCurves curves;
  BandCurves::Settings settings;
  settings.axis.width = 786;
  curves.update(effect.plug, settings);
  for (int band = 0; band < kNumBands; ++band) {
    for (std::size_t i = 0; i < 786; i += 5) {
      const double hertz = settings.axis.frequencyAt(static_cast<double>(i));
      const double plain = 20.0 * std::log10(effect.plug.getBandResponse(band, hertz));
      // The curves' frequencies are in single precision.
      if (plain > -100.0 && std::abs(curves.shape(band)[i] - plain) > 1e-4) {
        return state.SkipWithError("the curves are wrong");
      }
    }
  }
  for (auto _ : state) {
    settings.axis.maxf = settings.axis.maxf == 20000.0 ? 22050.0 : 20000.0;
    curves.update(effect.plug, settings);
    benchmark::ClobberMemory();
  }
}

/// The same without the sum and without what is heard.
void curvesPlain(benchmark::State& state) {
  EightBands effect(static_cast<int>(state.range(0)));
  effect.plug.resume();
  const FrequencyAxis axis = {786, 10.0, 22050.0};
  std::vector<double> curve(786);
  for (auto _ : state) {
    for (int band = 0; band < kNumBands; ++band) {
      for (std::size_t i = 0; i < curve.size(); ++i) {
        const double hertz = axis.frequencyAt(static_cast<double>(i));
        curve[i] = 20.0 * std::log10(effect.plug.getBandResponse(band, hertz));
      }
      benchmark::DoNotOptimize(curve.data());
      benchmark::ClobberMemory();
    }
  }
}

/// One band of eight has moved, or none. Range: whether one has.
void curvesOfOneBand(benchmark::State& state) {
  EightBands effect(4);
  effect.plug.resume();
  BandCurves curves;
  BandCurves::Settings settings;
  settings.axis.width = 786;
  float frequency = 3000.0F;
  for (auto _ : state) {
    if (state.range(0) != 0) {
      state.PauseTiming();
      frequency = frequency == 3000.0F ? 3100.0F : 3000.0F;
      effect.set(6, kB1Frequency, frequency);
      state.ResumeTiming();
    }
    curves.update(effect.plug, settings);
    benchmark::ClobberMemory();
  }
}

BENCHMARK(curves)->Arg(0)->Arg(4)->Arg(8)->Unit(benchmark::kMicrosecond);
BENCHMARK(curvesPlain)->Arg(0)->Arg(4)->Arg(8)->Unit(benchmark::kMicrosecond);
BENCHMARK(curvesOfOneBand)->Arg(0)->Arg(1)->Unit(benchmark::kMicrosecond);
BENCHMARK(spectrum)->Unit(benchmark::kMicrosecond);
BENCHMARK(spectrumPlain)->Unit(benchmark::kMicrosecond);

}  // namespace
