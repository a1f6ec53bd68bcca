#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

#include "analysis/fft.h"
#include "tests/support/real_time.h"

namespace {

using Complex = std::complex<double>;
using Complexes = std::vector<Complex>;

/// With every instruction set of this processor in turn, in all that uses one.
class Transforms : public testing::Test {
 protected:
  ~Transforms() override { useVectorKernels(*allVectorKernels().back()); }
  template <typename Test>
  static void onAll(const Test& test) {
    for (const VectorKernels* kernels : allVectorKernels()) {
      SCOPED_TRACE(kernels->name);
      useVectorKernels(*kernels);
      test();
    }
  }
};

Complexes noise(int points) {
  std::mt19937 random(static_cast<unsigned>(points));
  std::uniform_real_distribution<double> level(-1.0, 1.0);
  Complexes signal(static_cast<std::size_t>(points));
  for (Complex& x : signal) x = {level(random), level(random)};
  return signal;
}

/// The transform by its definition, some of its elements.
class Definition {
 public:
  Definition(const Complexes& transformed, int sign) : signal(transformed) {
    const auto points = static_cast<long double>(signal.size());
    for (std::size_t j = 0; j < signal.size(); ++j) {
      const long double turn = 2.0L * std::numbers::pi_v<long double> * static_cast<long double>(j);
      turns.push_back(std::polar(1.0L, sign * turn / points));
    }
  }
  [[nodiscard]] Complex operator[](std::size_t k) const {
    std::complex<long double> sum = 0;
    for (std::size_t j = 0; j < signal.size(); ++j) {
      sum += std::complex<long double>(signal[j]) * turns[j * k % turns.size()];
    }
    return {static_cast<double>(sum.real()), static_cast<double>(sum.imag())};
  }

 private:
  const Complexes& signal;
  std::vector<std::complex<long double>> turns;
};

/// All elements of a short transform, some of a long one. Rounding grows slower than the limit; the
/// elements are of size sqrt(points).
void expectTransform(const Complexes& found, const Complexes& signal, int sign) {
  const auto points = static_cast<double>(signal.size());
  const double limit = 2e-15 * std::sqrt(points) * (1.0 + std::log2(points));
  const Definition expected(signal, sign);
  for (std::size_t k = 0; k<found.size(); k += found.size()> 256 ? found.size() / 32 - 1 : 1) {
    ASSERT_LT(std::abs(found[k] - expected[k]), limit) << k;
  }
}

Complexes pairsOf(PlanarSpan span, std::size_t points) {
  Complexes pairs;
  for (std::size_t k = 0; k < points; ++k) pairs.emplace_back(span.re[k], span.im[k]);
  return pairs;
}

TEST_F(Transforms, OfPlanarArraysKeepTheirInput) {
  onAll([] {
    for (int points = 1; points <= 4096; points *= 2) {
      SCOPED_TRACE(points);
      const Complexes signal = noise(points);
      const PlanarArrays arrays(4, points);
      for (std::size_t j = 0; j < signal.size(); ++j) {
        arrays[0].re[j] = signal[j].real();
        arrays[0].im[j] = signal[j].imag();
      }
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

TEST_F(Transforms, OfPairsInPlaceTakeNoMemoryOncePrepared) {
  onAll([] {
    FftTables tables;
    for (const int points : {64, 2048, 4096}) tables.prepare(points);
    for (const int points : {1, 2, 4, 8, 64, 2048, 1024, 4096, 32}) {
      const Complexes signal = noise(points);
      for (const int sign : {1, 0, -1}) {
        SCOPED_TRACE(testing::Message() << points << " points, sign " << sign);
        Complexes pairs = signal;
        auto* const data = reinterpret_cast<double*>(pairs.data());
        complexTransform(points, sign, data, tables);
        expectTransform(pairs, signal, sign < 0 ? -1 : 1);
        inRealTime([&] { (sign < 0 ? complexForward : complexBackward)(points, data, tables); });
        for (std::size_t j = 0; j < signal.size(); ++j) {
          ASSERT_LT(std::abs(pairs[j] / static_cast<double>(points) - signal[j]), 1e-14);
        }
      }
    }
  });
}

TEST_F(Transforms, OfRealSignals) {
  onAll([] {
    constexpr std::size_t kSamples = 8192;
    FftTables tables;
    tables.prepareReal8192();
    Complexes signal = noise(kSamples);
    std::vector<double> samples;
    for (Complex& x : signal) {
      x.imag(0.0);
      samples.push_back(x.real());
    }
    inRealTime([&] { realForward8192(samples.data(), tables); });
    const Definition expected(signal, 1);
    EXPECT_NEAR(samples[0], expected[0].real(), 1e-11);
    EXPECT_NEAR(samples[1], expected[kSamples / 2].real(), 1e-11);
    for (std::size_t k = 1; k < kSamples / 2; k += k < 20 || k > 4080 || k == 2047 ? 1 : 150) {
      const Complex found(samples[2 * k], samples[2 * k + 1]);
      ASSERT_LT(std::abs(found - expected[k]), 1e-11) << k;
    }
  });
}

}  // namespace
