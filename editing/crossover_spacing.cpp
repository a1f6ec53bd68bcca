#include "editing/crossover_spacing.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace {

constexpr double kSpacing = 1.5;
constexpr double kFloorHz = 10.0;
constexpr double kCeilingHz = 30000.0;
constexpr double kLowestHz = kFloorHz * kSpacing;
constexpr double kHighestHz = kCeilingHz / kSpacing;
constexpr double kLeastStep = 1.0 + 1e-5;  // surely distinct in single precision
constexpr int kMostPasses = 1000;          // eight bands need fewer than 60, wherever they start

/// For each entry, the nearest one in use on one side, as it is before a pass.
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

/// Makes one pass; returns whether anything changed. Bands above one that has moved in this pass
/// may not move down in the same pass, but may move up.
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

/// The highest centre for a band below all of `above`, if these give way as far as they can.
double highestBelow(std::span<const CrossoverPlace> above) {
  double limit = kHighestHz;
  for (std::size_t i = above.size(); i-- > 0;) {
    limit = (above[i].fixed ? above[i].hz : std::max(above[i].hz, limit)) / kSpacing;
  }
  return limit;
}

double lowestAbove(std::span<const CrossoverPlace> below) {
  double limit = kLowestHz;
  for (const CrossoverPlace& place : below) {
    limit = (place.fixed ? place.hz : std::min(place.hz, limit)) * kSpacing;
  }
  return limit;
}

std::optional<CrossoverRoom> roomAt(std::span<const CrossoverPlace> others, std::size_t place,
                                    double wanted) {
  const double lowest = lowestAbove(others.first(place));
  const double highest = highestBelow(others.subspan(place));
  if (lowest > highest) return std::nullopt;
  CrossoverRoom room;
  room.own = std::clamp(wanted, lowest, highest);
  for (const CrossoverPlace& other : others) room.others.push_back(other.hz);
  double least = room.own * kSpacing;
  for (std::size_t i = place; i < others.size() && room.others[i] < least; ++i) {
    room.others[i] = least;
    least *= kSpacing;
  }
  double most = room.own / kSpacing;
  for (std::size_t i = place; i-- > 0 && room.others[i] > most;) {
    room.others[i] = most;
    most /= kSpacing;
  }
  return room;
}

/// The factor between `gaps` + 1 bands in a range; less than 1 if there is none.
double stepWithin(double lower, double upper, std::size_t gaps) {
  return std::min(std::pow(upper / lower, 1.0 / static_cast<double>(gaps)), kSpacing);
}

/// Separates the bands from `first` to before `end`, all at one frequency. False if too few numbers
/// lie between their neighbours.
bool separateRun(std::span<CrossoverPlace> places, std::size_t first, std::size_t end) {
  const double hz = places[first].hz;
  const std::size_t others = end - first - 1;
  const bool isTop = end == places.size();
  const double up =
      isTop ? stepWithin(hz, kHighestHz, others) : stepWithin(hz, places[end].hz, others + 1);
  const double down = first == 0 ? stepWithin(kLowestHz, hz, others)
                                 : stepWithin(places[first - 1].hz, hz, others + 1);
  const bool rises = up >= down;
  const auto run = places.subspan(first, others + 1);
  const auto stays = [](const CrossoverPlace& place) { return place.fixed; };
  if (const auto fixed = std::ranges::find_if(run, stays); fixed != run.end()) {
    std::swap(*fixed, rises ? run.front() : run.back());
  }
  for (std::size_t i = 0; i <= others; ++i) {
    run[i].hz = rises ? hz * std::pow(up, static_cast<double>(i))
                      : hz / std::pow(down, static_cast<double>(others - i));
  }
  return std::max(up, down) >= kLeastStep;
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

std::optional<CrossoverRoom> roomInCrossover(std::span<const CrossoverPlace> others,
                                             double wanted) {
  const auto above = std::ranges::find_if(
      others, [wanted](const CrossoverPlace& other) { return other.hz >= wanted; });
  const auto place = static_cast<std::size_t>(above - others.begin());
  auto room = roomAt(others, place, wanted);
  // Try either side of a fixed band at exactly this frequency.
  if (!room && above != others.end() && above->hz == wanted) {
    room = roomAt(others, place + 1, wanted);
  }
  return room;
}

std::optional<CrossoverRoom> roomByRule(std::span<const CrossoverPlace> others, double wanted) {
  std::vector<double> centres;
  for (const CrossoverPlace& other : others) centres.push_back(other.hz);
  const auto at = std::ranges::lower_bound(centres, wanted) - centres.begin();
  centres.insert(centres.begin() + at, wanted);
  CrossoverRoom room;
  room.others = spacedCrossover(std::move(centres), static_cast<std::size_t>(at), wanted);
  room.own = room.others[static_cast<std::size_t>(at)];
  room.others.erase(room.others.begin() + at);
  for (std::size_t i = 0; i < others.size(); ++i) {
    if (others[i].fixed && room.others[i] != others[i].hz) return std::nullopt;
  }
  return room;
}

void separateEqual(std::span<CrossoverPlace> places) {
  std::ranges::stable_sort(places, {}, &CrossoverPlace::hz);
  bool fits = true;
  for (std::size_t first = 0; first < places.size();) {
    std::size_t end = first + 1;
    while (end < places.size() && places[end].hz == places[first].hz) ++end;
    if (end - first > 1) fits = separateRun(places, first, end) && fits;
    first = end;
  }
  if (fits) return;
  std::vector<double> centres;
  for (const CrossoverPlace& place : places) centres.push_back(place.hz);
  centres = spacedCrossover(std::move(centres), places.size(), 0.0);
  for (std::size_t i = 0; i < places.size(); ++i) places[i].hz = centres[i];
}
