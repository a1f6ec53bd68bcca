#pragma once

#include <cstddef>
#include <vector>

#include "analysis/fft.h"
#include "tests/support/plain_convolution.h"

/// The sum of taps, term by term, at one sample; silence before the signal.
inline double convolvedAt(const Signal& taps, const Signal& input, std::size_t n) {
  double sum = 0.0;
  for (std::size_t k = 0; k < taps.size() && k <= n; ++k) sum += taps[k] * input[n - k];
  return sum;
}

/// A crossover with 1023 samples of block delay that does the work of 1024 samples at once: one
/// transform of 2048 points forward and one per band backward.
class PlainCrossover {
 public:
  static constexpr std::size_t kBlock = 1024;

  void setKernels(const std::vector<Signal>& kernels) {
    const std::size_t bands = kernels.size();
    lines.resize(bands, Pairs(2 * kBlock));
    tails.resize(bands, Pairs(2 * kBlock));
    spectra.assign(bands, Pairs(4 * kBlock));
    for (std::size_t b = 0; b < bands; ++b) {
      for (std::size_t k = 0; k < kBlock; ++k) spectra[b][2 * k] = kernels[b][k] * 0x1p-11;
      complexForward(2 * kBlock, spectra[b].data(), fft);
    }
  }

  void processSample(double left, double right, double* bandLeft, double* bandRight) {
    input[2 * position] = left;
    input[2 * position + 1] = right;
    if (position == kBlock - 1) burst();
    position = (position + 1) % kBlock;
    for (std::size_t b = 0; b < lines.size(); ++b) {
      bandLeft[b] = lines[b][2 * position];
      bandRight[b] = lines[b][2 * position + 1];
    }
  }

 private:
  using Pairs = std::vector<double>;

  void burst() {
    Pairs block = input;
    block.resize(4 * kBlock);
    complexForward(2 * kBlock, block.data(), fft);
    for (std::size_t b = 0; b < lines.size(); ++b) {
      const Pairs& h = spectra[b];
      Pairs work(4 * kBlock);
      for (std::size_t k = 0; k < 4 * kBlock; k += 2) {
        work[k] = block[k] * h[k] - block[k + 1] * h[k + 1];
        work[k + 1] = block[k] * h[k + 1] + block[k + 1] * h[k];
      }
      complexBackward(2 * kBlock, work.data(), fft);
      for (std::size_t j = 0; j < 2 * kBlock; ++j) {
        lines[b][j] = work[j] + tails[b][j];
        tails[b][j] = work[j + 2 * kBlock];
      }
    }
  }

  FftTables fft;
  Pairs input = Pairs(2 * kBlock);
  std::vector<Pairs> lines, tails, spectra;
  std::size_t position = 0;
};
