#include "graphs/handles.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace graph_handles {

namespace {

constexpr double kLeast = 1e-10;
constexpr double kStripTop = 50.0;  // from the lower edge
constexpr double kAboveStrip = 12.0;

}  // namespace

int nearest(std::span<const Handle> handles, Point where, double limit) {
  int found = -1;
  for (std::size_t i = 0; i < handles.size(); ++i) {
    if (!handles[i].isActive) continue;
    const double x = where.x - handles[i].centre.x;
    const double y = where.y - handles[i].centre.y;
    const double squared = x * x + y * y;
    if (!(squared < limit)) continue;
    limit = squared;
    found = static_cast<int>(i);
  }
  return found;
}

double crossoverFrequency(double below, double above) { return std::sqrt(below * above); }

double crossoverLevel(double range) { return std::max(-6.0, -range * 0.5); }

double decibels(double magnitude) { return 20.0 * std::log10(std::max(magnitude, kLeast)); }

LiftedDisc liftedDisc(double row, int height) {
  const double lowest = height - kStripTop - kAboveStrip;
  return {std::clamp(row, std::min(kFromEdge, lowest), lowest), row > lowest};
}

}  // namespace graph_handles
