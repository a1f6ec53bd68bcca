#include "apps/chain_fault.h"

#include <algorithm>

#include "apps/text.h"

namespace {

bool isOn(const Plug& plug, int band, int row) {
  return plug.getPlainValue(bandParameterId(band, row)) != 0.0F;
}

/// The `kBandOrder` that takes every band that is on into the chain, dynamic EQ bands last; none
/// where crossover bands share a frequency.
std::optional<double> fittingOrder(const Plug& plug) {
  BandLayout layout;
  layout.moveBand(0, kOffList, 0.0);
  for (int band = 0; band < kNumBands; ++band) {
    if (!isOn(plug, band, kB1State)) continue;
    const float hertz = plug.getPlainValue(bandParameterId(band, kB1Frequency));
    layout.moveBand(band, isOn(plug, band, kB1Type) ? kPostList : kXoverList,
                    static_cast<double>(hertz));
  }
  const double order = layout.bandOrderValue();
  return layout.applyBandOrder(order) ? std::optional(order) : std::nullopt;
}

}  // namespace

std::optional<std::string> chainFault(Plug& plug, int band) {
  if (!isOn(plug, band, kB1State)) return std::nullopt;
  BandLayout& layout = plug.getEngine().layout;
  const BandLayout::List off = layout.copyOf(layout.off);
  const bool isListed = std::find(off.begin(), off.end(), band) == off.end();
  const bool isCrossover = layout.crossoverIndex(band) >= 0;
  if (isListed && isCrossover != isOn(plug, band, kB1Type)) return std::nullopt;
  const auto order = fittingOrder(plug);
  return "band " + std::to_string(band + 1) + " is on, but the chain is not as set: " +
         (order ? "it needs --set kBandOrder=" + shortestText(static_cast<float>(*order))
                : "two crossover bands have the same frequency");
}
