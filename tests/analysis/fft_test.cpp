#include "analysis/fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

#include "tests/support/realtime_guard.h"

namespace {

using Complex = std::complex<double>;

std::vector<Complex> noise(int points) {
  std::mt19937 random(static_cast<unsigned>(points));
  std::uniform_real_distribution<double> level(-1.0, 1.0);
  std::vector<Complex> signal(static_cast<std::size_t>(points));
  for (Complex& x : signal) x = {level(random), level(random)};
  return signal;
}

/// One element of the transform by its definition.
Complex element(const std::vector<Complex>& signal, std::size_t k, int sign) {
  const std::size_t points = signal.size();
  std::complex<long double> sum = 0;
  for (std::size_t j = 0; j < points; ++j) {
    const long double angle = 2.0L * std::numbers::pi_v<long double> *
                              static_cast<long double>(j * k % points) /
                              static_cast<long double>(points);
    sum += std::complex<long double>(signal[j]) * std::polar(1.0L, sign * angle);
  }
  return {static_cast<double>(sum.real()), static_cast<double>(sum.imag())};
}

/// All elements of a short transform, some of a long one.
std::vector<std::size_t> elementsToCheck(std::size_t points) {
  std::vector<std::size_t> chosen;
  for (std::size_t k = 0; k<points; k += points> 512 ? 61 : 1) chosen.push_back(k);
  return chosen;
}

/// Rounding grows slower than this; the elements are of size sqrt(points).
double tolerance(int points) { return 2e-15 * std::sqrt(points) * (1.0 + std::log2(points)); }

TEST(Fft, IsItsDefinitionWithEveryInstructionSet) {
  for (const VectorKernels* kernels : allVectorKernels()) {
    for (int points = 1; points <= 4096; points *= 2) {
      SCOPED_TRACE(testing::Message() << kernels->name << ", " << points << " points");
      const auto signal = noise(points);
      const PlanarArrays arrays(3, points);
      for (int j = 0; j < points; ++j) {
        arrays[0].re[j] = signal[static_cast<std::size_t>(j)].real();
        arrays[0].im[j] = signal[static_cast<std::size_t>(j)].imag();
      }
      PlanarFft::shared(points).forward(*kernels, arrays[0], arrays[1], arrays[2]);
      for (const std::size_t k : elementsToCheck(signal.size())) {
        const Complex found(arrays[1].re[k], arrays[1].im[k]);
        ASSERT_LT(std::abs(found - element(signal, k, 1)), tolerance(points)) << k;
      }
      for (int j = 0; j < points; ++j) {
        ASSERT_EQ(arrays[0].re[j], signal[static_cast<std::size_t>(j)].real()) << "input kept";
      }
    }
  }
}

TEST(Fft, PairsInPlaceInBothDirections) {
  FftTables tables;
  for (const int points : {1, 2, 4, 8, 64, 2048, 1024, 32}) {
    for (const int sign : {1, 0, -1}) {
      SCOPED_TRACE(testing::Message() << points << " points, sign " << sign);
      const auto signal = noise(points);
      auto pairs = signal;
      auto* const data = reinterpret_cast<double*>(pairs.data());
      complexTransform(points, sign, data, tables);
      for (const std::size_t k : elementsToCheck(signal.size())) {
        ASSERT_LT(std::abs(pairs[k] - element(signal, k, sign < 0 ? -1 : 1)), tolerance(points));
      }
      (sign < 0 ? complexForward : complexBackward)(points, data, tables);
      for (std::size_t j = 0; j < signal.size(); ++j) {
        ASSERT_LT(std::abs(pairs[j] / static_cast<double>(points) - signal[j]), 1e-14);
      }
    }
  }
}

TEST(Fft, RealSignalOf8192Samples) {
  constexpr std::size_t kSamples = 8192;
  std::vector<double> samples(kSamples);
  std::vector<Complex> signal(kSamples);
  const auto source = noise(kSamples);
  for (std::size_t j = 0; j < kSamples; ++j) signal[j] = samples[j] = source[j].real();
  FftTables tables;
  realForward8192(samples.data(), tables);
  EXPECT_NEAR(samples[0], element(signal, 0, 1).real(), 1e-11);
  EXPECT_NEAR(samples[1], element(signal, kSamples / 2, 1).real(), 1e-11);
  for (std::size_t k = 1; k < kSamples / 2; k += k < 20 || k > 4080 || k == 2047 ? 1 : 50) {
    const Complex found(samples[2 * k], samples[2 * k + 1]);
    ASSERT_LT(std::abs(found - element(signal, k, 1)), 1e-11) << k;
  }
}

TEST(Fft, DoesNotAllocateOncePrepared) {
  FftTables tables;
  tables.prepare(64);
  tables.prepareReal8192();
  tables.prepare(2048);
  std::vector<double> data(8192, 0.5);
  const RealtimeGuard guard;
  complexForward(2048, data.data(), tables);
  complexBackward(64, data.data(), tables);
  realForward8192(data.data(), tables);
  EXPECT_EQ(guard.heapCalls(), 0);
  EXPECT_EQ(guard.lockCalls(), 0);
}

}  // namespace
