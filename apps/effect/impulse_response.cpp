#include "apps/effect/impulse_response.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>

#include "apps/effect/effect_runner.h"
#include "editing/parameter_ids.h"

namespace {

constexpr int kChannels = 2;
constexpr int kTail = 4096;  // samples: longer than the kernels extend past the latency

}  // namespace

std::vector<double> soloedImpulseResponse(const EffectState& state, int band, int sampleRate) {
  EffectSetup setup;
  setup.state = state;
  for (int other = 0; other < kNumBands; ++other) {
    setup.state.settings.push_back(
        {bandParameterId(other, kB1Solo), false, other == band ? 1.0F : 0.0F});
  }
  setup.doubles = true;
  EffectRunner runner(setup, sampleRate, kChannels, 0);
  const int frames = runner.latency() + kTail;
  std::vector<double> in(static_cast<std::size_t>(kChannels * setup.blockFrames));
  std::vector<double> out(in.size());
  std::fill_n(in.begin(), kChannels, 1.0);
  std::vector<double> response;
  for (int done = 0; done < frames; done += setup.blockFrames) {
    runner.process(in.data(), nullptr, setup.blockFrames, out.data());
    for (std::size_t i = 0; i < out.size(); i += kChannels) response.push_back(out[i]);
    std::fill_n(in.begin(), kChannels, 0.0);
  }
  return response;
}

double responseMagnitude(std::span<const double> response, double cyclesPerSample) noexcept {
  // Horner's scheme for the polynomial in z^-1. On the unit circle its modulus is the same from
  // either end.
  const std::complex<double> turn = std::polar(1.0, 2.0 * std::numbers::pi * cyclesPerSample);
  double re = 0.0;
  double im = 0.0;
  for (const double sample : response) {
    const double turned = re * turn.real() - im * turn.imag() + sample;
    im = re * turn.imag() + im * turn.real();
    re = turned;
  }
  return std::hypot(re, im);
}
