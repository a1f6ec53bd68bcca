#include "dynamics/delay_lines.h"

#include <algorithm>
#include <cassert>

#include "platform/index.h"

namespace {

// A ring is longer than its delay by what is written before it is read: a slice of a block.
constexpr int kPiece = 512;
constexpr std::size_t kLineOfCache = 8;  // samples
constexpr std::size_t kSetRound = 512;   // samples after which the nearest cache's sets repeat
// About what a ring uses at a time (a block, and what is fetched ahead), and no divisor of a round.
constexpr std::size_t kApart = 72;

std::size_t roundedUp(std::size_t count) noexcept {
  return (count + kLineOfCache - 1) / kLineOfCache * kLineOfCache;
}

/// Lines of one length are written at the same place: their starts must not share a cache set.
std::size_t startAfter(std::size_t start, std::size_t size) noexcept {
  const std::size_t step = size % kSetRound;
  const bool aliases = step < kApart || step > kSetRound - kApart;
  return start + size + (aliases ? 2 * kApart : 0);
}

struct Ring {
  double* entries;
  int size;

  void write(int position, const double* from, int count) const noexcept {
    const int toEnd = std::min(count, size - position);
    std::copy_n(from, toEnd, entries + position);
    if (toEnd < count) std::copy_n(from + toEnd, count - toEnd, entries);
  }
  void read(int position, double* to, int count) const noexcept {
    const int toEnd = std::min(count, size - position);
    std::copy_n(entries + position, toEnd, to);
    if (toEnd < count) std::copy_n(entries, count - toEnd, to + toEnd);
  }
  /// Prefetches the entries that the next block of this length will overwrite: with so many rings
  /// they have left the near caches since they were written.
  void fetchAhead(int position, int count) const noexcept {
    constexpr int kStep = static_cast<int>(kLineOfCache);
    int place = position;
    for (int i = 0; i < std::min(count, kPiece); i += kStep) {
      __builtin_prefetch(entries + place, 1, 2);
      place += kStep;
      if (place >= size) place -= size;
    }
  }
};

}  // namespace

DelayLines::Lines DelayLines::linesOf(const Longest& delays, int place) noexcept {
  Lines lines;
  std::size_t next = static_cast<std::size_t>(place) * kApart;
  for (int i = 0; i < kLines; ++i) {
    const int most = delays[at(i / 2)];
    if (most < 0) continue;
    Line& line = lines[at(i)];
    const std::size_t size = roundedUp(at(most + kPiece));
    line.start = next;
    line.size = static_cast<int>(size);
    next = startAfter(next, size);
  }
  return lines;
}

std::size_t DelayLines::sizeNeeded() const noexcept {
  std::size_t size = 0;
  for (const Line& line : lines) {
    size = std::max(size, line.start + static_cast<std::size_t>(line.size));
  }
  return size;
}

DelayLines::DelayLines(const Longest& delays, int place)
    : longest(delays), lines(linesOf(delays, place)), memory(sizeNeeded()) {}

void DelayLines::delay(double* buffer, int line, int frames, int delay,
                       std::uint64_t now) noexcept {
  Line& own = lines[at(line)];
  assert(own.size > 0);
  if (own.size == 0) return;
  const Ring ring{memory.data() + own.start, own.size};
  if (own.end != now) own.known = 0;
  const int lag = std::clamp(delay, 0, longest[at(line / 2)]);
  // A piece is written before it is read, since the delay may be shorter than the piece. It must
  // not be so long that it overwrites entries still to be read.
  const int longestPiece = own.size - lag;
  int place = own.at;
  for (int done = 0; done < frames;) {
    const int piece = std::min(longestPiece, frames - done);
    ring.write(place, buffer + done, piece);
    const int source = place >= lag ? place - lag : place - lag + own.size;
    if (lag > 0) ring.read(source, buffer + done, piece);
    const int unknown = std::clamp(lag - own.known - done, 0, piece);
    std::fill_n(buffer + done, unknown, 0.0);
    place += piece;
    if (place >= own.size) place -= own.size;
    done += piece;
  }
  own.at = place;
  own.known = std::min(own.known + std::min(frames, own.size), own.size);
  own.end = now + static_cast<std::uint64_t>(frames);
  ring.fetchAhead(place, frames);
}

void DelayLines::forget() noexcept {
  for (Line& line : lines) line.known = 0;
}
