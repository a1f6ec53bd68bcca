#include "analysis/vector_kernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "analysis/planar_array.h"

namespace {

double sample(int i) { return std::sin(0.37 * i * i + 0.1 * i); }

TEST(VectorKernels, SumOfTapsIsTheSameWhereverAnOutputStands) {
  constexpr int kTaps = 32;
  constexpr double kUntouched = 1e300;
  std::vector<double> signal(200);
  for (int i = 0; i < 200; ++i) signal[static_cast<std::size_t>(i)] = sample(i);
  std::array<double, kTaps> taps{};
  for (int k = 0; k < kTaps; ++k) taps[static_cast<std::size_t>(k)] = sample(1000 + k);
  for (const VectorKernels* kernels : allVectorKernels()) {
    std::vector<double> alone(100);
    for (int i = 0; i < 100; ++i) {
      std::array<double, 8> out{};
      kernels->fir(taps.data(), kTaps, signal.data() + kTaps + i, out.data(), 1);
      double sum = 0;
      for (int k = 0; k < kTaps; ++k) {
        sum += taps[static_cast<std::size_t>(k)] * signal[static_cast<std::size_t>(kTaps + i - k)];
      }
      ASSERT_NEAR(out[0], sum, 1e-14) << kernels->name << ", output " << i;
      alone[static_cast<std::size_t>(i)] = out[0];
    }
    for (int count = 1; count <= 100; ++count) {
      std::vector<double> out(112, kUntouched);
      kernels->fir(taps.data(), kTaps, signal.data() + kTaps, out.data(), count);
      ASSERT_TRUE(std::equal(out.begin(), out.begin() + count, alone.begin()))
          << kernels->name << ", " << count << " outputs";
      ASSERT_EQ(out[static_cast<std::size_t>((count + 7) / 8 * 8)], kUntouched) << count;
    }
  }
}

TEST(VectorKernels, SumOfProductsOfSpectra) {
  constexpr int kPoints = 64;
  const PlanarArrays x(7, kPoints);
  const PlanarArrays h(7, kPoints);
  std::array<ConstPlanarSpan, 7> xs;
  std::array<ConstPlanarSpan, 7> hs;
  for (int j = 0; j < 7; ++j) {
    for (int k = 0; k < kPoints; ++k) {
      x[j].re[k] = sample(100 * j + k);
      x[j].im[k] = sample(100 * j + k + 3000);
      h[j].re[k] = sample(100 * j + k + 6000);
      h[j].im[k] = sample(100 * j + k + 9000);
    }
    xs[static_cast<std::size_t>(j)] = x[j];
    hs[static_cast<std::size_t>(j)] = h[j];
  }
  for (const VectorKernels* kernels : allVectorKernels()) {
    for (const int count : {0, 1, 2, 7}) {
      const PlanarArrays out(1, kPoints);
      kernels->multiplySpectra(xs.data(), hs.data(), count, out[0], kPoints);
      for (int k = 0; k < kPoints; ++k) {
        double re = 0;
        double im = 0;
        for (int j = 0; j < count; ++j) {
          re += x[j].re[k] * h[j].re[k] - x[j].im[k] * h[j].im[k];
          im += x[j].re[k] * h[j].im[k] + x[j].im[k] * h[j].re[k];
        }
        ASSERT_NEAR(out[0].re[k], re, 1e-14) << kernels->name << ", " << count << ", " << k;
        ASSERT_NEAR(out[0].im[k], im, 1e-14) << kernels->name << ", " << count << ", " << k;
      }
    }
  }
}

}  // namespace
