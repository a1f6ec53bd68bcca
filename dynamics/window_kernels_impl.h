#pragma once

#include "analysis/vector_math.h"
#include "dynamics/detector_kernels.h"

// What a lookahead window does along time, a chunk of one detector at once. As vector_types.h: a
// copy per instruction set, nothing of the standard library.

namespace {  // NOLINT(google-build-namespaces, cert-dcl59-cpp): one copy per instruction set

constexpr int kChunk = DetectorKernels::kChunk;
constexpr int kSlack = 8;  // what a vector may read or write beyond a chunk
constexpr double kFlush = 1e-30;
constexpr double kNoLevel = 1e150;  // from here on (its square overflows) a level is none

/// A chunk of one detector along time; vectors may run into the slack.
struct TimeChunk {
  double samples[kChunk + kSlack];
};

/// Short copies, which the compiler would make calls of the library's.
template <int T>
inline void copy(const double* from, int count, double* to) noexcept {
  int i = 0;
  for (; i + T <= count; i += T) {
    auto samples = load<T>(from + i);
    asm("" : "+x"(samples));  // NOLINT(hicpp-no-assembler): no instruction
    store<T>(to + i, samples);
  }
  for (; i < count; ++i) to[i] = from[i];
}

// The sliding maximum, along time.

/// A chunk with the samples before it in front.
struct WindowChunk {
  double memory[WindowLane::kRecent + kChunk + kSlack];
  [[nodiscard]] double* samples() noexcept { return memory + WindowLane::kRecent; }
};

/// The size of a sample, 0 for what is no number.
template <int T>
inline Vector<T> sizeOf(Vector<T> x) noexcept {
  const auto size = larger<T>(x, -x);
  return size < kNoLevel ? size : Vector<T>{};
}

/// Levels of a signal; returns the largest.
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

inline int least(int x, unsigned y) noexcept {
  return x < static_cast<int>(y) ? x : static_cast<int>(y);
}

/// One of the tree's small levels: `entries` come in front of the chunk and leave behind it.
template <int T>
inline void maximumOfRecent(double* entriesEnd, unsigned size, unsigned lag, double* in,
                            double* out, int frames) noexcept {
  const int kept = size < T ? T : static_cast<int>(size);
  copy<T>(entriesEnd - kept, kept, in - kept);
  maximumOf<T>(in - lag, in, out, frames);
  copy<T>(in + (frames - kept), kept, entriesEnd - kept);
}

/// One of the tree's large levels, a ring: it gives what lies before the chunk.
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

/// The largest of the last samples of `from`, a level of any sign; the result stands in `a` or `b`.
template <int T>
double* slideMaximum(WindowLane& window, const double* from, int frames, WindowChunk& a,
                     WindowChunk& b) noexcept {
  double* in = a.samples();
  double* out = b.samples();
  const double loudest = rectify<T>(from, frames, in);
  window.loudest = loudest > window.loudest ? loudest : window.loudest;
  double* recentEnd = window.recent;
  for (unsigned level = 0; level < window.levels; ++level) {
    const unsigned size = 1U << level;
    const unsigned lag = level + 1 == window.levels ? window.lastLag : size;
    recentEnd += WindowLane::kRecent;
    if (level < WindowLane::kUnrolled) {
      maximumOfRecent<T>(recentEnd, size, lag, in, out, frames);
    } else {
      maximumThroughRing<T>(window.tree + (size - 1), size, window.treePosition, lag, in, out,
                            frames);
    }
    double* const next = in;
    in = out;
    out = next;
  }
  const unsigned mask = (1U << window.levels) - 1;
  window.treePosition = (window.treePosition + static_cast<unsigned>(frames)) & mask;
  return in;
}

// The moving averages, along time but for their sums.

/// What a sum over `length` samples changes by at each of `in`, which its ring takes in from
/// `write` on.
template <int T>
inline void takeIn(double* ring, unsigned write, unsigned length, const double* in, double* out,
                   int frames) noexcept {
  constexpr unsigned size = WindowLane::kRingSize;
  const int upToEnd = least(frames, size - write);
  copy<T>(in, upToEnd, ring + write);
  copy<T>(in + upToEnd, frames - upToEnd, ring);
  // The entries that the next chunk overwrites have left the near caches long ago.
  for (unsigned ahead = write + kChunk; ahead < write + 2 * kChunk; ahead += kSlack) {
    __builtin_prefetch(ring + (ahead & WindowLane::kRingMask), 1, 2);
  }
  const unsigned read = (write - length) & WindowLane::kRingMask;
  const int beforeEnd = least(frames, size - read);
  const auto difference = [&](int from, int to, const double* before) {
    for (int i = from; i < to; i += T) {
      store<T>(out + i, load<T>(in + i) - load<T>(before + (i - from)));
    }
  };
  difference(0, beforeEnd, ring + read);
  difference(beforeEnd, frames, ring);
}

}  // namespace
