#include "editing/chain_repair.h"

#include <cstddef>
#include <new>

#include "dynamics/band_layout.h"
#include "editing/crossover_spacing.h"
#include "editing/edited_parameters.h"
#include "editing/parameter_ids.h"
#include "platform/index.h"

namespace {

void takeParameters(const EditedParameters& parameters, BandLayout& layout) {
  for (int band = 0; band < kNumBands; ++band) {
    const auto plain = [&](int row) { return parameters.getPlain(bandParameterId(band, row)); };
    const auto index = static_cast<std::size_t>(band);
    layout.state[index] = plain(kB1State) != 0.0F;
    layout.isXover[index] = plain(kB1Type) == 0.0F;
    layout.frequency[index] = static_cast<double>(plain(kB1Frequency));
  }
}

}  // namespace

std::optional<ChainRepair> chainRepair(const EditedParameters& parameters) {
  BandLayout layout;
  takeParameters(parameters, layout);
  const auto told = static_cast<double>(parameters.getPlain(kBandOrder));
  if (layout.applyBandOrder(told)) return std::nullopt;
  layout.arrangeBands(told);
  std::vector<CrossoverPlace> places;
  for (const std::int32_t band : layout.xover) {
    places.push_back({band, layout.frequency[at(band)],
                      parameters.isLocked(bandParameterId(band, kB1Frequency))});
  }
  separateEqual(places);
  ChainRepair repair;
  for (const CrossoverPlace& place : places) {
    double& frequency = layout.frequency[at(place.band)];
    if (place.hz == frequency) continue;
    const int id = bandParameterId(place.band, kB1Frequency);
    repair.frequencies.emplace_back(id, parameters.toNormalised(id, static_cast<float>(place.hz)));
    frequency = static_cast<double>(parameters.toPlain(id, repair.frequencies.back().second));
  }
  layout.arrangeBands(told);
  repair.order = parameters.toNormalised(kBandOrder, static_cast<float>(layout.bandOrderValue()));
  return repair;
}

void ChainKeeper::repair() noexcept {
  try {
    missing.store(false, std::memory_order_relaxed);
    const auto repair = chainRepair(parameters);
    if (!repair) return;
    const UpdateHold together(parameters.updates());
    for (const auto& [id, normalised] : repair->frequencies) parameters.setAlone(id, normalised);
    parameters.setAlone(kBandOrder, repair->order);
  } catch (const std::bad_alloc&) {
    missing.store(true, std::memory_order_relaxed);
  }
}
