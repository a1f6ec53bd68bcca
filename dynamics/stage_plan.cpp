#include "dynamics/stage_plan.h"

#include <array>
#include <bit>
#include <cstddef>

#include "dynamics/band_layout.h"
#include "platform/index.h"

StagePlan StagePlan::of(BandLayout& layout) {
  const BandLayout::Scope lock(layout);
  StagePlan made;
  int slot = 0;
  const auto add = [&made, &slot](int stage) {
    made.stages |= static_cast<std::uint32_t>(stage + 2) << (4 * slot++);
  };
  for (const std::int32_t band : layout.pre) add(band);
  if (!layout.xover.empty()) add(kCrossoverStage);
  for (const std::int32_t band : layout.post) add(band);
  int place = 0;
  for (const std::int32_t band : layout.xover) {
    made.xover |= static_cast<std::uint32_t>(band) << (3 * place++);
  }
  made.xover |= static_cast<std::uint32_t>(place) << 24U;
  return made;
}

std::uint32_t stagesInOrder(const StagePlan& before, const StagePlan& plan) noexcept {
  constexpr int kSlots = kNumBands;
  const auto isWorse = [](std::uint32_t a, std::uint32_t b) {
    const auto worth = [](std::uint32_t stages) {
      const bool hasCrossover = (stages & stageBit(StagePlan::kCrossoverStage)) != 0;
      return std::popcount(stages) + (hasCrossover ? kSlots : 0);
    };
    return worth(a) < worth(b);
  };
  // Indexed by a slot of `before`: the best choice so far whose last stage is in that slot.
  std::array<std::uint32_t, kSlots> choices{};
  plan.forEachStage([&](int stage) {
    std::uint32_t best = 0;
    for (int slot = 0; slot < kSlots; ++slot) {
      std::uint32_t& choice = choices[at(slot)];
      if (before.stageInSlot(slot) == stage) {
        choice = best | stageBit(stage);
        return;
      }
      best = std::max(best, choice, isWorse);
    }
  });
  return *std::max_element(choices.begin(), choices.end(), isWorse);
}
