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
    ASSERT_EQ(unit.latency(), quality == 0 ? 33 : 127);
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
