#include "dynamics/lookahead_window.h"

#include <algorithm>
#include <bit>
#include <cstddef>

#include "dynamics/detector_kernels.h"
#include "platform/prefetch.h"

namespace {

constexpr int kPlainUpTo = 3;  // samples; up to here there are too few for two averages
constexpr unsigned kChunk = DetectorKernels::kChunk;
constexpr std::size_t kRecentSize = std::size_t{WindowLane::kUnrolled} * WindowLane::kRecent;
constexpr std::size_t kSlack = 8;  // vectors may read beyond the last ring's end

// A running sum keeps the rounding error of the loudest level that went through it. From +120 dB
// on, which no audio reaches, that error matters at normal levels.
constexpr double kLoud = 1e6;

/// The size of a ring that is read so many samples back: it holds a chunk more, and ends where a
/// chunk does.
constexpr unsigned ringOf(unsigned back) noexcept {
  return std::max((back + kChunk - 1) / kChunk + 1, 2U) * kChunk;
}

}  // namespace

int lookaheadSamples(float ms, double rate) noexcept {
  const double samples = (static_cast<double>(ms) * 0.001) * rate;
  if (!(samples > 0.0)) return 0;
  return static_cast<int>(std::min<double>(samples, LookaheadWindow::kMaxSamples));
}

LookaheadWindow::Sizes::Sizes(int most) noexcept {
  const auto n = static_cast<unsigned>(most);
  tree = std::bit_ceil(std::max(n, 2U * WindowLane::kRecent));
  maxima = kMaxSamples + 1;
  means = ringOf(n / 4);
}

std::size_t LookaheadWindow::Sizes::total() const noexcept {
  return kRecentSize + tree + maxima + means + kSlack;
}

LookaheadWindow::LookaheadWindow(int most) : LookaheadWindow(Sizes(most), most) {}

LookaheadWindow::LookaheadWindow(const Sizes& sizes, int most)
    : memory(sizes.total()), mostSamples(most) {
  window.recent = memory.data();
  window.tree = window.recent + kRecentSize;
  window.maxima = {window.tree + sizes.tree, sizes.maxima, 0};
  window.means = {window.maxima.entries + sizes.maxima, sizes.means, 0};
}

void LookaheadWindow::clear() noexcept {
  if (!isClear) std::fill_n(memory.data(), memory.size(), 0.0);
  isClear = true;
  window.treePosition = 0;
  window.maxima.write = 0;
  window.maxima.size = kMaxSamples + 1;
  window.means.write = 0;
  window.loudest = 0.0;
  loudSamples = 0;
  gap = 0;
  // The next block adopts the lookahead again and recomputes the sums.
  activeSamples = 0;
  window.levels = 0;
  window.averaging = false;
}

void LookaheadWindow::copySignal(const LookaheadWindow& other) noexcept {
  if (isClear && other.isClear) return;
  std::copy_n(other.memory.data(), std::min(memory.size(), other.memory.size()), memory.data());
  WindowLane own = other.window;
  own.recent = window.recent;
  own.tree = window.tree;
  own.maxima.entries = window.maxima.entries;
  own.means.entries = window.means.entries;
  window = own;
  activeSamples = other.activeSamples;
  isFixed = other.isFixed;
  loudSamples = other.loudSamples;
  gap = other.gap;
  isClear = other.isClear;
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

void LookaheadWindow::adopt(int samples, bool fixed) noexcept {
  if (samples == activeSamples && fixed == isFixed) return;
  isFixed = fixed;
  constexpr unsigned kMost = kMaxSamples + 1;
  setMemory(fixed ? std::min(ringOf(static_cast<unsigned>(samples)), kMost) : kMost);
  if (samples == activeSamples) return;
  rollUp();
  activeSamples = samples;
  unsigned size = 1;
  window.levels = 0;
  for (; size < static_cast<unsigned>(samples); size *= 2) ++window.levels;
  // Half of the power of two, minus the samples by which that exceeds the window.
  window.lastLag = size / 2 - (size - static_cast<unsigned>(std::max(samples, 1)));
  unroll();
  const bool wasAveraging = window.averaging;
  window.averaging = samples > kPlainUpTo;
  if (!window.averaging) return;
  if (!wasAveraging) passGap();
  rebuildAverages();
}

/// Moves past the time in which no maxima were kept: in the ring, older ones stand for them.
void LookaheadWindow::passGap() noexcept {
  WindowLane::Ring& ring = window.maxima;
  ring.write = (ring.write + gap) % ring.size;
  gap = 0;
}

/// Remembers so many maxima from now on, of which earlier ones are 0 where they are not known.
void LookaheadWindow::setMemory(unsigned maxima) noexcept {
  WindowLane::Ring& ring = window.maxima;
  if (maxima == ring.size) return;
  if (!isClear) {
    double* const end = ring.entries + ring.size;
    std::rotate(ring.entries, ring.entries + ring.write, end);
    if (maxima < ring.size) {
      std::copy(end - maxima, end, ring.entries);
    } else {
      std::fill_n(end, maxima - ring.size, 0.0);
    }
  }
  ring.write = maxima < ring.size ? 0 : ring.size;
  ring.size = maxima;
}

void LookaheadWindow::rebuildAverages() noexcept {
  const auto n = static_cast<unsigned>(activeSamples);
  WindowLane& w = window;
  // The entry `j` samples before the next one.
  const auto ago = [](const WindowLane::Ring& ring, unsigned j) -> double& {
    return ring.entries[j <= ring.write ? ring.write - j : ring.write + ring.size - j];
  };
  w.length1 = 3 * n / 4;
  w.length2 = n / 4;
  w.scale1 = 1.0 / w.length1;
  w.scale2 = 1.0 / w.length2;
  w.means.size = ringOf(w.length2);
  w.means.write = 0;

  w.sum1 = 0.0;
  for (unsigned j = 1; j <= w.length1; ++j) w.sum1 += ago(w.maxima, j);
  w.sum2 = 0.0;
  double earlier = w.sum1;  // the first sum as it was j samples ago
  for (unsigned j = 1; j <= w.length2; ++j) {
    const double y = w.scale1 * earlier;
    ago(w.means, j) = y;
    w.sum2 += y;
    earlier += ago(w.maxima, j + w.length1) - ago(w.maxima, j);
  }
}

void LookaheadWindow::fetch(int frames) const noexcept {
  const auto part = [frames](const double* entries, unsigned size, unsigned position) {
    const int count = std::min(frames, static_cast<int>(size));
    const int toEnd = std::min(count, static_cast<int>(size - position));
    prefetch(entries + position, toEnd);
    prefetch(entries, count - toEnd);
  };
  const unsigned small = std::min(window.levels, WindowLane::kUnrolled);
  prefetch(window.recent, static_cast<int>(small) * WindowLane::kRecent);
  for (unsigned level = small; level < window.levels; ++level) {
    const unsigned size = 1U << level;
    double* const ring = window.tree + (size - 1);
    part(ring, size, window.treePosition & (size - 1));
    if (level + 1 < window.levels || window.lastLag == size) continue;
    part(ring, size, (window.treePosition - window.lastLag) & (size - 1));
  }
  if (!window.averaging) return;
  const auto ring = [&part](const WindowLane::Ring& past, unsigned length) {
    part(past.entries, past.size, past.write);
    part(past.entries, past.size,
         past.write >= length ? past.write - length : past.write + past.size - length);
  };
  ring(window.maxima, window.length1);
  ring(window.means, window.length2);
}

void LookaheadWindow::beginBlock(int frames, int samples, bool fixed) noexcept {
  adopt(std::clamp(samples, 0, mostSamples), fixed);
  isClear = false;
  if (!window.averaging) gap += static_cast<unsigned>(frames);
  if (window.loudest > kLoud) loudSamples = 2 * kMaxSamples;
  window.loudest = 0.0;
  if (loudSamples <= 0) return;
  if (window.averaging) rebuildAverages();
  loudSamples -= frames;
}
