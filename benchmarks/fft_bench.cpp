// Transforms beside FFTW's of the same size, planned with its measure mode: the ratio of the two in
// one run is what counts.

#include <benchmark/benchmark.h>
#include <fftw3.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdint>
#include <memory>
#include <vector>

#include "analysis/fft.h"

namespace {

constexpr int kRealSamples = 8192;

double sample(int i) { return std::sin(0.37 * i * i); }

struct Destroy {
  void operator()(fftw_plan plan) const { fftw_destroy_plan(plan); }
  void operator()(double* memory) const { fftw_free(memory); }
};

/// FFTW's transform, and its own aligned memory.
struct Peer {
  /// In place, the exponent's sign as that of `complexForward`.
  static Peer complex(int points) {
    Peer peer(2 * points);
    auto* const pairs = reinterpret_cast<fftw_complex*>(peer.data.get());
    peer.plan.reset(fftw_plan_dft_1d(points, pairs, pairs, FFTW_BACKWARD, FFTW_MEASURE));
    return peer;
  }
  static Peer real() {
    Peer peer(kRealSamples + 2);
    auto* const pairs = reinterpret_cast<fftw_complex*>(peer.data.get());
    peer.plan.reset(fftw_plan_dft_r2c_1d(kRealSamples, peer.data.get(), pairs, FFTW_MEASURE));
    return peer;
  }
  explicit Peer(int doubles) : data(fftw_alloc_real(static_cast<std::size_t>(doubles))) {}
  std::unique_ptr<double, Destroy> data;
  std::unique_ptr<std::remove_pointer_t<fftw_plan>, Destroy> plan;
};

/// Whether both give the same; the peer's imaginary parts have the sign `sign`.
bool agree(const double* ours, const double* theirs, int pairs, double sign) {
  double worst = 0.0;
  for (int k = 2; k < 2 * pairs; k += 2) {
    worst = std::max(
        {worst, std::abs(ours[k] - theirs[k]), std::abs(ours[k + 1] - sign * theirs[k + 1])});
  }
  return worst < 1e-10;
}

// Silence is transformed in the timed loops: values that grew from pass to pass would overflow.

void complexPairs(benchmark::State& state) {
  const auto points = static_cast<int>(state.range(0));
  std::vector<double> pairs(2 * static_cast<std::size_t>(points));
  Peer peer = Peer::complex(points);
  for (int i = 0; i < 2 * points; ++i) {
    pairs[static_cast<std::size_t>(i)] = peer.data.get()[i] = sample(i);
  }
  FftTables tables;
  complexForward(points, pairs.data(), tables);
  fftw_execute(peer.plan.get());
  if (!agree(pairs.data(), peer.data.get(), points, 1.0)) {
    return state.SkipWithError("the transforms differ");
  }
  std::fill(pairs.begin(), pairs.end(), 0.0);
  for (auto _ : state) {
    complexForward(points, pairs.data(), tables);
    benchmark::ClobberMemory();
  }
}

void complexPairsFftw(benchmark::State& state) {
  const auto points = static_cast<int>(state.range(0));
  const Peer peer = Peer::complex(points);
  std::fill_n(peer.data.get(), 2 * points, 0.0);
  for (auto _ : state) {
    fftw_execute(peer.plan.get());
    benchmark::ClobberMemory();
  }
}

/// As the convolvers use it, with the instruction set of index range(1).
void planar(benchmark::State& state) {
  const auto points = static_cast<int>(state.range(0));
  const VectorKernels& kernels = *allVectorKernels()[static_cast<std::size_t>(state.range(1))];
  state.SetLabel(kernels.name);
  const PlanarFft& fft = PlanarFft::shared(points);
  const PlanarArrays arrays(3, points);
  for (auto _ : state) {
    fft.forward(kernels, arrays[0], arrays[1], arrays[2]);
    benchmark::ClobberMemory();
  }
}

void real8192(benchmark::State& state) {
  std::vector<double> samples(kRealSamples);
  Peer peer = Peer::real();
  for (int i = 0; i < kRealSamples; ++i) {
    samples[static_cast<std::size_t>(i)] = peer.data.get()[i] = sample(i);
  }
  FftTables tables;
  realForward8192(samples.data(), tables);
  fftw_execute(peer.plan.get());
  if (!agree(samples.data(), peer.data.get(), kRealSamples / 2, -1.0)) {
    return state.SkipWithError("the transforms differ");
  }
  std::fill(samples.begin(), samples.end(), 0.0);
  for (auto _ : state) {
    realForward8192(samples.data(), tables);
    benchmark::ClobberMemory();
  }
}

void real8192Fftw(benchmark::State& state) {
  const Peer peer = Peer::real();
  std::fill_n(peer.data.get(), kRealSamples + 2, 0.0);
  for (auto _ : state) {
    fftw_execute(peer.plan.get());
    benchmark::ClobberMemory();
  }
}

BENCHMARK(complexPairs)->Arg(1024)->Arg(2048);
BENCHMARK(complexPairsFftw)->Arg(1024)->Arg(2048);
BENCHMARK(real8192);
BENCHMARK(real8192Fftw);
BENCHMARK(planar)->ArgsProduct(
    {{64, 512, 1024},
     benchmark::CreateDenseRange(0, static_cast<int>(allVectorKernels().size()) - 1, 1)});

}  // namespace
