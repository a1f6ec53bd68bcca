#include "dynamics/delay_rings.h"

#include <algorithm>
#include <cassert>

namespace {

constexpr int kMask = DelayRings::kSize - 1;
// Rings lie further apart than their size, by about what a ring uses at a time (a filter's delay
// and a block). Otherwise their common position would map all of them to the same few cache sets.
constexpr int kStride = DelayRings::kSize + 1024 + 72;

void writeRing(double* ring, int position, const double* from, int count) noexcept {
  const int toEnd = std::min(count, DelayRings::kSize - position);
  std::copy_n(from, toEnd, ring + position);
  if (toEnd < count) std::copy_n(from + toEnd, count - toEnd, ring);
}

/// Prefetches the entries that the next block of this length will overwrite: with so many long
/// rings they have left the near caches since they were written.
void fetchAhead(const double* ring, int position, int count) noexcept {
  constexpr int kLine = 8;     // samples
  constexpr int kMost = 1024;  // samples; longer blocks do not need more
  for (int i = 0; i < std::min(count, kMost); i += kLine) {
    __builtin_prefetch(ring + ((position + i) & kMask), 1, 2);
  }
}

void readRing(const double* ring, int position, double* to, int count) noexcept {
  const int toEnd = std::min(count, DelayRings::kSize - position);
  std::copy_n(ring + position, toEnd, to);
  if (toEnd < count) std::copy_n(ring, count - toEnd, to + toEnd);
}

}  // namespace

DelayRings::DelayRings() : memory(std::size_t{kLines} * kStride) {}

std::size_t DelayRings::lineOf(int ring, int owner) noexcept {
  assert(ring >= (owner == kCrossover ? kExtBefore : 0) && ring < kRings);
  assert(owner >= 0 && owner <= kCrossover);
  // The crossover's lines come after those of the bands.
  return static_cast<std::size_t>(owner == kCrossover ? kRings * kNumBands + ring - kExtBefore
                                                      : ring * kNumBands + owner);
}

void DelayRings::delayLine(double* buffer, int ring, int owner, int frames, int delay) noexcept {
  const std::size_t index = lineOf(ring, owner);
  double* const entries = memory.data() + index * kStride;
  Line& line = lines[index];
  if (line.end != now) line.known = 0;
  const int lag = std::clamp(delay, 0, kMaxDelay);
  // A piece is written before it is read, since the delay may be shorter than the piece. It must
  // not be so long that it overwrites entries still to be read.
  const int longest = kSize - lag;
  int at = position();
  for (int done = 0; done < frames;) {
    const int piece = std::min(longest, frames - done);
    writeRing(entries, at, buffer + done, piece);
    if (lag > 0) readRing(entries, (at - lag) & kMask, buffer + done, piece);
    const int unknown = std::clamp(lag - line.known - done, 0, piece);
    std::fill_n(buffer + done, unknown, 0.0);
    at = (at + piece) & kMask;
    done += piece;
  }
  line.known = std::min(line.known + std::min(frames, kSize), kSize);
  line.end = now + static_cast<std::uint64_t>(frames);
  fetchAhead(entries, at, frames);
}

void DelayRings::advance(int frames) noexcept { now += static_cast<std::uint64_t>(frames); }

void DelayRings::forget(int band) noexcept {
  for (int ring = 0; ring < kRings; ++ring) lines[lineOf(ring, band)].known = 0;
}

void DelayRings::clear() noexcept {
  lines.fill({});
  now = 0;
}
