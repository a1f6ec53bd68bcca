// The whole effect with working bands, at the rates and block lengths of hosts.

#include <benchmark/benchmark.h>
#include <malloc.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <memory>
#include <random>
#include <vector>

#include "analysis/vector_kernels.h"
#include "benchmarks/callback_times.h"
#include "core/plug.h"

namespace {

enum Kind : std::int64_t { kCrossoverBands = 0, kDynamicEqBands = 1 };

struct Chain {
  Kind kind = kCrossoverBands;
  int bands = 8;
  double rate = 48000.0;
  int frames = 64;
  int channels = 2;
  int oversampling = 0;
  double linkage = 100.0;
};

void setPlain(Plug& plug, int index, double plain) {
  plug.setParameter(index, plug.plainToNormalised(index, static_cast<float>(plain)));
}

/// Bands that compress 2:1 above -30 dB and expand below, with detectors that never rest.
std::unique_ptr<Plug> workingBands(const Chain& chain) {
  auto plug = std::make_unique<Plug>(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds,
                                     Machine::detached());
  plug->setSampleRate(static_cast<float>(chain.rate));
  setPlain(*plug, kOversample, chain.oversampling);
  for (int band = 0; band < chain.bands; ++band) {
    const auto set = [&](int row, double plain) {
      setPlain(*plug, bandParameterId(band, row), plain);
    };
    set(kB1Type, chain.kind == kDynamicEqBands ? 1.0 : 0.0);
    set(kB1Frequency, 60.0 * std::exp2(band));
    set(kB1State, 1.0);
    set(kB1Threshold, -30.0);
    set(kB1Ratio, 0.5);
    set(kB1RatioB, 0.2);
    set(kB1SCLink, chain.linkage);
  }
  plug->resume();
  return plug;
}

void run(benchmark::State& state, const Chain& chain) {
  const auto plug = workingBands(chain);
  // A period that blocks do not divide: no two callbacks see the same.
  constexpr std::size_t kPeriod = 9973;
  std::mt19937 random(1);
  std::uniform_real_distribution<double> level(-0.3, 0.3);
  std::array<std::vector<double>, 2> noise;
  const auto frames = static_cast<std::size_t>(chain.frames);
  for (auto& channel : noise) {
    channel.resize(kPeriod);
    for (double& x : channel) x = level(random);
    channel.insert(channel.end(), channel.begin(),
                   channel.begin() + static_cast<std::ptrdiff_t>(frames));
  }
  std::array<std::vector<double>, 2> output = {std::vector<double>(frames),
                                               std::vector<double>(frames)};
  std::size_t at = 0;
  CallbackTimes times(chain.frames);
  for (auto _ : state) {
    const bool stereo = chain.channels == 2;
    double* const left = noise[0].data() + at;
    double* const right = noise[1].data() + at;
    // A null last output makes the call mono: a main input, then a sidechain input.
    std::array<double*, 4> in = {left, stereo ? right : nullptr, nullptr, nullptr};
    std::array<double*, 2> out = {output[0].data(), stereo ? output[1].data() : nullptr};
    times.time([&] { plug->processDoubleReplacing(in.data(), out.data(), chain.frames); });
    benchmark::ClobberMemory();
    at = (at + frames) % kPeriod;
  }
  times.report(state, chain.frames, chain.rate);
}

/// Range: kind, bands, rate, frames.
void chain(benchmark::State& state) {
  run(state, {.kind = static_cast<Kind>(state.range(0)),
              .bands = static_cast<int>(state.range(1)),
              .rate = static_cast<double>(state.range(2)),
              .frames = static_cast<int>(state.range(3))});
}

/// Range: kind, channels, oversampling, instruction set.
void variant(benchmark::State& state) {
  const VectorKernels& usual = vectorKernels();
  useVectorKernels(*allVectorKernels()[static_cast<std::size_t>(state.range(3))]);
  run(state, {.kind = static_cast<Kind>(state.range(0)),
              .channels = static_cast<int>(state.range(1)),
              .oversampling = static_cast<int>(state.range(2))});
  useVectorKernels(usual);
}

/// Range: kind, linkage in per cent. Where the channels are not wholly linked, both detectors of a
/// band run.
void linkage(benchmark::State& state) {
  run(state,
      {.kind = static_cast<Kind>(state.range(0)), .linkage = static_cast<double>(state.range(1))});
}

/// What an instance takes of the heap.
void memory(benchmark::State& state) {
  const auto inUse = [] {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd);
  };
  for (auto _ : state) {
    const double before = inUse();
    const auto plug = workingBands({});
    state.counters["MB"] = (inUse() - before) / 1e6;
  }
}

BENCHMARK(chain)
    ->ArgNames({"dynamicEq", "bands", "rate", "frames"})
    ->ArgsProduct({{kCrossoverBands, kDynamicEqBands},
                   {1, 2, 4, 8},
                   {48000, 96000, 192000},
                   {32, 64, 256, 1024}});
BENCHMARK(variant)
    ->ArgNames({"dynamicEq", "channels", "oversampling", "set"})
    ->ArgsProduct({{kCrossoverBands, kDynamicEqBands},
                   {1, 2},
                   {0, 1, 2},
                   benchmark::CreateDenseRange(
                       0, static_cast<std::int64_t>(allVectorKernels().size()) - 1, 1)});
BENCHMARK(linkage)
    ->ArgNames({"dynamicEq", "percent"})
    ->ArgsProduct({{kCrossoverBands, kDynamicEqBands}, {99, 100}});
BENCHMARK(memory);

}  // namespace
