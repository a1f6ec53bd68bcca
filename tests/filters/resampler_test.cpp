#include "filters/resampler.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "analysis/vector_kernels.h"
#include "tests/support/plain_convolution.h"
#include "tests/support/real_time.h"

namespace {

// Of sums of up to 128 products in another order, of samples up to 1: the magnitudes of a kernel's
// taps add up to 4 at most.
constexpr double kRounding = 1.5e-14;

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

double distance(const Signal& a, const Signal& b) {
  double worst = a.size() == b.size() ? 0.0 : 1e300;
  for (std::size_t i = 0; i < a.size() && i < b.size(); ++i) {
    worst = std::max(worst, std::abs(a[i] - b[i]));
  }
  return worst;
}

/// A number of samples that meets the short blocks, the chunks' ends and the long blocks alike.
int lengthFrom(std::mt19937& random) {
  constexpr std::array<unsigned, 4> kEnds = {3, 40, 300, 1500};
  return static_cast<int>(random() % kEnds[random() % kEnds.size()]);
}

TEST(Resampler, TakesAnyKernelInBothDirectionsAndLeavesTheCellsAsDefined) {
  const VectorKernels& usual = vectorKernels();
  for (const VectorKernels* kernels : allVectorKernels()) {
    SCOPED_TRACE(kernels->name);
    useVectorKernels(*kernels);
    std::mt19937 random(2);
    std::array<double, 256> history{};
    PlainResampler plain;
    for (int call = 0; call < 400; ++call) {
      const Signal kernel = noiseOf(2 * (1 + lengthFrom(random) % 64), static_cast<unsigned>(call));
      const double ratio = random() % 2 == 0 ? 2.0 : 0.5;
      const int n = lengthFrom(random) / 2 * 2;
      const Signal input = noiseOf(n, static_cast<unsigned>(call + 1000));
      Signal out(static_cast<std::size_t>(ratio * n) + 8, 7.0);
      inRealTime([&] {
        Resampler::resample(ratio, input.data(), n, out.data(), kernel.data(),
                            static_cast<int>(kernel.size()), history.data());
      });
      ASSERT_EQ(Signal(out.end() - 8, out.end()), Signal(8, 7.0)) << "beyond the end";
      out.resize(out.size() - 8);
      ASSERT_LT(distance(out, plain.run(ratio, input, kernel)), 3 * kRounding) << call;
      ASSERT_EQ(history, plain.history) << "call " << call << ", " << n << " at " << ratio;
    }
  }
  useVectorKernels(usual);
}

TEST(OversampledGain, IsTheProductAtTwiceTheRateInAnyBlocksAndQuality) {
  const Signal kernels[] = {halfBandKernel(false), halfBandKernel(true)};
  OversampledGain unit;
  PlainResampler signalUp;
  PlainResampler gainUp;
  PlainResampler down;
  std::mt19937 random(4);
  for (std::size_t quality = 0, call = 0; call < 600; ++call) {
    if (call % 100 == 0) {  // reset equals new: silence at a gain of 1
      unit.reset();
      signalUp = down = {};
      gainUp.history.fill(1.0);
    }
    if (random() % 20 == 0) unit.setHighQuality((quality ^= 1U) != 0);
    ASSERT_EQ(unit.latency(), quality == 0 ? 33 : 127);
    const int n = lengthFrom(random);
    Signal signal = noiseOf(n, static_cast<unsigned>(2 * call));
    const Signal gain = noiseOf(n, static_cast<unsigned>(2 * call + 1));
    Signal raised = signalUp.run(2.0, signal, kernels[quality]);
    const Signal raisedGain = gainUp.run(2.0, gain, kernels[quality]);
    for (std::size_t i = 0; i < raised.size(); ++i) raised[i] *= raisedGain[i];
    const Signal expected = down.run(0.5, raised, kernels[quality]);
    Signal scratch[] = {Signal(2 * signal.size() + 1), Signal(2 * signal.size() + 1)};
    processInRealTime(unit, signal.data(), gain.data(), n, scratch[0].data(), scratch[1].data());
    // The window's Bessel function is good to 2e-7.
    ASSERT_LT(distance(signal, expected), 1e-7) << "call " << call << ", " << n;
  }
}

TEST(OversampledGain, ReturnsAnImpulseSymmetricAboutItsLatencyAndDcWithinItsRipple) {
  for (const bool high : {false, true}) {
    OversampledGain unit;
    unit.setHighQuality(high);
    for (const bool impulse : {true, false}) {
      unit.reset();
      Signal signal(600, impulse ? 0.0 : 1.0);
      signal[0] = 1.0;
      Signal scratch[] = {Signal(1200), Signal(1200)};
      processInRealTime(unit, signal.data(), Signal(600, 1.0).data(), 600, scratch[0].data(),
                        scratch[1].data());
      const auto middle = static_cast<std::size_t>(unit.latency());
      EXPECT_NEAR(signal[impulse ? middle : 599], high ? 1.0 : 1.00308, impulse ? 0.05 : 5e-6);
      for (std::size_t n = 1; n <= middle && impulse; ++n) {
        ASSERT_NEAR(signal[middle + n], signal[middle - n], 1e-15) << "symmetric, " << n;
      }
    }
  }
}

}  // namespace
