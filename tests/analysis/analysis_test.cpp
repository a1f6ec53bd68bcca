#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <random>
#include <utility>
#include <vector>

#include "analysis/fft.h"
#include "analysis/planar_array.h"
#include "analysis/vector_kernels.h"
#include "analysis/window_table.h"
#include "tests/support/all_kernels.h"
#include "tests/support/real_time.h"

namespace {

using Complex = std::complex<double>;
using Complexes = std::vector<Complex>;

constexpr double kUntouched = 1e300;

Complexes noise(int points, int seed = 0) {
  std::mt19937 random(static_cast<unsigned>(points + seed));
  std::uniform_real_distribution<double> level(-1.0, 1.0);
  Complexes signal(static_cast<std::size_t>(points));
  for (Complex& x : signal) x = {level(random), level(random)};
  return signal;
}

void put(const Complexes& pairs, PlanarSpan span) {
  for (std::size_t k = 0; k < pairs.size(); ++k) {
    span.re[k] = pairs[k].real();
    span.im[k] = pairs[k].imag();
  }
}

Complexes pairsOf(PlanarSpan span, std::size_t points) {
  Complexes pairs(points);
  for (std::size_t k = 0; k < points; ++k) pairs[k] = {span.re[k], span.im[k]};
  return pairs;
}

TEST(VectorKernels, FirIsItsSumBitByBitHoweverManyOutputs) {
  constexpr std::size_t kTaps = 32;
  constexpr std::size_t kMost = 150;
  const Complexes random = noise(kTaps + kMost);
  std::vector<double> signal(kTaps + kMost + 16);
  std::array<double, kTaps> taps{};
  for (std::size_t i = 0; i < random.size(); ++i) signal[i] = random[i].real();
  for (std::size_t k = 0; k < kTaps; ++k) taps[k] = random[k].imag();
  withAllKernels([&] {
    std::vector<double> all(kMost + 16, kUntouched);
    vectorKernels().fir(taps.data(), kTaps, &signal[kTaps], all.data(), kMost);
    for (std::size_t i = 0; i < kMost; ++i) {
      double sum = 0.0;
      for (std::size_t k = 0; k < kTaps; ++k) sum += taps[k] * signal[kTaps + i - k];
      ASSERT_NEAR(all[i], sum, 1e-13) << i;
      std::vector<double> some(kMost + 16, kUntouched);
      vectorKernels().fir(taps.data(), kTaps, &signal[kTaps], some.data(), static_cast<int>(i));
      ASSERT_TRUE(std::equal(all.begin(), all.begin() + static_cast<int>(i), some.begin())) << i;
      ASSERT_EQ(some[(i + 7) / 8 * 8], kUntouched) << i;
      vectorKernels().fir(taps.data(), kTaps, &signal[kTaps + i], some.data(), 1);
      ASSERT_EQ(some[0], all[i]) << "alone, " << i;
    }
  });
}

TEST(VectorKernels, SpectraAreMultipliedAndPairsTakenApart) {
  constexpr int kPoints = 64;
  constexpr int kMost = 7;
  const PlanarArrays x(kMost, kPoints);
  const PlanarArrays h(kMost, kPoints);
  std::array<ConstPlanarSpan, kMost> xs;
  std::array<ConstPlanarSpan, kMost> hs;
  for (int j = 0; j < kMost; ++j) {
    put(noise(kPoints, j), x[j]);
    put(noise(kPoints, 10 + j), h[j]);
    xs[static_cast<std::size_t>(j)] = {x[j].re, x[j].im};
    hs[static_cast<std::size_t>(j)] = {h[j].re, h[j].im};
  }
  const Complexes first = pairsOf(x[0], kPoints);
  withAllKernels([&] {
    Complexes sums(kPoints);
    for (int count = 0; count <= kMost; ++count) {
      const PlanarArrays out(1, kPoints);
      vectorKernels().multiplySpectra(xs.data(), hs.data(), count, out[0], kPoints);
      const Complexes found = pairsOf(out[0], kPoints);
      for (std::size_t k = 0; k < kPoints; ++k) {
        ASSERT_LT(std::abs(found[k] - sums[k]), 1e-14) << count << ", " << k;
        if (count == kMost) continue;
        sums[k] +=
            Complex(x[count].re[k], x[count].im[k]) * Complex(h[count].re[k], h[count].im[k]);
      }
    }
    for (std::size_t points = 0; points <= 20; ++points) {
      Complexes pairs(21, kUntouched);
      auto* const data = reinterpret_cast<double*>(pairs.data());
      vectorKernels().interleave(x[0], data, static_cast<int>(points));
      ASSERT_TRUE(
          std::equal(pairs.begin(), pairs.begin() + static_cast<int>(points), first.begin()));
      ASSERT_EQ(pairs[points], kUntouched);
      const PlanarArrays back(1, kPoints);
      vectorKernels().deinterleave(data, back[0], static_cast<int>(points));
      pairs[points] = 0.0;
      pairs.resize(points + 1);
      ASSERT_EQ(pairsOf(back[0], points + 1), pairs);
    }
  });
  // Of all arrays, the imaginary parts alone.
  PlanarArrays cleared(3, 20);
  for (int j = 0; j < 3; ++j) put(Complexes(20, {1.0, 1.0}), cleared[j]);
  cleared.clearImaginary();
  for (int j = 0; j < 3; ++j) EXPECT_EQ(pairsOf(cleared[j], 20), Complexes(20, 1.0)) << j;
  cleared.clear();
  for (int j = 0; j < 3; ++j) EXPECT_EQ(pairsOf(cleared[j], 20), Complexes(20)) << j;
}

TEST(VectorKernels, Decibels) {
  std::vector<double> plain = {1.0};
  for (double x = 1e-300; x < 1e300; x *= 1.37) plain.push_back(x);
  withAllKernels([&] {
    std::vector<double> values = plain;
    values.resize(plain.size() + 8, 1.0);
    vectorKernels().toDecibels(values.data(), static_cast<int>(plain.size()));
    for (std::size_t i = 0; i < plain.size(); ++i) {
      ASSERT_NEAR(values[i], 20 * std::log10(plain[i]), 1e-11) << plain[i];
    }
  });
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

/// By the definition: all elements of a short transform, some of a long one. Rounding grows slower
/// than the limit; the elements are of size sqrt(points).
void expectTransform(const Complexes& found, const Complexes& signal, int sign) {
  const auto points = static_cast<long double>(signal.size());
  const auto limit = 2e-15L * std::sqrt(points) * (1.0L + std::log2(points));
  std::vector<std::complex<long double>> turns(signal.size());
  for (std::size_t j = 0; j < signal.size(); ++j) {
    const long double turn = 2.0L * std::numbers::pi_v<long double> * static_cast<long double>(j);
    turns[j] = std::polar(1.0L, sign * turn / points);
  }
  const std::size_t step = found.size() > 256 ? found.size() / 32 - 1 : 1;
  for (std::size_t k = 0; k < found.size(); k += step) {
    std::complex<long double> sum = found[k];
    for (std::size_t j = 0; j < signal.size(); ++j) {
      sum -= std::complex<long double>(signal[j]) * turns[j * k % turns.size()];
    }
    ASSERT_LT(std::abs(sum), limit) << k;
  }
}

TEST(Transforms, OfPlanarArraysKeepTheirInput) {
  withAllKernels([] {
    for (int points = 1; points <= 4096; points *= 2) {
      SCOPED_TRACE(points);
      const Complexes signal = noise(points);
      const PlanarArrays arrays(4, points);
      put(signal, arrays[0]);
      const PlanarFft& fft = PlanarFft::shared(points);
      fft.forward(arrays[0], arrays[1], arrays[2]);
      expectTransform(pairsOf(arrays[1], signal.size()), signal, 1);
      fft.backward(arrays[0], arrays[3], arrays[2]);
      expectTransform(pairsOf(arrays[3], signal.size()), signal, -1);
      ASSERT_EQ(pairsOf(arrays[0], signal.size()), signal);

      Complexes real = signal;
      for (Complex& x : real) x.imag(0.0);
      fft.keepRealSignal(arrays[1]);
      expectTransform(pairsOf(arrays[1], signal.size()), real, 1);
    }
  });
}

TEST(Transforms, OfPairsAndRealSignalsInPlaceTakeNoMemoryOncePrepared) {
  withAllKernels([] {
    FftTables tables;
    for (const int points : {64, 2048, 4096}) tables.prepare(points);
    for (const int points : {1, 2, 4, 8, 64, 2048, 1024, 4096, 32, 8192}) {
      const Complexes signal = noise(points);
      for (const auto& row : {std::pair(1, 1), {0, 1}, {-1, -1}}) {
        SCOPED_TRACE(testing::Message() << points << " points, sign " << row.first);
        Complexes pairs = signal;
        auto* const data = reinterpret_cast<double*>(pairs.data());
        complexTransform(points, row.first, data, tables);
        expectTransform(pairs, signal, row.second);
        inRealTime(
            [&] { (row.first < 0 ? complexForward : complexBackward)(points, data, tables); });
        for (std::size_t j = 0; j < signal.size(); ++j) {
          ASSERT_LT(std::abs(pairs[j] / static_cast<double>(points) - signal[j]), 1e-14);
        }
      }
    }
    tables.prepareReal8192();
    Complexes pairs = noise(8192);
    std::vector<double> samples(8192);
    for (std::size_t j = 0; j < samples.size(); ++j) samples[j] = pairs[j].real();
    for (Complex& x : pairs) x.imag(0.0);
    inRealTime([&] { realForward8192(samples.data(), tables); });
    complexTransform(8192, 1, reinterpret_cast<double*>(pairs.data()), tables);
    pairs[0].imag(pairs[4096].real());
    for (std::size_t k = 0; k < 4096; ++k) {
      ASSERT_LT(std::abs(Complex(samples[2 * k], samples[2 * k + 1]) - pairs[k]), 1e-11) << k;
    }
  });
}

}  // namespace
