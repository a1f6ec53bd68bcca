#include "dynamics/lookahead_window.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr int kPlainUpTo = 3;  // samples; up to here there are too few for two averages
constexpr unsigned kRing = WindowLane::kRingSize;
constexpr unsigned kMask = WindowLane::kRingMask;
constexpr std::size_t kRecentSize = std::size_t{WindowLane::kUnrolled} * WindowLane::kRecent;
constexpr std::size_t kSlack = 8;  // vectors may read beyond the last ring's end

// A running sum keeps the rounding error of the loudest level that went through it. From +120 dB
// on, which no audio reaches, that error matters at normal levels.
constexpr double kLoud = 1e6;

}  // namespace

int lookaheadSamples(float ms, double rate) noexcept {
  const double samples = (static_cast<double>(ms) * 0.001) * rate;
  if (!(samples > 0.0)) return 0;
  return static_cast<int>(std::min<double>(samples, LookaheadWindow::kMaxSamples));
}

LookaheadWindow::LookaheadWindow() : memory(kRecentSize + 3 * std::size_t{kRing} + kSlack) {
  window.recent = memory.data();
  window.tree = window.recent + kRecentSize;
  window.maxima = window.tree + kRing;
  window.means = window.maxima + kRing;
}

void LookaheadWindow::clear() noexcept {
  std::fill(memory.begin(), memory.end(), 0.0);
  window.treePosition = 0;
  window.write = 0;
  window.loudest = 0.0;
  loudSamples = 0;
  // The next block adopts the lookahead again and recomputes the sums.
  activeSamples = 0;
  window.levels = 0;
  window.averaging = false;
}

void LookaheadWindow::copySignal(const LookaheadWindow& other) noexcept {
  std::copy(other.memory.begin(), other.memory.end(), memory.begin());
  WindowLane own = other.window;
  own.recent = window.recent;
  own.tree = window.tree;
  own.maxima = window.maxima;
  own.means = window.means;
  window = own;
  activeSamples = other.activeSamples;
  loudSamples = other.loudSamples;
}

void LookaheadWindow::rollUp() noexcept {
  forEachSmallLevel([this](double* ring, double* entries, unsigned size) {
    for (unsigned i = 0; i < size; ++i) ring[(window.treePosition + i) & (size - 1)] = entries[i];
  });
}

void LookaheadWindow::unroll() noexcept {
  forEachSmallLevel([this](const double* ring, double* entries, unsigned size) {
    for (unsigned i = 0; i < size; ++i) entries[i] = ring[(window.treePosition + i) & (size - 1)];
  });
}

template <typename Visit>
void LookaheadWindow::forEachSmallLevel(Visit visit) noexcept {
  for (unsigned level = 0; level < std::min(window.levels, WindowLane::kUnrolled); ++level) {
    const unsigned size = 1U << level;
    double* const end = window.recent + std::size_t{WindowLane::kRecent} * (level + 1);
    visit(window.tree + (size - 1), end - size, size);
  }
}

void LookaheadWindow::adopt(int samples) noexcept {
  if (samples == activeSamples) return;
  rollUp();
  activeSamples = samples;
  unsigned size = 1;
  window.levels = 0;
  for (; size < static_cast<unsigned>(samples); size *= 2) ++window.levels;
  // Half of the power of two, minus the samples by which that exceeds the window.
  window.lastLag = size / 2 - (size - static_cast<unsigned>(std::max(samples, 1)));
  unroll();
  window.averaging = samples > kPlainUpTo;
  if (window.averaging) rebuildAverages();
}

void LookaheadWindow::rebuildAverages() noexcept {
  const auto n = static_cast<unsigned>(activeSamples);
  WindowLane& w = window;
  w.length1 = 3 * n / 4;
  w.length2 = n / 4;
  w.scale1 = 1.0 / w.length1;
  w.scale2 = 1.0 / w.length2;

  w.sum1 = 0.0;
  for (unsigned j = 1; j <= w.length1; ++j) w.sum1 += w.maxima[(w.write - j) & kMask];
  w.sum2 = 0.0;
  double earlier = w.sum1;  // the first sum as it was j samples ago
  for (unsigned j = 1; j <= w.length2; ++j) {
    const double y = w.scale1 * earlier;
    w.means[(w.write - j) & kMask] = y;
    w.sum2 += y;
    earlier += w.maxima[(w.write - j - w.length1) & kMask] - w.maxima[(w.write - j) & kMask];
  }
}

void LookaheadWindow::beginBlock(int frames, int samples) noexcept {
  adopt(samples);
  if (window.loudest > kLoud) loudSamples = 2 * kMaxSamples;
  window.loudest = 0.0;
  if (loudSamples <= 0) return;
  if (window.averaging) rebuildAverages();
  loudSamples -= frames;
}
