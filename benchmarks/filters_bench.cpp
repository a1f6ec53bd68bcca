// The crossover's split and the filters of dynamic EQ bands alone, stereo, at 48 kHz, beside the
// plain forms that define them.

#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <memory>
#include <numeric>
#include <vector>

#include "benchmarks/callback_times.h"
#include "benchmarks/plain_convolvers.h"
#include "filters/crossover_bank.h"
#include "filters/resampler.h"
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

/// Eight bands' products with their gains, two channels, at twice the rate.
/// `Unit`: as `OversampledGain`; range: frames, whether the steep kernel, instruction set.
template <typename Unit>
void oversampledGain(benchmark::State& state) {
  const auto frames = static_cast<int>(state.range(0));
  const Using set(state, state.range(2));
  std::vector<std::unique_ptr<Unit>> units;
  for (int c = 0; c < 2 * kBands; ++c) {
    units.push_back(std::make_unique<Unit>());
    units.back()->setHighQuality(state.range(1) != 0);
  }
  Buffers buffers(frames);
  Signal upSignal(2 * buffers.left.size());
  Signal upGain(upSignal.size());
  CallbackTimes times(frames);
  for (auto _ : state) {
    for (Signal& signal : buffers.memory) signal = buffers.right;
    times.time([&] {
      for (std::size_t c = 0; c < units.size(); ++c) {
        units[c]->process(buffers.memory[c].data(), buffers.left.data(), frames, upSignal.data(),
                          upGain.data());
      }
    });
    benchmark::ClobberMemory();
  }
  times.report(state, frames, kRate);
}

/// The same by its definition, term by term.
class PlainGain {
 public:
  void setHighQuality(bool on) { kernel = noiseOf(on ? 128 : 34, 6); }
  void process(double* signal, const double* gain, int frames, double* upSignal, double* upGain) {
    raise(signal, frames, upSignal, pasts[0].data());
    raise(gain, frames, upGain, pasts[1].data());
    for (int i = 0; i < 2 * frames; ++i) upSignal[i] *= upGain[i];
    lower(upSignal, frames, signal);
  }

 private:
  void raise(const double* in, int frames, double* out, double* past) const {
    const auto taps = static_cast<std::ptrdiff_t>(kernel.size());
    std::copy_n(in, frames, past + taps - 1);
    for (int i = 0; i < frames; ++i) {
      out[2 * i] = std::inner_product(kernel.begin(), kernel.end(), past + i, 0.0);
      out[2 * i + 1] = past[i + taps / 2];
    }
    std::copy_n(past + frames, taps - 1, past);
  }
  void lower(const double* in, int frames, double* out) {
    const auto taps = static_cast<std::ptrdiff_t>(kernel.size());
    double* const past = pasts[2].data();
    std::copy_n(in, 2 * frames, past + 2 * (taps - 1));
    for (std::ptrdiff_t i = 0; i < 2 * frames; i += 2) {
      double sum = past[i + taps - 1];
      for (std::ptrdiff_t j = 0; j < taps; ++j) {
        sum += past[i + 2 * j] * kernel[static_cast<std::size_t>(j)];
      }
      out[i / 2] = 0.5 * sum;
    }
    std::copy_n(past + 2 * static_cast<std::ptrdiff_t>(frames), 2 * (taps - 1), past);
  }

  Signal kernel;
  std::array<Signal, 3> pasts = {Signal(9000), Signal(9000), Signal(9000)};
};

std::vector<std::int64_t> sets() {
  return benchmark::CreateDenseRange(0, static_cast<int>(allVectorKernels().size()) - 1, 1);
}

BENCHMARK(crossover)->ArgsProduct({{64, 512, 4096}, sets(), {1}})->Args({64, sets().back(), 0});
BENCHMARK(crossoverOneBurst)->Arg(64);
BENCHMARK(bandFilters)->ArgsProduct({{64, 512, 4096}, sets()});
BENCHMARK(oneBandDirectly)->Arg(64);
BENCHMARK(oversampledGain<OversampledGain>)
    ->ArgsProduct({{64}, {0, 1}, sets()})
    ->Args({512, 0, sets().back()})
    ->Args({4096, 0, sets().back()});
BENCHMARK(oversampledGain<PlainGain>)->ArgsProduct({{64}, {0, 1}, {0}});

}  // namespace
