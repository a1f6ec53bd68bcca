// The price of the engine with no bands on, beside a copy of the same block.

#include <benchmark/benchmark.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "core/plug.h"

namespace {

template <typename Sample>
void call(Plug& plug, Sample** in, Sample** out, int frames) {
  if constexpr (std::is_same_v<Sample, float>) {
    plug.processReplacing(in, out, frames);
  } else {
    plug.processDoubleReplacing(in, out, frames);
  }
}

template <typename Sample>
struct Buffers {
  explicit Buffers(std::size_t frames) : input(2 * frames), output(2 * frames) {
    for (std::size_t i = 0; i < input.size(); ++i) {
      input[i] = static_cast<Sample>(static_cast<double>(i % 97) / 97.0 - 0.5);
    }
    in = {input.data(), input.data() + frames, nullptr, nullptr};
    out = {output.data(), output.data() + frames};
  }
  std::vector<Sample> input, output;
  std::array<Sample*, 4> in{};
  std::array<Sample*, 2> out{};
};

void countFrames(benchmark::State& state, std::int64_t frames) {
  state.counters["per frame"] =
      benchmark::Counter(static_cast<double>(state.iterations() * frames),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["x real time"] = benchmark::Counter(
      static_cast<double>(state.iterations() * frames) / 48000.0, benchmark::Counter::kIsRate);
}

template <typename Sample>
void noBands(benchmark::State& state) {
  const auto frames = static_cast<int>(state.range(0));
  Plug plug(nullptr, Plug::Idle::kCaller, &monotonicMilliseconds, Machine::detached());
  plug.setSampleRate(48000.0F);
  plug.setBlockSize(frames);
  plug.setParameter(kB1State, 0.0F);
  plug.resume();
  Buffers<Sample> buffers(static_cast<std::size_t>(frames));
  call(plug, buffers.in.data(), buffers.out.data(), frames);
  if (buffers.output != buffers.input) {
    state.SkipWithError("with no bands on the output must be the input");
    return;
  }
  for (auto _ : state) {
    call(plug, buffers.in.data(), buffers.out.data(), frames);
    benchmark::ClobberMemory();
  }
  countFrames(state, frames);
}

template <typename Sample>
void copy(benchmark::State& state) {
  Buffers<Sample> buffers(static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    std::memcpy(buffers.output.data(), buffers.input.data(), buffers.input.size() * sizeof(Sample));
    benchmark::ClobberMemory();
  }
  countFrames(state, state.range(0));
}

BENCHMARK(copy<float>)->Arg(64)->Arg(512)->Arg(1024)->Arg(4096);
BENCHMARK(noBands<float>)->Arg(64)->Arg(512)->Arg(1024)->Arg(4096);
BENCHMARK(noBands<double>)->Arg(64)->Arg(512)->Arg(1024)->Arg(4096);

}  // namespace
