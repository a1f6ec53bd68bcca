#include "core/chain_repair.h"

#include <cstddef>

#include "core/crossover_spacing.h"
#include "core/plug.h"

namespace {

void takeParameters(const Plug& plug, BandLayout& layout) {
  for (int band = 0; band < kNumBands; ++band) {
    const auto plain = [&](int row) { return plug.getPlainValue(bandParameterId(band, row)); };
    const auto index = static_cast<std::size_t>(band);
    layout.state[index] = plain(kB1State) != 0.0F;
    layout.isXover[index] = plain(kB1Type) == 0.0F;
    layout.frequency[index] = static_cast<double>(plain(kB1Frequency));
  }
}

}  // namespace

std::optional<ChainRepair> chainRepair(const Plug& plug) {
  BandLayout layout;
  takeParameters(plug, layout);
  const auto told = static_cast<double>(plug.getPlainValue(kBandOrder));
  if (layout.applyBandOrder(told)) return std::nullopt;
  layout.arrangeBands(told);
  std::vector<CrossoverPlace> places;
  for (const std::int32_t band : layout.xover) {
    places.push_back({band, layout.frequency[static_cast<std::size_t>(band)],
                      plug.isLocked(bandParameterId(band, kB1Frequency))});
  }
  separateEqual(places);
  ChainRepair repair;
  for (const CrossoverPlace& place : places) {
    double& frequency = layout.frequency[static_cast<std::size_t>(place.band)];
    if (place.hz == frequency) continue;
    const int id = bandParameterId(place.band, kB1Frequency);
    repair.frequencies.emplace_back(id, plug.plainToNormalised(id, static_cast<float>(place.hz)));
    frequency = static_cast<double>(plug.normalisedToPlain(id, repair.frequencies.back().second));
  }
  layout.arrangeBands(told);
  repair.order = plug.plainToNormalised(kBandOrder, static_cast<float>(layout.bandOrderValue()));
  return repair;
}
