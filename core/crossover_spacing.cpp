#include "core/crossover_spacing.h"

namespace {

constexpr double kSpacing = 1.5;
constexpr double kFloorHz = 10.0;
constexpr double kCeilingHz = 30000.0;
constexpr int kMostPasses = 1000;  // eight bands from anywhere in the range are done within 60

/// The nearest entry on one side that is in use, for each, as they stand before a pass.
struct Neighbours {
  std::vector<double> lower;
  std::vector<double> upper;
};

void noteNeighbours(const std::vector<double>& centres, Neighbours& noted) {
  const std::size_t count = centres.size();
  double nearest = kFloorHz;
  for (std::size_t i = 0; i < count; ++i) {
    noted.lower[i] = nearest;
    if (centres[i] != 0.0) nearest = centres[i];
  }
  nearest = kCeilingHz;
  for (std::size_t i = count; i-- > 0;) {
    noted.upper[i] = nearest;
    if (centres[i] != 0.0) nearest = centres[i];
  }
}

/// Whether anything changed. One that has moved in this pass keeps those above it from moving down
/// in the same pass; they may still move up.
bool spaceOnce(std::vector<double>& centres, const Neighbours& noted) {
  bool changed = false;
  for (std::size_t i = 0; i < centres.size(); ++i) {
    double& centre = centres[i];
    if (centre == 0.0) continue;
    const double lowest = noted.lower[i] * kSpacing;
    if (lowest > centre) {
      centre = lowest;
      changed = true;
    } else if (!changed && centre * kSpacing > noted.upper[i]) {
      centre = noted.upper[i] / kSpacing;
      changed = true;
    }
  }
  return changed;
}

}  // namespace

std::vector<double> spacedCrossover(std::vector<double> centres, std::size_t place, double wanted) {
  if (place < centres.size()) centres[place] = wanted;
  Neighbours noted{centres, centres};
  for (int pass = 0; pass < kMostPasses; ++pass) {
    noteNeighbours(centres, noted);
    if (!spaceOnce(centres, noted)) break;
  }
  return centres;
}
