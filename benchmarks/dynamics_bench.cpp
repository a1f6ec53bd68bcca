// Detectors beside their plain form, one sample after the other with the library's mathematics, and
// the engine with nothing around it.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <random>
#include <vector>

#include "analysis/vector_kernels.h"
#include "benchmarks/plain_detector.h"
#include "dynamics/band_detector.h"
#include "dynamics/compressor.h"

namespace {

constexpr double kRate = 48000.0;
constexpr int kFrames = 64;
constexpr std::size_t kDetectors = 16;

struct Knobs {
  double transients = 0.0;
  int lookahead = 480;  // samples
};

DetectorSettings settingsOf(const Knobs& knobs) {
  DetectorSettings s;
  s.curve = StaticCurve::make(-30.0, 0.5, 24.0, 0.2, 24.0, 0.0, 0.0);
  s.times = ballisticsCoefficients(3.15, 20.0, 200.0, 50.0, 6.0, kRate);
  s.tranWeight = knobs.transients;
  return s;
}

void turn(BandDetector& detector, const Knobs& knobs) {
  detector.setSampleRate(kRate);
  detector.setCurve(-30.0, 0.5, 24.0, 0.2, 24.0, 0.0, 0.0);
  detector.setTimes(3.15, 20.0, 200.0, 50.0, 6.0);
  detector.setWeights(1.0, knobs.transients);
  detector.setLookahead(static_cast<float>((knobs.lookahead + 0.25) * 1000.0 / kRate));
}

std::vector<double> noise(std::size_t count) {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> level(-0.3, 0.3);
  std::vector<double> samples(count);
  for (double& x : samples) x = level(random);
  return samples;
}

void report(benchmark::State& state) {
  const double seconds = static_cast<double>(state.iterations()) * kFrames / kRate;
  state.counters["% of core"] = benchmark::Counter(
      seconds / 100.0, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.SetItemsProcessed(state.iterations() * kFrames * static_cast<std::int64_t>(kDetectors));
}

/// All sixteen, `together` at a time. Range: together, transients, lookahead, instruction set,
/// whether the curve of the first moves.
void detectors(benchmark::State& state) {
  const VectorKernels& usual = vectorKernels();
  useVectorKernels(*allVectorKernels()[static_cast<std::size_t>(state.range(3))]);
  state.SetLabel(vectorKernels().name);
  const auto together = static_cast<std::size_t>(state.range(0));
  std::array<BandDetector, kDetectors> all;
  for (BandDetector& detector : all) {
    turn(detector, {static_cast<double>(state.range(1)), static_cast<int>(state.range(2))});
  }
  const std::vector<double> input = noise(kFrames * kDetectors);
  std::vector<double> signals = input;
  std::array<double, 5> meters{};
  std::array<BandDetector::Job, kDetectors> jobs{};
  for (std::size_t i = 0; i < kDetectors; ++i) {
    jobs[i] = {&all[i],    &all[i].designed(), signals.data() + i * kFrames,
               &meters[0], &meters[1],         &meters[2],
               &meters[3], &meters[4],         kFrames};
  }
  DetectorMotion motion{all[0].designed().curve, 1.0, 1.0, jobs[0].settings->tranWeight};
  motion.curve.thresholdHigh += 1.0;
  std::array<double, kFrames> shares{};
  for (std::size_t i = 0; i < kFrames; ++i) shares[i] = static_cast<double>(i) / kFrames;
  motion.shares = shares.data();
  if (state.range(4) != 0) jobs[0].motion = &motion;
  for (auto _ : state) {
    signals = input;
    for (std::size_t i = 0; i < kDetectors; i += together) {
      BandDetector::processTogether({jobs.data() + i, together}, kFrames);
    }
    benchmark::ClobberMemory();
  }
  report(state);
  useVectorKernels(usual);
}

/// Range: transients.
void plainDetectors(benchmark::State& state) {
  const Knobs knobs{static_cast<double>(state.range(0))};
  std::array<PlainDetector, kDetectors> all;
  for (PlainDetector& detector : all) detector.change(settingsOf(knobs), knobs.lookahead);
  const std::vector<double> input = noise(kFrames * kDetectors);
  for (auto _ : state) {
    for (std::size_t i = 0; i < input.size(); ++i) {
      benchmark::DoNotOptimize(all[i / kFrames].next(input[i]));
    }
  }
  report(state);
}

/// Levels of all detectors to decibels. Range: instruction set, or below 0 for the library's.
void decibels(benchmark::State& state) {
  std::vector<double> levels = noise(kFrames * kDetectors);
  for (double& level : levels) level = std::abs(level) + 1e-6;
  std::vector<double> work = levels;
  const auto set = state.range(0);
  for (auto _ : state) {
    work = levels;
    if (set < 0) {
      for (double& x : work) x = 20.0 * std::log10(x);
    } else {
      allVectorKernels()[static_cast<std::size_t>(set)]->toDecibels(work.data(),
                                                                    static_cast<int>(work.size()));
    }
    benchmark::ClobberMemory();
  }
  if (std::abs(work[0] - 20.0 * std::log10(levels[0])) > 1e-9) state.SkipWithError("wrong");
  report(state);
}

/// Range: bands, all in the crossover, and whether the threshold of the first moves all the time.
void engineAlone(benchmark::State& state) {
  compressor engine;
  engine.setSampleRate(kRate);
  BandDynamics dynamics;
  SidechainLinkage linkage;
  linkage.setPosition(true, 50);
  const auto turnAll = [&] {
    for (int band = 0; band < state.range(0); ++band) {
      engine.layout.moveBand(band, kXoverList, 1000.0 * (band + 1));
      engine.setBand(band, {.active = true});
      engine.setSidechainLinkage(band, linkage);
      engine.setDynamics(band, dynamics);
    }
    engine.setSplits({24, 24, 24, 24, 24, 24, 24, 24});
    engine.rebuildKernels();
    engine.makeStagePlan();
    engine.publish();
  };
  turnAll();
  const auto late = static_cast<std::size_t>(engine.getLatency());
  std::vector<double> left(late + 1);
  left[0] = 1.0;
  std::vector<double> right = left;
  std::array<double*, 2> pins = {left.data(), right.data()};
  engine.processBlock(pins.data(), pins.data(), static_cast<int>(left.size()), 2, 0);
  if (std::abs(left[late] - 1.0) > 1e-9) state.SkipWithError("not the sum of its bands");
  dynamics.threshold = -30.0;
  dynamics.ratioAbove = 0.5;
  turnAll();
  const std::vector<double> input = noise(kFrames);
  engine.setGliding(true);
  int block = 0;
  for (auto _ : state) {
    if (state.range(1) != 0) {
      dynamics.threshold = -30.0 + 0.01 * (++block % 1000);
      state.PauseTiming();
      engine.setDynamics(0, dynamics);
      engine.publish();
      state.ResumeTiming();
    }
    std::ranges::copy(input, left.begin());
    std::ranges::copy(input, right.begin());
    engine.processBlock(pins.data(), pins.data(), kFrames, 2, 0);
  }
  report(state);
  state.SetItemsProcessed(state.iterations() * kFrames);
}

void everySet(benchmark::internal::Benchmark* wanted) {
  wanted->ArgNames({"together", "transients", "lookahead", "set", "moving"});
  const auto sets = static_cast<std::int64_t>(allVectorKernels().size());
  for (std::int64_t set = 0; set < sets; ++set) {
    for (const std::int64_t together : {16, 2, 1}) {
      for (const std::int64_t transients : {0, 1}) {
        for (const std::int64_t moving : {0, 1}) {
          wanted->Args({together, transients, 480, set, moving});
        }
      }
    }
  }
  for (const std::int64_t lookahead : {0, 16, 64, 2400}) {
    wanted->Args({16, 0, lookahead, sets - 1, 0});
  }
}

BENCHMARK(detectors)->Apply(everySet);
BENCHMARK(engineAlone)->ArgNames({"bands", "moving"})->ArgsProduct({{1, 8}, {0, 1}});
BENCHMARK(plainDetectors)->ArgName("transients")->Arg(0)->Arg(1);
BENCHMARK(decibels)->ArgName("set")->DenseRange(
    -1, static_cast<std::int64_t>(allVectorKernels().size()) - 1);

}  // namespace
