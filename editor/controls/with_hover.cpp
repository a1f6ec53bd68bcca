#include "editor/controls/with_hover.h"

#include <algorithm>

namespace {

constexpr float kInMs = 80.0F;
constexpr float kOutMs = 120.0F;

}  // namespace

void HoverFade::turn(std::uint64_t now, float to) noexcept {
  advance(now);
  since = now;
  from = shown;
  goal = to;
}

bool HoverFade::advance(std::uint64_t now) noexcept {
  const float passed = static_cast<float>(now - since) / (goal > from ? kInMs : kOutMs);
  shown = goal > from ? std::min(from + passed, goal) : std::max(from - passed, goal);
  return shown != goal;
}
