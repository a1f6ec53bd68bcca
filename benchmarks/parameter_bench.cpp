// What one parameter costs on its way to the engine, beside a change of all of them as one.

#include <benchmark/benchmark.h>

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

BENCHMARK(oneKnob)->ArgName("row")->Arg(kB1Threshold)->Arg(kB1Gain)->Arg(kB1Frequency);
BENCHMARK(allKnobs);

}  // namespace
