#pragma once

#include "dynamics/compressor.h"
#include "host/plug_base.h"

// A band's rows of the parameter table as the engine takes them; `band` 0..7. Control side.

[[nodiscard]] BandSettings bandSettings(PlugBase& plug, int band);
/// The factors that the extended ranges and ratios put on a band's knobs.
[[nodiscard]] BandDynamics bandDynamics(PlugBase& plug, int band, double rangeMult,
                                        double ratioMult);
[[nodiscard]] SidechainFilterSettings bandSidechainFilters(PlugBase& plug, int band);
