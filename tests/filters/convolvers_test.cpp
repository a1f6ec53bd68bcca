#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "analysis/vector_kernels.h"
#include "filters/crossover.h"
#include "filters/partitioned_convolver.h"
#include "filters/resampler.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

using Kernels = std::vector<Signal>;

constexpr std::size_t kFrames = 5000;
constexpr std::size_t kOutputs = CrossoverEngine::kBands;
constexpr double kRounding = 1e-13;  // of sums of 2048 products of some 1 / 45, for eight bands
constexpr double kUntouched = 7.0;

/// A convolver: by what it delays, and from which input sample on kernels count that are set in
/// front of sample `at`.
struct Kind {
  std::size_t taps, kernels;
  bool blocked;
  bool phased = false;  // takes a phase at its reset

  [[nodiscard]] std::size_t inForce(std::size_t at, std::size_t phase) const {
    if (!blocked) return at == 0 ? 0 : at + 256 - (at + phase) % 256;
    // Each block of 512 is taken in, behind its last sample, by the end of the span of 64 that the
    // sample began.
    const std::size_t block = at < 64 ? 0 : (at + 448) / 512;
    return block == 0 ? 0 : (block - 1) * 512 + 1;
  }
};

/// Kernels that add up to an impulse at the middle tap.
Kernels randomKernels(const Kind& kind, std::mt19937& random) {
  Kernels kernels(1 + random() % kind.kernels, Signal(kind.taps));
  kernels.back()[kind.taps / 2] = 1.0;
  for (std::size_t k = 0; k + 1 < kernels.size(); ++k) {
    kernels[k] = noiseOf(static_cast<int>(kind.taps), static_cast<unsigned>(random()));
    for (std::size_t i = 0; i < kind.taps; ++i) {
      kernels[k][i] /= std::sqrt(static_cast<double>(kind.taps));
      kernels.back()[i] -= kernels[k][i];
    }
  }
  return kernels;
}

/// What is defined: each sample of the input goes through the kernels in force when it comes in.
struct Walk {
  explicit Walk(const Kind& itsKind) : kind(itsKind) {}

  struct Sample {
    std::size_t heardFrom, outputs;  // of the second channel; asked for
    bool mono;
  };
  Kind kind;
  std::vector<Kernels> sets;
  std::vector<std::size_t> met = std::vector<std::size_t>(kFrames);  // of `sets`, per sample
  std::vector<Sample> samples;
  std::array<Signal, 2> input = {noiseOf(kFrames, 1), noiseOf(kFrames, 2)};
  std::vector<Signal> out = std::vector<Signal>(2 * kOutputs, Signal(kFrames, kUntouched));

  [[nodiscard]] double line(std::size_t k, std::size_t channel, std::size_t n,
                            std::size_t first) const {
    double sum = 0.0;
    std::size_t top = kOutputs;
    for (std::size_t t = 0; t < kind.taps && t + first <= n; ++t) {
      const Kernels& kernels = sets[met[n - t]];
      // What was above the topmost band of fewer bands has stayed in that one ever since.
      if (kind.blocked) top = std::min(top, kernels.size() - 1);
      const std::size_t last = k < top ? k + 1 : kernels.size();
      for (std::size_t j = k; j < last && k <= top && j < kernels.size(); ++j) {
        sum += kernels[j][t] * input[channel][n - t];
      }
    }
    return sum;
  }
  [[nodiscard]] double outputAt(std::size_t k, std::size_t channel, std::size_t n) const {
    const auto& [heardFrom, outputs, mono] = samples[n];
    if (k >= outputs || (channel == 1 && mono)) return kUntouched;
    const std::size_t first = channel == 1 ? heardFrom : 0;
    if (!kind.blocked) return line(k, channel, n, first);
    if (n < 1023) return 0.0;
    // The topmost band that both sides know holds all that is above it.
    const std::size_t top = std::min(outputs, sets[met[n - 1023]].size()) - 1;
    if (k > top) return 0.0;
    if (k < top) return line(k, channel, n - 1023, first);
    double rest = n < first + 1535 ? 0.0 : input[channel][n - 1535];
    for (std::size_t below = 0; below < top; ++below) rest -= line(below, channel, n - 1023, first);
    return rest;
  }
};

/// Blocks of random lengths, often after a change of the kernels, of the outputs asked for, of mono
/// and stereo, or a reset of the second channel. A plain convolver may work in place.
template <typename Convolver>
void play(Convolver& convolver, Walk& walk, std::size_t phase, std::mt19937& random) {
  std::size_t heard = 0;
  for (std::size_t at = 0; at < kFrames;) {
    // Often several times in a row in one cycle; and the last fifth rings out undisturbed.
    if (at == 0 || (at < 4000 && random() % 4 == 0)) {
      const Kernels& kernels = walk.sets.emplace_back(randomKernels(walk.kind, random));
      std::array<const double*, kOutputs> pointers{};
      for (std::size_t k = 0; k < kernels.size(); ++k) pointers[k] = kernels[k].data();
      convolver.setKernels(pointers.data(), static_cast<int>(kernels.size()));
      const std::size_t from = std::min(walk.kind.inForce(at, phase), kFrames);
      std::fill(walk.met.begin() + static_cast<long>(from), walk.met.end(), walk.sets.size() - 1);
    }
    if (random() % 20 == 0) {
      inRealTime([&] { convolver.resetRight(); });
      heard = at;
    }
    const std::size_t frames = std::min(random() % (random() % 4 == 0 ? 700 : 70), kFrames - at);
    const std::size_t outputs = 1 + random() % kOutputs;
    const bool mono = random() % 5 == 0;
    std::array<double*, kOutputs> left{}, right{};
    for (std::size_t k = 0; k < kOutputs; ++k) {
      left[k] = &walk.out[2 * k][at];
      right[k] = &walk.out[2 * k + 1][at];
    }
    std::array<const double*, 2> in = {&walk.input[0][at], &walk.input[1][at]};
    if (!walk.kind.blocked && random() % 2 == 0) {
      std::copy_n(in[0], frames, left[0]);
      if (!mono) std::copy_n(in[1], frames, right[0]);
      in = {left[0], right[0]};
    }
    processInRealTime(convolver, in[0], mono ? nullptr : in[1], left.data(), right.data(),
                      static_cast<int>(outputs), static_cast<int>(frames));
    if (mono) std::fill_n(&walk.input[1][at], frames, 0.0);
    walk.samples.insert(walk.samples.end(), frames, {heard, outputs, mono});
    at += frames;
  }
}

/// One walk per set of vector kernels, each after a reset in the middle of the one before.
template <typename Convolver, typename Reset>
void compareWithDefinition(Convolver& convolver, const Kind& kind, Reset reset) {
  const VectorKernels& usual = vectorKernels();
  std::mt19937 random(3);
  for (const std::size_t phase : {0U, 100U, 255U}) {
    const auto all = allVectorKernels();
    useVectorKernels(*all[phase % all.size()]);
    SCOPED_TRACE(testing::Message()
                 << kind.taps << " taps, phase " << phase << ", " << vectorKernels().name);
    inRealTime([&] { reset(static_cast<int>(phase)); });
    Walk walk(kind);
    play(convolver, walk, kind.phased ? phase / 32 * 32 : 0, random);
    for (std::size_t n = 0; n < kFrames && !testing::Test::HasFailure(); n += n < 100 ? 1 : 17) {
      for (std::size_t k = 0; k < 2 * kOutputs; ++k) {
        ASSERT_NEAR(walk.out[k][n], walk.outputAt(k / 2, k % 2, n), kRounding)
            << "output " << k / 2 << ", channel " << k % 2 << ", sample " << n;
      }
    }
  }
  useVectorKernels(usual);
}

TEST(PartitionedConvolver, TakesEachSampleThroughTheKernelsItMetWithNoDelay) {
  for (const std::size_t taps : {512U, 1024U, 2048U}) {
    PartitionedConvolver convolver(static_cast<int>(taps), 3);
    compareWithDefinition(convolver, {taps, 3, false, true},
                          [&](int phase) { convolver.reset(phase); });
  }
}

TEST(CrossoverEngines, TakeEachSampleThroughTheKernelsItMetAtOnceOrABlockLater) {
  Crossover direct;
  EXPECT_EQ(direct.blockDelay(), 0);
  compareWithDefinition(direct, {1024, 8, false}, [&](int) { direct.reset(); });
  Crossover_WithLatency blocked;
  EXPECT_EQ(blocked.blockDelay(), 1023);
  compareWithDefinition(blocked, {1024, 8, true}, [&](int) { blocked.reset(); });
}

Signal halfBandKernel(bool high) {
  const int taps = high ? 128 : 34;
  const double beta = high ? 15.0 : 3.5;
  Signal kernel;
  for (int i = 0; i < taps; ++i) {
    const double x = (i - taps / 2.0 + 0.5) * std::numbers::pi;
    const double u = (2.0 * i + 1 - taps) / (taps - 1.0);
    kernel.push_back(std::sin(x) / x * std::cyl_bessel_i(0.0, beta * std::sqrt(1 - u * u)) /
                     std::cyl_bessel_i(0.0, beta));
  }
  return kernel;
}

/// The definition: chunks through 256 cells, whatever the cells held before.
struct PlainResampler {
  std::array<double, 256> history{};

  Signal run(double ratio, const Signal& input, const Signal& kernel) {
    Signal out;
    const std::size_t taps = kernel.size();
    const std::size_t past = ratio > 1 ? taps - 1 : 2 * (taps - 1);
    const std::size_t step = ratio > 1 ? 1 : 2;
    for (std::size_t done = 0; done < input.size();) {
      const std::size_t m = std::min(input.size() - done, history.size() - past);
      for (std::size_t i = 0; i < m; ++i) history[past + i] = input[done + i];
      for (std::size_t i = 0; i < m; i += step) {
        double sum = 0.0;
        for (std::size_t j = 0; j < taps; ++j) sum += history[i + step * j] * kernel[j];
        if (ratio > 1) {
          out.push_back(sum);
          out.push_back(history[i + taps / 2]);
        } else {
          out.push_back(0.5 * (history[i + taps - 1] + sum));
        }
      }
      for (std::size_t i = 0; i < past; ++i) history[i] = history[i + m];
      done += m;
    }
    return out;
  }
};

TEST(OversampledGain, IsTheProductAtTwiceTheRateInAnyBlocksAndQuality) {
  const Signal kernels[] = {halfBandKernel(false), halfBandKernel(true)};
  const VectorKernels& usual = vectorKernels();
  OversampledGain unit;
  PlainResampler signalUp, gainUp, down;
  std::mt19937 random(4);
  for (std::size_t quality = 0, call = 0; call < 900; ++call) {
    if (call % 100 == 0) {  // reset equals new: silence at a gain of 1
      useVectorKernels(*allVectorKernels()[call / 100 % allVectorKernels().size()]);
      unit.reset();
      signalUp = down = {};
      gainUp.history.fill(1.0);
    }
    if (random() % 20 == 0) unit.setHighQuality((quality ^= 1U) != 0);
    ASSERT_EQ(OversampledGain::latency(quality != 0), quality == 0 ? 33 : 127);
    // Lengths that meet the short blocks, the chunks' ends and the long blocks alike.
    const auto n = static_cast<int>(random() % std::array{3U, 40U, 300U, 1500U}[random() % 4]);
    Signal signal = noiseOf(n, static_cast<unsigned>(2 * call));
    const Signal gain = noiseOf(n, static_cast<unsigned>(2 * call + 1));
    Signal raised = signalUp.run(2.0, signal, kernels[quality]);
    const Signal raisedGain = gainUp.run(2.0, gain, kernels[quality]);
    for (std::size_t i = 0; i < raised.size(); ++i) raised[i] *= raisedGain[i];
    const Signal expected = down.run(0.5, raised, kernels[quality]);
    Signal scratch[] = {Signal(2 * signal.size() + 1, 7.0), Signal(2 * signal.size() + 1, 7.0)};
    processInRealTime(unit, signal.data(), gain.data(), n, scratch[0].data(), scratch[1].data());
    EXPECT_EQ(scratch[0].back() + scratch[1].back(), 14.0) << "beyond the end";
    for (std::size_t i = 0; i < signal.size(); ++i) {
      // The window's Bessel function is good to 2e-7.
      ASSERT_NEAR(signal[i], expected[i], 1e-7) << "call " << call << ", " << i << " of " << n;
    }
  }
  useVectorKernels(usual);
}

}  // namespace
