// The whole effect with 1 to 8 bands, at the rates and block lengths of hosts.

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <vector>

#include "benchmarks/callback_times.h"
#include "core/plug.h"

namespace {

enum Kind : std::int64_t { kCrossoverBands = 0, kDynamicEqBands = 1 };

void setPlain(Plug& plug, int index, double plain) {
  plug.setParameter(index, plug.plainToNormalised(index, static_cast<float>(plain)));
}

/// Range: kind, bands, rate, frames.
void chain(benchmark::State& state) {
  const bool dynamicEq = state.range(0) == kDynamicEqBands;
  const auto rate = static_cast<double>(state.range(2));
  const auto frames = static_cast<int>(state.range(3));
  Plug plug(nullptr, Plug::Idle::kCaller);
  plug.setSampleRate(static_cast<float>(rate));
  for (int band = 0; band < state.range(1); ++band) {
    setPlain(plug, bandParameterId(band, kB1Type), dynamicEq ? 1.0 : 0.0);
    setPlain(plug, bandParameterId(band, kB1Frequency), 60.0 * std::exp2(band));
    setPlain(plug, bandParameterId(band, kB1State), 1.0);
  }
  plug.resume();
  std::vector<double> left(static_cast<std::size_t>(frames), 0.25);
  std::vector<double> right = left;
  std::vector<double> outLeft = left;
  std::vector<double> outRight = left;
  std::array<double*, 4> in = {left.data(), right.data(), nullptr, nullptr};
  std::array<double*, 2> out = {outLeft.data(), outRight.data()};
  CallbackTimes times(frames);
  for (auto _ : state) {
    times.time([&] { plug.processDoubleReplacing(in.data(), out.data(), frames); });
    benchmark::ClobberMemory();
  }
  times.report(state, frames, rate);
}

BENCHMARK(chain)
    ->ArgNames({"dynamicEq", "bands", "rate", "frames"})
    ->ArgsProduct({{kCrossoverBands, kDynamicEqBands},
                   {1, 2, 4, 8},
                   {44100, 96000, 192000},
                   {32, 64, 256, 1024}});

}  // namespace
