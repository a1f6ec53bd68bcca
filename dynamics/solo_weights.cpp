#include "dynamics/solo_weights.h"

#include <algorithm>
#include <cstddef>

StageWeights dynamicEqWeights(const SoloBand& band, const ListenState& listening) noexcept {
  const bool alone = listening.scListen == band.band || band.solo;
  const double rest = !alone || listening.listen ? 1.0 : 0.0;
  // While another band's sidechain is heard, that replaces the rest of this band.
  if (listening.scListen == -1 && band.solo && listening.passband) return {0.0, 1.0 - rest};
  return {1.0, rest};
}

std::array<double, 8> crossoverWeights(std::span<const SoloBand> bands,
                                       const ListenState& listening) noexcept {
  std::array<double, 8> weights;
  weights.fill(1.0);
  const auto isHeard = [&](const SoloBand& band) { return band.band == listening.scListen; };
  const bool heardHere = std::any_of(bands.begin(), bands.end(), isHeard);
  const auto soloed =
      std::count_if(bands.begin(), bands.end(), [](const SoloBand& band) { return band.solo; });
  const bool allSolosHere = listening.soloCount != 0 && soloed == listening.soloCount;
  for (std::size_t place = 0; place < bands.size(); ++place) {
    const SoloBand& band = bands[place];
    if (listening.scListen != -1) {
      weights[place] = !heardHere || isHeard(band) ? 1.0 : 0.0;
    } else if (allSolosHere) {
      weights[place] = band.solo != listening.passband ? 1.0 : 0.0;
    }
  }
  return weights;
}
