// What one parameter costs on its way to the engine, beside a change of all of them as one, and
// what a graph of the result costs.

#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "core/plug.h"
#include "editing/parameter_ids.h"

namespace {

/// An instance whose filters wait, as they do while a knob is turned.
class Knobs {
 public:
  Knobs()
      : plug(
            nullptr, Plug::Idle::kCaller, [] { return 0; }, Machine::detached()) {
    for (int band = 0; band < kNumBands; ++band) {
      plug.setParameter(bandParameterId(band, kB1State), 1.0F);
      plug.setParameter(bandParameterId(band, kB1Type), band % 2 == 0 ? 0.0F : 1.0F);
    }
  }
  void turn(int id) { plug.setParameter(id, (up = !up) ? 0.4F : 0.6F); }

  Plug plug;

 private:
  bool up = false;
};

/// Range: the row of band 3.
void oneKnob(benchmark::State& state) {
  Knobs knobs;
  const int id = bandParameterId(2, static_cast<int>(state.range(0)));
  for (auto _ : state) knobs.turn(id);
  const float shown = knobs.plug.getParameter(id);
  if (shown != 0.4F && shown != 0.6F) state.SkipWithError("not set");
}

void allKnobs(benchmark::State& state) {
  Knobs knobs;
  for (auto _ : state) knobs.plug.switchBank(knobs.plug.getCurrentBank() ^ 1);
}

/// Range: the band, of which 0 to 3 split; whether from the cache.
void drawnBand(benchmark::State& state) {
  Plug plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, Machine::detached());
  for (int band = 1; band < kNumBands; ++band) {
    plug.addBand(band < 4 ? kXoverList : kPostList, 60.0 * std::exp2(band));
  }
  const int band = static_cast<int>(state.range(0));
  std::vector<float> frequencies(1000), curve(frequencies.size());
  const auto count = static_cast<int>(frequencies.size());
  for (std::size_t i = 0; i < frequencies.size(); ++i) {
    frequencies[i] = 20.0F + 20.0F * static_cast<float>(i);
  }
  plug.getBandCurve(band, frequencies.data(), count, curve.data());
  if (curve[0] == 1.0F || curve[9] != static_cast<float>(plug.getBandResponse(band, 200.0))) {
    state.SkipWithError("not the band");
  }
  for (auto _ : state) {
    if (state.range(1) != 0) {
      plug.getBandCurve(band, frequencies.data(), count, curve.data());
    } else {
      for (const float hertz : frequencies) {
        benchmark::DoNotOptimize(plug.getBandResponse(band, static_cast<double>(hertz)));
      }
    }
  }
  using benchmark::Counter;
  state.counters["per frequency"] =
      Counter(count, Counter::kIsIterationInvariantRate | Counter::kInvert);
}

BENCHMARK(oneKnob)->ArgName("row")->Arg(kB1Threshold)->Arg(kB1Gain)->Arg(kB1Frequency);
BENCHMARK(allKnobs);
BENCHMARK(drawnBand)->ArgNames({"band", "cached"})->ArgsProduct({{0, 3, 7}, {0, 1}});

}  // namespace
