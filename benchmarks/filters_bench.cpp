// The crossover's split and the filters of dynamic EQ bands alone, stereo, at 48 kHz, beside the
// plain forms that define them.

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <memory>
#include <vector>

#include "benchmarks/callback_times.h"
#include "filters/crossover_bank.h"
#include "filters/subband.h"
#include "tests/support/plain_convolution.h"

namespace {

constexpr double kRate = 48000.0;
constexpr int kBands = 8;

/// The instruction set of an index, for as long as this lives.
class Using {
 public:
  Using(benchmark::State& state, std::int64_t set) {
    useVectorKernels(*allVectorKernels()[static_cast<std::size_t>(set)]);
    state.SetLabel(vectorKernels().name);
  }
  Using(const Using&) = delete;
  Using& operator=(const Using&) = delete;
  ~Using() { useVectorKernels(usual); }

 private:
  const VectorKernels& usual = vectorKernels();
};

struct Buffers {
  explicit Buffers(int frames)
      : left(noiseOf(frames, 1)), right(noiseOf(frames, 2)), memory(2 * kBands, left) {
    for (std::size_t b = 0; b < kBands; ++b) {
      bandLeft[b] = memory[b].data();
      bandRight[b] = memory[kBands + b].data();
    }
  }
  Signal left, right;
  std::vector<Signal> memory;
  std::array<double*, kBands> bandLeft{};
  std::array<double*, kBands> bandRight{};
};

void setEightBands(CrossoverBank& bank) {
  bank.setSampleRate(kRate);
  bank.setSplits(std::array{60.0, 150.0, 400.0, 1000.0, 2500.0, 5000.0, 9000.0, 15000.0},
                 std::array{24.0, 24.0, 24.0, 24.0, 24.0, 24.0, 24.0, 24.0});
  bank.buildKernels();
}

/// Eight bands; range: frames, instruction set, whether the engine with latency.
void crossover(benchmark::State& state) {
  const auto frames = static_cast<int>(state.range(0));
  const Using set(state, state.range(1));
  const auto bank = std::make_unique<CrossoverBank>();
  bank->useBlocked = state.range(2) != 0;
  setEightBands(*bank);
  Buffers buffers(frames);
  const double* const inputs[] = {buffers.left.data(), buffers.right.data()};
  CallbackTimes times(frames);
  for (auto _ : state) {
    times.time([&] {
      bank->processBlock(inputs, buffers.bandLeft.data(), buffers.bandRight.data(), kBands, frames);
    });
    benchmark::ClobberMemory();
  }
  times.report(state, frames, kRate);
}

/// The same by one burst of 2048-point transforms each 1024 samples.
void crossoverOneBurst(benchmark::State& state) {
  const auto frames = static_cast<int>(state.range(0));
  PlainCrossover plain;
  plain.setKernels(std::vector<Signal>(kBands, noiseOf(1024, 3)));
  const Buffers buffers(frames);
  std::array<double, kBands> left{};
  std::array<double, kBands> right{};
  CallbackTimes times(frames);
  for (auto _ : state) {
    times.time([&] {
      for (std::size_t i = 0; i < buffers.left.size(); ++i) {
        plain.processSample(buffers.left[i], buffers.right[i], left.data(), right.data());
      }
    });
    benchmark::ClobberMemory();
  }
  times.report(state, frames, kRate);
}

/// Eight filters one after the other; range: frames, instruction set.
void bandFilters(benchmark::State& state) {
  const auto frames = static_cast<int>(state.range(0));
  const Using set(state, state.range(1));
  std::vector<std::unique_ptr<subband>> filters;
  for (int b = 0; b < kBands; ++b) {
    filters.push_back(std::make_unique<subband>());
    filters.back()->setSampleRate(kRate);
    filters.back()->configureFilters(kBandPass, 100.0F * static_cast<float>(b + 1), 24, 1, 24);
    filters.back()->rebuildKernel();
    filters.back()->reset(32 * b);
  }
  Buffers buffers(frames);
  CallbackTimes times(frames);
  for (auto _ : state) {
    std::copy(buffers.left.begin(), buffers.left.end(), buffers.bandLeft[0]);
    std::copy(buffers.right.begin(), buffers.right.end(), buffers.bandRight[0]);
    double* const band[] = {buffers.bandLeft[0], buffers.bandRight[0]};
    double* const rest[] = {buffers.bandLeft[1], buffers.bandRight[1]};
    times.time([&] {
      for (const auto& filter : filters) filter->filter(band, rest, frames, 2);
    });
    benchmark::ClobberMemory();
  }
  times.report(state, frames, kRate);
}

/// One of them as the sum of its taps, term by term: the baseline, for one band.
void oneBandDirectly(benchmark::State& state) {
  const auto frames = static_cast<std::size_t>(state.range(0));
  const Signal taps = noiseOf(2048, 4);
  const Signal input = noiseOf(2048 + static_cast<int>(frames), 5);
  CallbackTimes times(static_cast<int>(frames));
  for (auto _ : state) {
    times.time([&] {
      for (std::size_t i = 0; i < 2 * frames; ++i) {  // two channels
        benchmark::DoNotOptimize(convolvedAt(taps, input, 2047 + i / 2));
      }
    });
  }
  times.report(state, static_cast<int>(frames), kRate);
}

std::vector<std::int64_t> sets() {
  return benchmark::CreateDenseRange(0, static_cast<int>(allVectorKernels().size()) - 1, 1);
}

BENCHMARK(crossover)->ArgsProduct({{64, 512, 4096}, sets(), {1}})->Args({64, sets().back(), 0});
BENCHMARK(crossoverOneBurst)->Arg(64);
BENCHMARK(bandFilters)->ArgsProduct({{64, 512, 4096}, sets()});
BENCHMARK(oneBandDirectly)->Arg(64);

}  // namespace
