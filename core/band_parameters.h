#pragma once

#include "dynamics/engine_settings.h"
#include "host/parameter_store.h"

// A band's rows of the parameter table as the engine takes them; `band` 0..7. Control side.

[[nodiscard]] BandSettings bandSettings(const ParameterStore& values, int band);
/// The factors that the extended ranges and ratios put on a band's knobs.
[[nodiscard]] BandDynamics bandDynamics(const ParameterStore& values, int band, double rangeMult,
                                        double ratioMult);
[[nodiscard]] SidechainFilterSettings bandSidechainFilters(const ParameterStore& values, int band);
