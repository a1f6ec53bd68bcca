#pragma once

#include <span>
#include <vector>

#include "apps/effect/effect_state.h"

/// What the left output gives for a unit impulse on both inputs with only `band` (0..7) soloed, its
/// delay included, until the response has died away. The effect is otherwise as `state` leaves
/// it, run through its 64-bit entry as offline. `sampleRate`: Hz.
[[nodiscard]] std::vector<double> soloedImpulseResponse(const EffectState& state, int band,
                                                        int sampleRate);

/// Magnitude of the discrete Fourier transform of `response` at `cyclesPerSample`, 0 to 0.5.
/// Cost: one complex product per sample.
[[nodiscard]] double responseMagnitude(std::span<const double> response,
                                       double cyclesPerSample) noexcept;
