#include "dynamics/delay_rings.h"

#include <algorithm>
#include <cassert>

namespace {

constexpr int kMask = DelayRings::kSize - 1;
// Rings stand further apart than their size, or all would share the few cache sets of their common
// position: by what a ring has in use at a time, a filter's delay and a block.
constexpr int kStride = DelayRings::kSize + 1024 + 72;

void writeRing(double* ring, int position, const double* from, int count) noexcept {
  const int toEnd = std::min(count, DelayRings::kSize - position);
  std::copy_n(from, toEnd, ring + position);
  if (toEnd < count) std::copy_n(from + toEnd, count - toEnd, ring);
}

/// Fetches what the next block of this length will overwrite: with so many long rings taking turns,
/// it has left the near caches since it was written.
void fetchAhead(const double* ring, int position, int count) noexcept {
  constexpr int kLine = 8;     // samples
  constexpr int kMost = 1024;  // a longer block has time enough on its own
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

DelayRings::DelayRings() : memory(static_cast<std::size_t>(kRings) * kBands * kStride) {}

double* DelayRings::slice(int ring, int band) noexcept {
  assert(ring >= 0 && ring < kRings && band >= 0 && band < kBands);
  return memory.data() + static_cast<std::size_t>(ring * kBands + band) * kStride;
}

void DelayRings::delayLine(double* buffer, int ring, int band, int frames, int delay) noexcept {
  double* const entries = slice(ring, band);
  const int lag = std::clamp(delay, 0, kMaxDelay);
  // A piece is written before it is read, as it may reach back into itself: no longer than what
  // leaves the entries that it needs.
  const int longest = kSize - lag;
  int position = delayPosition;
  for (int done = 0; done < frames;) {
    const int piece = std::min(longest, frames - done);
    writeRing(entries, position, buffer + done, piece);
    if (lag > 0) readRing(entries, (position - lag) & kMask, buffer + done, piece);
    position = (position + piece) & kMask;
    done += piece;
  }
  fetchAhead(entries, position, frames);
}

void DelayRings::advance(int frames) noexcept {
  delayPosition = (delayPosition + (frames & kMask)) & kMask;
}

void DelayRings::clearBand(int band) noexcept {
  for (int ring = 0; ring < kRings; ++ring) std::fill_n(slice(ring, band), kSize, 0.0);
}

void DelayRings::clear() noexcept {
  std::fill(memory.begin(), memory.end(), 0.0);
  delayPosition = 0;
}
