#pragma once

#include <span>
#include <vector>

#include "apps/effect/effect_state.h"

/// The left output for a unit impulse on both inputs with only `band` (0..7) soloed, including the
/// delay, until the response has decayed. The effect is otherwise set by `state` and processes
/// offline in 64-bit floating point. `sampleRate` in Hz.
[[nodiscard]] std::vector<double> soloedImpulseResponse(const EffectState& state, int band,
                                                        int sampleRate);

/// Magnitude of the discrete Fourier transform of `response` at `cyclesPerSample`, 0 to 0.5.
/// Cost: one complex product per sample.
[[nodiscard]] double responseMagnitude(std::span<const double> response,
                                       double cyclesPerSample) noexcept;
