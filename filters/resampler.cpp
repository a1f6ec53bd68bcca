#include "filters/resampler.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

#include "analysis/vector_kernels.h"
#include "analysis/window_table.h"
#include "platform/index.h"

namespace {

/// The odd phase of a half-band filter: the sinc at half-integer positions, with a Kaiser window
/// whose ends lie at the first and the last tap.
template <std::size_t count>
std::array<double, count> halfBandKernel(double beta) noexcept {
  std::array<double, count> kernel{};
  constexpr auto kCount = static_cast<double>(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto at = static_cast<double>(i);
    const double x = (at - kCount / 2.0 + 0.5) * std::numbers::pi;
    const double u = (2.0 * at + 1.0 - kCount) / (kCount - 1.0);
    kernel[i] = std::sin(x) / x * besselI0(beta * std::sqrt(1.0 - u * u)) / besselI0(beta);
  }
  return kernel;
}

const double* makeStandardKernel() noexcept {
  static const auto kKernel = halfBandKernel<Resampler::taps>(3.5);
  return kKernel.data();
}

const double* makeHighKernel() noexcept {
  static const auto kKernel = halfBandKernel<ResamplerHQ::hqTaps>(15.0);
  return kKernel.data();
}

void raise(const double* input, int n, double* output, const double* kernel, int taps,
           double* history) noexcept {
  const int past = taps - 1;
  const int capacity = Resampler::kHistory - past;
  for (int done = 0; done < n;) {
    const int m = std::min(n - done, capacity);
    std::copy_n(input + done, m, history + past);
    vectorKernels().raise(kernel, taps, history, output + static_cast<std::ptrdiff_t>(2) * done, m);
    std::copy_n(history + m, past, history);
    done += m;
  }
}

/// Leaves the cells after the first `past` as if the input had passed through them in chunks.
void keepPassed(const double* input, int n, int past, double* history) noexcept {
  const int capacity = Resampler::kHistory - past;
  const int last = (n - 1) % capacity + 1;
  const double* const end = input + n;
  std::copy_n(end - last, last, history + past);
  if (n > capacity) std::copy(end - capacity, end - last, history + past + last);
}

void lower(const double* input, int n, double* output, const double* kernel, int taps,
           double* history) noexcept {
  if (n <= 0) return;
  // The filter uses every second sample, so the two phases are kept in separate arrays, in blocks
  // of their own: a long kernel leaves room in the history for two samples at a time only.
  constexpr int kBlock = 256;
  const int past = taps - 1;  // of each phase
  std::array<double, kBlock + Resampler::kHistory / 2> even;
  std::array<double, kBlock + Resampler::kHistory / 2> odd;
  vectorKernels().deinterleave(history, {even.data(), odd.data()}, past);
  for (int done = 0; done < n / 2;) {
    const int m = std::min(n / 2 - done, kBlock);
    vectorKernels().deinterleave(input + static_cast<std::ptrdiff_t>(2) * done,
                                 {even.data() + past, odd.data() + past}, m);
    vectorKernels().lower(kernel, taps, even.data(), odd.data(), output + done, m);
    std::copy_n(even.data() + m, past, even.data());
    std::copy_n(odd.data() + m, past, odd.data());
    done += m;
  }
  keepPassed(input, n, 2 * past, history);
  vectorKernels().interleave(PlanarSpan{even.data(), odd.data()}, history, past);
}

}  // namespace

Resampler::Resampler() noexcept : standardKernel(makeStandardKernel()) {}

void Resampler::resample(double ratio, const double* input, int n, double* output,
                         const double* kernel, int tapCount, double* cells, int before) noexcept {
  const bool raises = ratio > 1.0;
  const int past = raises ? tapCount - 1 : 2 * (tapCount - 1);
  const int capacity = kHistory - past;
  std::array<double, kHistory> passed;
  if (before > 0) std::copy_n(cells + past, capacity, passed.data());
  if (raises) {
    raise(input, n, output, kernel, tapCount, cells);
  } else {
    lower(input, n, output, kernel, tapCount, cells);
  }
  if (before == 0) return;
  for (int i = std::max(0, n - capacity); i < n; ++i)
    passed[at((before + i) % capacity)] = input[i];
  std::copy_n(passed.data(), capacity, cells + past);
}

void Resampler::process(double ratio, const double* input, int n, double* output,
                        int before) noexcept {
  resample(ratio, input, n, output, standardKernel, taps, history.data(), before);
}

void Resampler::fillHistory(double value) noexcept { history.fill(value); }

ResamplerHQ::ResamplerHQ() noexcept : hqKernel(makeHighKernel()) {}

void ResamplerHQ::process(double ratio, const double* input, int n, double* output,
                          int before) noexcept {
  if (!highQuality.load(std::memory_order_relaxed)) {
    return Resampler::process(ratio, input, n, output, before);
  }
  resample(ratio, input, n, output, hqKernel, hqTaps, history.data(), before);
}

void OversampledGain::reset() noexcept {
  signalUp.fillHistory(0.0);
  gainUp.fillHistory(1.0);
  down.fillHistory(0.0);
}

void OversampledGain::setHighQuality(bool on) noexcept {
  for (ResamplerHQ* const resampler : {&signalUp, &gainUp, &down}) {
    resampler->highQuality.store(on, std::memory_order_relaxed);
  }
}

void OversampledGain::process(double* signal, const double* gain, int frames, double* upSignal,
                              double* upGain, int before) noexcept {
  signalUp.process(2.0, signal, frames, upSignal, before);
  gainUp.process(2.0, gain, frames, upGain, before);
  for (int i = 0; i < 2 * frames; ++i) upSignal[i] *= upGain[i];
  down.process(0.5, upSignal, 2 * frames, signal, 2 * before);
}
