#pragma once

#include "analysis/vector_math.h"
#include "dynamics/detector_kernels.h"

// The part of a lookahead window that runs along time, one chunk of one detector at a time. As in
// vector_types.h, one copy per instruction set and nothing of the standard library.

namespace {  // NOLINT(google-build-namespaces, cert-dcl59-cpp): one copy per instruction set

constexpr int kChunk = DetectorKernels::kChunk;
constexpr int kSlack = 8;  // what a vector may read or write beyond a chunk
constexpr double kFlush = 1e-30;
constexpr double kNoLevel = 1e150;  // from here on, where squares overflow, a level counts as 0

/// A chunk of one detector along time; vectors may run into the slack.
struct TimeChunk {
  alignas(64) double samples[kChunk + kSlack];
};

template <int T>
inline void copyVector(const double* from, double* to) noexcept {
  auto samples = load<T>(from);
  asm("" : "+x"(samples));  // NOLINT(hicpp-no-assembler): no instruction
  store<T>(to, samples);
}

/// Copies few samples, where the compiler would otherwise call the library. The two do not overlap.
template <int T>
inline void copy(const double* from, int count, double* to) noexcept {
  if (count < T) {
    if constexpr (T > 2) return copy<T / 2>(from, count, to);
    if (count > 0) *to = *from;
    return;
  }
  for (int i = 0; i + T < count; i += T) copyVector<T>(from + i, to + i);
  copyVector<T>(from + count - T, to + count - T);
}

// The sliding maximum, along time.

/// A chunk, preceded by room for the samples before it.
struct WindowChunk {
  alignas(64) double memory[WindowLane::kRecent + kChunk + kSlack];
  [[nodiscard]] double* samples() noexcept { return memory + WindowLane::kRecent; }
};

/// The absolute value of a sample; 0 for NaN and absurdly large ones.
template <int T>
inline Vector<T> sizeOf(Vector<T> x) noexcept {
  const auto size = larger<T>(x, -x);
  return size < kNoLevel ? size : Vector<T>{};
}

/// Turns a signal into levels; returns the largest.
template <int T>
inline double rectify(const double* from, int frames, double* to) noexcept {
  Vector<T> loudest = {};
  int i = 0;
  for (; i + T <= frames; i += T) {
    const auto level = sizeOf<T>(load<T>(from + i));
    loudest = larger<T>(loudest, level);
    store<T>(to + i, level);
  }
  if (i < frames) {
    double rest[T] = {};
    for (int j = 0; i + j < frames; ++j) rest[j] = from[i + j];
    const auto level = sizeOf<T>(load<T>(rest));
    loudest = larger<T>(loudest, level);
    store<T>(to + i, level);
  }
  double largest = 0.0;
  for (int j = 0; j < T; ++j) largest = loudest[j] > largest ? loudest[j] : largest;
  return largest;
}

template <int T>
inline void maximumOf(const double* a, const double* b, double* out, int count) noexcept {
  for (int i = 0; i < count; i += T) {
    store<T>(out + i, larger<T>(load<T>(a + i), load<T>(b + i)));
  }
}

/// The same of `in` and what stands `lag` before it, a power of two, without reading across two
/// vectors that have just been stored.
template <int T, int lag>
inline void maximumWithEarlier(const double* in, double* out, int count) noexcept {
  if constexpr (lag >= T) {
    maximumOf<T>(in - lag, in, out, count);
  } else {
    auto before = load<T>(in - T);
    for (int i = 0; i < count; i += T) {
      const auto now = load<T>(in + i);
      store<T>(out + i, larger<T>(across<T, T - lag>(before, now), now));
      before = now;
    }
  }
}

inline int least(int x, unsigned y) noexcept {
  return x < static_cast<int>(y) ? x : static_cast<int>(y);
}

/// One of the tree's small levels: its entries are put before the chunk, and the last ones of the
/// chunk replace them.
template <int T>
inline void maximumOfRecent(double* entriesEnd, unsigned size, unsigned lag, double* in,
                            double* out, int frames) noexcept {
  const int kept = size < T ? T : static_cast<int>(size);
  copy<T>(entriesEnd - kept, kept, in - kept);
  switch (lag) {
    case 1:
      maximumWithEarlier<T, 1>(in, out, frames);
      break;
    case 2:
      maximumWithEarlier<T, 2>(in, out, frames);
      break;
    case 4:
      maximumWithEarlier<T, 4>(in, out, frames);
      break;
    default:
      maximumOf<T>(in - lag, in, out, frames);
  }
  copy<T>(in + (frames - kept), kept, entriesEnd - kept);
}

/// One of the tree's large levels: a ring that holds the samples before the chunk.
template <int T>
inline void maximumThroughRing(double* ring, unsigned size, unsigned position, unsigned lag,
                               const double* in, double* out, int frames) noexcept {
  const unsigned write = position & (size - 1);
  const unsigned read = (write - lag) & (size - 1);
  const int fromRing = least(frames, lag);
  const int beforeEnd = least(fromRing, size - read);
  maximumOf<T>(ring + read, in, out, beforeEnd);
  maximumOf<T>(ring, in + beforeEnd, out + beforeEnd, fromRing - beforeEnd);
  maximumOf<T>(in, in + fromRing, out + fromRing, frames - fromRing);
  const int upToEnd = least(frames, size - write);
  copy<T>(in, upToEnd, ring + write);
  copy<T>(in + upToEnd, frames - upToEnd, ring);
}

/// The sliding maximum of the absolute values of one detector's signal. A level needs what the one
/// below has just stored: whoever has several detectors steps through their levels in turn.
template <int T>
class SlidingMaximum {
 public:
  void begin(WindowLane& lane, const double* from, int frames) noexcept {
    window = &lane;
    in = a.samples();
    out = b.samples();
    recentEnd = lane.recent;
    const double loudest = rectify<T>(from, frames, in);
    lane.loudest = loudest > lane.loudest ? loudest : lane.loudest;
  }

  /// Does nothing if the window has not got the level.
  void step(unsigned level, int frames) noexcept {
    if (level >= window->levels) return;
    const unsigned size = 1U << level;
    const unsigned lag = level + 1 == window->levels ? window->lastLag : size;
    recentEnd += WindowLane::kRecent;
    if (level < WindowLane::kUnrolled) {
      maximumOfRecent<T>(recentEnd, size, lag, in, out, frames);
    } else {
      maximumThroughRing<T>(window->tree + (size - 1), size, window->treePosition, lag, in, out,
                            frames);
    }
    double* const next = in;
    in = out;
    out = next;
  }

  /// Call after all levels. The result may be written to, and is there until the next `begin`.
  double* end(int frames) noexcept {
    const unsigned mask = (1U << window->levels) - 1;
    window->treePosition = (window->treePosition + static_cast<unsigned>(frames)) & mask;
    return in;
  }

 private:
  WindowLane* window;
  double* in;
  double* out;
  double* recentEnd;
  WindowChunk a;
  WindowChunk b;
};

// The part of the moving averages that runs along time: everything but their sums.

/// Writes to `out` the changes of a sum over `length` samples at each sample of `in`, and stores
/// `in` in its ring.
template <int T>
inline void takeIn(WindowLane::Ring& past, unsigned length, const double* in, double* out,
                   int frames) noexcept {
  double* const ring = past.entries;
  const unsigned size = past.size;
  const unsigned write = past.write;
  const int upToEnd = least(frames, size - write);
  copy<T>(in, upToEnd, ring + write);
  copy<T>(in + upToEnd, frames - upToEnd, ring);
  // Prefetch the entries that the next chunk overwrites: they left the near caches long ago.
  for (unsigned i = kChunk; i < 2 * kChunk; i += kSlack) {
    const unsigned ahead = write + i;
    __builtin_prefetch(ring + (ahead < size ? ahead : ahead - size), 1, 2);
  }
  const unsigned read = write < length ? write + size - length : write - length;
  const int beforeEnd = least(frames, size - read);
  const auto difference = [&](int from, int to, const double* before) {
    for (int i = from; i < to; i += T) {
      store<T>(out + i, load<T>(in + i) - load<T>(before + (i - from)));
    }
  };
  difference(0, beforeEnd, ring + read);
  difference(beforeEnd, frames, ring);
  const unsigned next = write + static_cast<unsigned>(frames);
  past.write = next < size ? next : next - size;
}

}  // namespace
