#include "tests/factory/level_map.h"

#include <algorithm>
#include <cmath>
#include <numbers>

#include "analysis/fft.h"

namespace {

constexpr std::size_t kFrame = 2048;
constexpr std::size_t kHop = 512;
constexpr std::size_t kBins = kFrame / 2;
constexpr std::size_t kSums = kBins + 1;

std::size_t binAt(double hertz) {
  const double bin = hertz * static_cast<double>(kFrame) / kMaterialRate;
  return static_cast<std::size_t>(std::clamp(std::round(bin), 0.0, static_cast<double>(kBins)));
}

}  // namespace

LevelMap::LevelMap(const Material::Channels& signal)
    : count((signal[0].size() - kFrame) / kHop + 1), mid(count * kSums), side(count * kSums) {
  FftTables tables;
  tables.prepare(kFrame);
  std::vector<double> pairs(2 * kFrame);
  for (std::size_t frame = 0; frame < count; ++frame) {
    for (std::size_t i = 0; i < kFrame; ++i) {
      const double turn = 2.0 * std::numbers::pi * static_cast<double>(i) / kFrame;
      const double window = 0.5 - 0.5 * std::cos(turn);
      const double left = signal[0][frame * kHop + i];
      const double right = signal[1][frame * kHop + i];
      pairs[2 * i] = 0.5 * window * (left + right);
      pairs[2 * i + 1] = 0.5 * window * (left - right);
    }
    complexForward(kFrame, pairs.data(), tables);
    // Two real signals in one transform: the even part of the spectrum is the mid's.
    for (std::size_t k = 0; k < kBins; ++k) {
      const std::size_t mirror = (kFrame - k) % kFrame;
      const double evenRe = pairs[2 * k] + pairs[2 * mirror];
      const double evenIm = pairs[2 * k + 1] - pairs[2 * mirror + 1];
      const double oddRe = pairs[2 * k] - pairs[2 * mirror];
      const double oddIm = pairs[2 * k + 1] + pairs[2 * mirror + 1];
      const std::size_t at = frame * kSums + k;
      mid[at + 1] = mid[at] + evenRe * evenRe + evenIm * evenIm;
      side[at + 1] = side[at] + oddRe * oddRe + oddIm * oddIm;
    }
  }
}

double LevelMap::power(std::size_t frame, const Region& region) const {
  const std::size_t from = frame * kSums + binAt(region.fromHz);
  const std::size_t to = frame * kSums + binAt(region.toHz);
  return (region.part == Part::kSide ? 0.0 : mid[to] - mid[from]) +
         (region.part == Part::kMid ? 0.0 : side[to] - side[from]);
}

std::vector<std::size_t> LevelMap::framesOf(const Region& region) const {
  std::vector<std::size_t> chosen;
  for (std::size_t frame = 0; frame < count; ++frame) {
    const double seconds = (static_cast<double>(frame * kHop) + 0.5 * kFrame) / kMaterialRate;
    if (seconds >= region.fromSeconds && seconds < region.toSeconds) chosen.push_back(frame);
  }
  if (region.frames == Frames::kAll) return chosen;
  std::ranges::sort(chosen, {}, [&](std::size_t frame) {
    return region.frames == Frames::kQuietest ? power(frame, region) : -power(frame, region);
  });
  chosen.resize(chosen.size() / 10);
  return chosen;
}

double levelChange(const LevelMap& before, const LevelMap& after, const Region& region) {
  double powerBefore = 1e-30;  // keeps silence finite
  double powerAfter = 1e-30;
  for (const std::size_t frame : before.framesOf(region)) {
    powerBefore += before.power(frame, region);
    powerAfter += after.power(frame, region);
  }
  return 10.0 * std::log10(powerAfter / powerBefore);
}
