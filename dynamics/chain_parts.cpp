#include "dynamics/chain_parts.h"

#include <optional>

#include "dynamics/lookahead_window.h"
#include "platform/index.h"

namespace {

using Kinds = std::array<std::optional<DelayRings::Kind>, kNumBands>;

/// What each band is in a plan, if it is in it at all.
Kinds kindsOf(const StagePlan& plan, bool& split) {
  Kinds kinds;
  split = false;
  plan.forEachStage([&](int stage) {
    if (stage == StagePlan::kCrossoverStage) {
      split = true;
    } else {
      kinds[at(stage)] = DelayRings::Kind::kStageBand;
    }
  });
  for (int place = 0; split && place < plan.xoverLength(); ++place) {
    kinds[at(plan.xoverBand(place))] = DelayRings::Kind::kCrossoverBand;
  }
  return kinds;
}

}  // namespace

BandParts::BandParts(int band, DelayRings::Kind newKind, int most)
    : kind(newKind),
      mostLookahead(most),
      delays(DelayRings::longest(newKind, most), band),
      detectors(most) {
  detectors[0].setOwnsLamps(true);
}

template <typename Part, typename Fits, typename Make>
std::shared_ptr<Part> PartsOwner::reuse(
    std::array<std::shared_ptr<Part>, kNumBands> ChainParts::*parts, int band, const Fits& fits,
    const Make& make) const {
  for (const Set* set : {&made, &pending, &inForce}) {
    const std::shared_ptr<Part>& part = (set->get()->*parts)[at(band)];
    if (part != nullptr && fits(*part)) return part;
  }
  return make();
}

void PartsOwner::provide(const StagePlan& plan, bool oversampling, double rate) {
  const int most = lookaheadSamples(kLongestLookaheadMs, rate);
  bool split = false;
  const Kinds kinds = kindsOf(plan, split);
  ChainParts parts;
  for (int band = 0; band < kNumBands; ++band) {
    if (!kinds[at(band)].has_value()) continue;
    const DelayRings::Kind kind = *kinds[at(band)];
    parts.bands[at(band)] = reuse(
        &ChainParts::bands, band,
        [&](const BandParts& part) { return part.kind == kind && part.mostLookahead == most; },
        [&] { return std::make_shared<BandParts>(band, kind, most); });
    if (!oversampling) continue;
    parts.products[at(band)] = reuse(
        &ChainParts::products, band, [](const OversampledPair&) { return true; },
        [] { return std::make_shared<OversampledPair>(); });
  }
  if (split) {
    constexpr int kOwner = DelayRings::kCrossover;
    const auto longest = DelayRings::longest(DelayRings::Kind::kCrossover, most);
    for (const Set* set : {&made, &pending, &inForce}) {
      const std::shared_ptr<DelayLines>& lines = set->get()->crossover;
      if (lines != nullptr && lines->holds(longest)) parts.crossover = lines;
    }
    if (parts.crossover == nullptr) {
      parts.crossover = std::make_shared<DelayLines>(longest, kOwner);
    }
  }
  if (parts != *made) made = std::make_shared<const ChainParts>(std::move(parts));
  madeFor = plan;
  madeOversampling = oversampling;
}

void PartsOwner::published(bool hadTaken) noexcept {
  if (hadTaken) inForce = pending;
  pending = made;
}
