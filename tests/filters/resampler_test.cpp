#include "filters/resampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <numbers>
#include <numeric>
#include <random>
#include <vector>

#include "analysis/vector_kernels.h"
#include "analysis/window_table.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

// Of sums of up to 128 products in another order, of samples up to 1: the magnitudes of a kernel's
// taps add up to 4 at most.
constexpr double kRounding = 4e-15;

Signal halfBandKernel(int taps, double beta) {
  Signal kernel;
  for (int i = 0; i < taps; ++i) {
    const double x = (i - taps / 2.0 + 0.5) * std::numbers::pi;
    const double u = (2.0 * i + 1 - taps) / (taps - 1.0);
    kernel.push_back(std::sin(x) / x * besselI0(beta * std::sqrt(1 - u * u)) / besselI0(beta));
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

double distance(const Signal& a, const Signal& b) {
  double worst = a.size() == b.size() ? 0.0 : 1e300;
  for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
    worst = std::max(worst, std::abs(a[i] - b[i]));
  }
  return worst;
}

unsigned seedFrom(std::mt19937& random) { return static_cast<unsigned>(random()); }

/// A number of samples that meets the short blocks, the chunks' ends and the long blocks alike.
int lengthFrom(std::mt19937& random) {
  constexpr std::array<unsigned, 4> kEnds = {3, 40, 300, 1500};
  return static_cast<int>(random() % kEnds[random() % kEnds.size()]);
}

/// Signal times gain through an `OversampledGain`, in blocks of `block`.
Signal product(OversampledGain& unit, Signal signal, const Signal& gain, std::size_t block) {
  std::vector<double> upSignal(2 * block);
  std::vector<double> upGain(2 * block);
  for (std::size_t at = 0; at < signal.size(); at += block) {
    const auto frames = static_cast<int>(std::min(block, signal.size() - at));
    processInRealTime(unit, &signal[at], &gain[at], frames, upSignal.data(), upGain.data());
  }
  return signal;
}

/// 400 calls of random lengths, kernels and, where `only` is 0, ratios on one history.
void compareWithDefinition(double only) {
  const Signal standard = halfBandKernel(34, 3.5);
  const Signal high = halfBandKernel(128, 15.0);
  std::mt19937 random(1);
  ResamplerHQ fast;
  PlainResampler plain;
  for (int call = 0; call < 400; ++call) {
    if (random() % 8 == 0) fast.highQuality = !fast.highQuality;
    if (random() % 50 == 0) {
      fast.fillHistory(0.01 * call);
      plain.history.fill(0.01 * call);
    }
    const double ratio = only > 0 ? only : std::array{0.5, 2.0}[random() % 2];
    const int n = ratio > 1 ? lengthFrom(random) : lengthFrom(random) / 2 * 2;
    const Signal input = noiseOf(n, seedFrom(random));
    Signal out(static_cast<std::size_t>(ratio * n) + 8, 7.0);
    processInRealTime(fast, ratio, input.data(), n, out.data());
    ASSERT_EQ(Signal(out.end() - 8, out.end()), Signal(8, 7.0)) << "beyond the end";
    out.resize(out.size() - 8);
    const Signal wanted = plain.run(ratio, input, fast.highQuality ? high : standard);
    ASSERT_LT(distance(out, wanted), 4 * kRounding) << "call " << call << ", " << n;
  }
}

TEST(Resampler, IsItsDefinitionWhileBlocksKernelsAndDirectionsChange) {
  const VectorKernels& usual = vectorKernels();
  for (const VectorKernels* kernels : allVectorKernels()) {
    useVectorKernels(*kernels);
    for (const double only : {2.0, 0.5, 0.0}) {
      SCOPED_TRACE(testing::Message() << kernels->name << ", ratio " << only);
      compareWithDefinition(only);
    }
  }
  useVectorKernels(usual);
}

TEST(Resampler, TakesAnyKernelOfAnEvenNumberOfTapsAndLeavesTheCellsAsDefined) {
  std::mt19937 random(2);
  std::array<double, 256> history{};
  PlainResampler plain;
  for (int call = 0; call < 500; ++call) {
    const Signal kernel = noiseOf(2 + 2 * static_cast<int>(random() % 64), seedFrom(random));
    const double ratio = random() % 2 == 0 ? 2.0 : 0.5;
    const int n = lengthFrom(random) / 2 * 2;
    const Signal input = noiseOf(n, seedFrom(random));
    Signal out(static_cast<std::size_t>(ratio * n));
    inRealTime([&] {
      Resampler::resample(ratio, input.data(), n, out.data(), kernel.data(),
                          static_cast<int>(kernel.size()), history.data());
    });
    ASSERT_LT(distance(out, plain.run(ratio, input, kernel)), 10 * kRounding) << call;
    ASSERT_EQ(history, plain.history) << "call " << call << ", " << n << " at " << ratio;
  }
}

TEST(OversampledGain, ReturnsDcAndAnImpulseAsLateAsItSays) {
  const struct {
    bool high;
    int latency;
    double dc;  // at a gain of 1, which passes through the kernel as well
  } cases[] = {{false, 33, 1.00308}, {true, 127, 1.0}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.latency);
    // One resampler up and one down.
    ResamplerHQ up;
    ResamplerHQ down;
    up.highQuality = down.highQuality = c.high;
    EXPECT_EQ(up.latency(), c.latency);
    const auto through = [&](const Signal& input) {
      up.fillHistory(0.0);
      down.fillHistory(0.0);
      Signal raised(2 * input.size());
      Signal out(input.size());
      processInRealTime(up, 2.0, input.data(), static_cast<int>(input.size()), raised.data());
      processInRealTime(down, 0.5, raised.data(), static_cast<int>(raised.size()), out.data());
      return out;
    };
    OversampledGain unit;
    unit.setHighQuality(c.high);
    EXPECT_EQ(unit.latency(), c.latency);
    const Signal ones(600, 1.0);
    EXPECT_NEAR(product(unit, ones, ones, 64).back(), c.dc, 5e-6);
    Signal impulse(600);
    impulse[0] = 1.0;
    const Signal response = through(impulse);
    const auto middle = static_cast<std::size_t>(c.latency);
    for (std::size_t n = 0; n < 600; ++n) {
      const double mirrored = n <= 2 * middle ? response[2 * middle - n] : 0.0;
      ASSERT_NEAR(response[n], mirrored, 1e-16) << "symmetric about its latency";
    }
    EXPECT_NEAR(response[middle], 1.0, 0.05);
  }
}

TEST(OversampledGain, KeepsTheProductsSidebandsFromFoldingBack) {
  constexpr int kFrames = 8192;
  constexpr int kBlock = 100;
  // A tone and a gain that moves by a tone, as shares of the sample rate: the sum of both lies
  // above half the rate and would come back as `folded`; the difference is to pass.
  constexpr double kTone = 0.40;
  constexpr double kGain = 0.30;
  const struct {
    bool on, high;
    double folded, passed;  // dB: the most that comes back; by how much the wanted may differ
  } cases[] = {{true, false, -42.0, 0.1}, {true, true, -100.0, 0.01}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.high ? "high" : "standard");
    Signal tone(kFrames);
    Signal gain(kFrames);
    for (int n = 0; n < kFrames; ++n) {
      tone[static_cast<std::size_t>(n)] = std::cos(2 * std::numbers::pi * kTone * n);
      gain[static_cast<std::size_t>(n)] = std::cos(2 * std::numbers::pi * kGain * n);
    }
    OversampledGain unit;
    unit.setHighQuality(c.high);
    const Signal out = product(unit, tone, gain, kBlock);
    const auto levelAt = [&out](double share) {
      std::complex<double> sum = 0.0;
      for (std::size_t n = 1000; n < 8000; ++n) {  // whole periods of all that is looked at
        sum += out[n] * std::polar(1.0, -2 * std::numbers::pi * share * static_cast<double>(n));
      }
      return 20 * std::log10(std::abs(sum) / 7000 * 4);  // of the half that each sideband has
    };
    EXPECT_NEAR(levelAt(kTone - kGain), 0.0, c.passed);
    EXPECT_LT(levelAt(1.0 - kTone - kGain), c.folded);
  }
}

TEST(OversampledGain, BeginsAtAGainOfOneAndForgetsWhatItHeldBeforeAChange) {
  OversampledGain unit;
  const Signal input = noiseOf(3000, 3);
  const Signal ones(3000, 1.0);
  const Signal first = product(unit, input, ones, 64);
  // The gain is in full force from the first sample on, raised to its kernel's own ripple.
  const Signal kernel = halfBandKernel(34, 3.5);
  PlainResampler up;
  PlainResampler down;
  const double raisedOne = std::accumulate(kernel.begin(), kernel.end(), 0.0);
  Signal raised = up.run(2.0, input, kernel);
  for (std::size_t i = 0; i < raised.size(); i += 2) raised[i] *= raisedOne;
  EXPECT_LT(distance(first, down.run(0.5, raised, kernel)), 3 * kRounding);
  unit.reset();
  EXPECT_EQ(product(unit, input, ones, 1000), first) << "reset equals new, blocks change nothing";
  unit.setHighQuality(true);
  EXPECT_EQ(unit.latency(), 127);
  const Signal silence(700);
  product(unit, silence, Signal(700, 0.5), 33);
  EXPECT_EQ(product(unit, silence, Signal(700, 0.5), 1), silence);
}

}  // namespace
