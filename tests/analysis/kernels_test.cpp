#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <vector>

#include "analysis/planar_array.h"
#include "analysis/vector_kernels.h"
#include "analysis/window_table.h"

namespace {

constexpr double kUntouched = 1e300;

double sample(std::size_t number) {
  const auto i = static_cast<double>(number);
  return std::sin(0.37 * i * i + 0.1 * i);
}

/// A filter's outputs by its definition, and how a kernel makes `count` of them: the same wherever
/// they stand, and nothing behind them.
template <typename Run>
void expectOutputs(const std::vector<double>& expected, std::size_t perCount, std::size_t slack,
                   const Run& run) {
  for (std::size_t written = 0; written <= expected.size(); written += perCount) {
    std::vector<double> out(expected.size() + 16, kUntouched);
    run(out.data(), static_cast<int>(written / perCount));
    for (std::size_t i = 0; i < written; ++i) {
      ASSERT_NEAR(out[i], expected[i], 1e-14) << written << ", " << i;
    }
    ASSERT_EQ(out[(written + slack - 1) / slack * slack], kUntouched) << written;
  }
}

TEST(VectorKernels, FiltersAreTheirSumsHoweverManyOutputs) {
  constexpr std::size_t kTaps = 32;
  constexpr std::size_t kMost = 150;
  std::vector<double> signal(kTaps + kMost + 16);
  for (std::size_t i = 0; i < signal.size(); ++i) signal[i] = sample(i);
  std::array<double, kTaps> taps{};
  for (std::size_t k = 0; k < kTaps; ++k) taps[k] = sample(1000 + k);
  const double* const newest = signal.data() + kTaps;
  const double* const odd = signal.data() + 5;
  std::vector<double> fir(kMost), raised(2 * kMost), lowered(kMost);
  for (std::size_t i = 0; i < kMost; ++i) {
    for (std::size_t k = 0; k < kTaps; ++k) {
      fir[i] += taps[k] * signal[kTaps + i - k];
      raised[2 * i] += taps[k] * signal[i + k];
      lowered[i] += taps[k] * signal[i + k];
    }
    raised[2 * i + 1] = signal[i + kTaps / 2];
    lowered[i] = (lowered[i] + odd[i + kTaps / 2 - 1]) / 2;
  }
  for (const VectorKernels* kernels : allVectorKernels()) {
    SCOPED_TRACE(kernels->name);
    expectOutputs(fir, 1, 8, [&](double* out, int count) {
      kernels->fir(taps.data(), kTaps, newest, out, count);
    });
    expectOutputs(raised, 2, 1, [&](double* out, int count) {
      kernels->raise(taps.data(), kTaps, signal.data(), out, count);
    });
    expectOutputs(lowered, 1, 1, [&](double* out, int count) {
      kernels->lower(taps.data(), kTaps, signal.data(), odd, out, count);
    });
    // One output alone is bit by bit what it is among others.
    std::array<double, 8> alone{};
    std::vector<double> all(kMost + 8);
    kernels->fir(taps.data(), kTaps, newest, all.data(), kMost);
    for (std::size_t i = 0; i < kMost; ++i) {
      kernels->fir(taps.data(), kTaps, newest + i, alone.data(), 1);
      ASSERT_EQ(alone[0], all[i]) << i;
    }
  }
}

TEST(VectorKernels, SpectraAreMultipliedAndPairsTakenApart) {
  constexpr std::size_t kPoints = 64;
  const PlanarArrays x(7, static_cast<int>(kPoints));
  const PlanarArrays h(7, static_cast<int>(kPoints));
  std::array<ConstPlanarSpan, 7> xs;
  std::array<ConstPlanarSpan, 7> hs;
  for (std::size_t j = 0; j < 7; ++j) {
    const auto [xRe, xIm] = x[static_cast<int>(j)];
    const auto [hRe, hIm] = h[static_cast<int>(j)];
    for (std::size_t k = 0; k < kPoints; ++k) {
      xRe[k] = sample(100 * j + k);
      xIm[k] = sample(100 * j + k + 3000);
      hRe[k] = sample(100 * j + k + 6000);
      hIm[k] = sample(100 * j + k + 9000);
    }
    xs[j] = {xRe, xIm};
    hs[j] = {hRe, hIm};
  }
  for (const VectorKernels* kernels : allVectorKernels()) {
    for (const int count : {0, 1, 2, 7}) {
      const PlanarArrays out(1, static_cast<int>(kPoints));
      kernels->multiplySpectra(xs.data(), hs.data(), count, out[0], static_cast<int>(kPoints));
      for (std::size_t k = 0; k < kPoints; ++k) {
        std::complex<double> sum;
        for (int j = 0; j < count; ++j) {
          sum += std::complex(x[j].re[k], x[j].im[k]) * std::complex(h[j].re[k], h[j].im[k]);
        }
        ASSERT_NEAR(out[0].re[k], sum.real(), 1e-14) << kernels->name << ", " << count << ", " << k;
        ASSERT_NEAR(out[0].im[k], sum.imag(), 1e-14) << kernels->name << ", " << count << ", " << k;
      }
    }
    for (std::size_t points = 0; points <= 20; ++points) {
      std::vector<double> pairs(41, kUntouched);
      kernels->interleave(x[0], pairs.data(), static_cast<int>(points));
      for (std::size_t k = 0; k < points; ++k) {
        ASSERT_EQ(pairs[2 * k], x[0].re[k]) << kernels->name;
        ASSERT_EQ(pairs[2 * k + 1], x[0].im[k]) << kernels->name;
      }
      ASSERT_EQ(pairs[2 * points], kUntouched) << kernels->name;
      const PlanarArrays back(1, static_cast<int>(kPoints));
      kernels->deinterleave(pairs.data(), back[0], static_cast<int>(points));
      ASSERT_TRUE(std::equal(x[0].re, x[0].re + points, back[0].re)) << kernels->name;
      ASSERT_TRUE(std::equal(x[0].im, x[0].im + points, back[0].im)) << kernels->name;
      ASSERT_EQ(back[0].re[points], 0.0) << kernels->name;
    }
  }
  // Of all arrays, the imaginary parts alone.
  PlanarArrays cleared(3, 20);
  for (int j = 0; j < 3; ++j) cleared[j].re[19] = cleared[j].im[19] = 1.0;
  cleared.clearImaginary();
  for (int j = 0; j < 3; ++j) EXPECT_EQ(cleared[j].re[19] - cleared[j].im[19], 1.0) << j;
  cleared.clear();
  for (int j = 0; j < 3; ++j) EXPECT_EQ(cleared[j].re[19], 0.0) << j;
}

TEST(VectorKernels, Decibels) {
  for (const VectorKernels* kernels : allVectorKernels()) {
    std::vector<double> values;
    for (double x = 1e-300; x < 1e300; x *= 1.37) values.push_back(x);
    values.push_back(1.0);
    const std::vector<double> plain = values;
    values.resize(values.size() + 8, 1.0);
    kernels->toDecibels(values.data(), static_cast<int>(plain.size()));
    for (std::size_t i = 0; i < plain.size(); ++i) {
      ASSERT_NEAR(values[i], 20 * std::log10(plain[i]), 1e-11) << kernels->name << ", " << plain[i];
    }
  }
}

TEST(WindowTable, IsAPeriodicKaiserWindowOfTheAskedLength) {
  for (const float beta : {0.0F, 3.0F, 12.0F}) {
    WindowTable window(beta);
    for (const int n : {1024, 2048, 1024, 8192}) {
      std::vector<double> data(static_cast<std::size_t>(n), 2.0);
      window.applyWindow(data.data(), n);
      EXPECT_EQ(data[static_cast<std::size_t>(n / 2)], 2.0) << n;
      for (std::size_t i = 0; i < data.size(); ++i) {
        const double u = 2.0 * static_cast<double>(i) / n - 1.0;
        // The polynomials are good to 2e-7 of the function.
        const auto b = static_cast<double>(beta);
        const double exact =
            std::cyl_bessel_i(0.0, b * std::sqrt(1.0 - u * u)) / std::cyl_bessel_i(0.0, b);
        ASSERT_NEAR(data[i] / 2.0, exact, 4e-7) << beta << ", " << n << ", " << i;
      }
    }
    window.applyWindow(nullptr, 16);
  }
  for (const double x : {0.0, 0.5, 1.0, 3.0, 3.74999, 3.75, 3.76, 8.0, 12.0, 15.0}) {
    EXPECT_NEAR(besselI0(x) / std::cyl_bessel_i(0.0, x), 1.0, 3e-7) << x;
    EXPECT_EQ(besselI0(-x), besselI0(x));
  }
}

}  // namespace
