#pragma once

#include "dynamics/engine_settings.h"
#include "host/parameter_store.h"

// Converts a band's parameters to the engine's settings. `band` is 0..7. Control threads.

[[nodiscard]] BandSettings bandSettings(const ParameterStore& values, int band);
/// `rangeMult` and `ratioMult` are the factors of the extended ranges and extended ratios.
[[nodiscard]] BandDynamics bandDynamics(const ParameterStore& values, int band, double rangeMult,
                                        double ratioMult);
[[nodiscard]] SidechainFilterSettings bandSidechainFilters(const ParameterStore& values, int band);
