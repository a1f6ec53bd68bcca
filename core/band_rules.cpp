#include "core/band_rules.h"

ParameterTargets BandRules::targetsOf(std::int32_t index) const noexcept {
  ParameterTargets targets;
  if (locked.get(index)) return targets;
  if (linked.get(index) && isBandParameter(index) && !history.isStepping()) {
    for (int band = 0; band < kNumBands; ++band) {
      const int other = bandParameterId(band, bandOneIdOf(index));
      if (other != index && linked.get(other) && !locked.get(other)) targets.add(other);
    }
  }
  targets.add(index);
  return targets;
}
