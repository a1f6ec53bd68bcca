#include "dynamics/delay_lines.h"

#include <algorithm>
#include <cassert>

#include "platform/index.h"
#include "platform/prefetch.h"

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
  /// Delays by `lag`, up to the size, through a ring that keeps more; returns the new position.
  int record(int position, double* buffer, int frames, int lag) const noexcept {
    // A piece is written before it is read, since the delay may be shorter than the piece. It must
    // not be so long that it overwrites entries still to be read.
    const int longest = size - lag;
    for (int done = 0; done < frames;) {
      const int piece = std::min(longest, frames - done);
      write(position, buffer + done, piece);
      if (lag > 0) read(before(position, lag), buffer + done, piece);
      position += piece;
      if (position >= size) position -= size;
      done += piece;
    }
    return position;
  }
  /// Delays by the size; returns the new position.
  int exchange(int position, double* buffer, int frames) const noexcept {
    for (int done = 0; done < frames;) {
      const int piece = std::min(size - position, frames - done);
      std::swap_ranges(buffer + done, buffer + done + piece, entries + position);
      position += piece;
      if (position >= size) position -= size;
      done += piece;
    }
    return position;
  }
  void fetch(int position, int count) const noexcept {
    const int toEnd = std::min(count, size - position);
    prefetch(entries + position, toEnd);
    prefetch(entries, std::min(count - toEnd, position));
  }
  [[nodiscard]] int before(int position, int lag) const noexcept {
    return position >= lag ? position - lag : position - lag + size;
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

void DelayLines::delay(double* buffer, int line, int frames, int delay, std::uint64_t now,
                       bool fixed) noexcept {
  Line& own = lines[at(line)];
  assert(own.size > 0);
  if (own.size == 0) return;
  const int lag = std::clamp(delay, 0, longest[at(line / 2)]);
  if (fixed && lag == 0) return;
  if (own.end != now) own.known = 0;
  setLength(own, fixed ? lag : own.size);
  const Ring ring{memory.data() + own.start, own.length};
  own.at = fixed ? ring.exchange(own.at, buffer, frames) : ring.record(own.at, buffer, frames, lag);
  std::fill_n(buffer, std::clamp(lag - own.known, 0, frames), 0.0);
  own.known = std::min(own.known + std::min(frames, own.length), own.length);
  own.end = now + static_cast<std::uint64_t>(frames);
}

/// Keeps the last samples known, as many as fit.
void DelayLines::setLength(Line& line, int length) noexcept {
  if (line.length == length) return;
  double* const entries = memory.data() + line.start;
  const int kept = std::min(line.known, length);
  if (kept > 0) {
    std::rotate(entries, entries + line.at, entries + line.length);
    std::copy_n(entries + line.length - kept, kept, entries);
  }
  line.known = kept;
  line.at = kept % length;
  line.length = length;
}

void DelayLines::fetch(int line, int frames, int delay, bool fixed) const noexcept {
  const Line& own = lines[at(line)];
  const Ring ring{memory.data() + own.start, own.length};
  if (own.length == 0 || (fixed && delay == 0)) return;
  ring.fetch(own.at, frames);
  if (delay > 0 && delay < own.length) ring.fetch(ring.before(own.at, delay), frames);
}

void DelayLines::forget() noexcept {
  for (Line& line : lines) line.known = 0;
}
