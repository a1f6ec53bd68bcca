#include "dynamics/lookahead_window.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

namespace {

constexpr int kChunk = 512;    // samples that go through the tree's levels at once
constexpr int kPlainUpTo = 3;  // samples that are too few for two averages
constexpr double kFlush = 1e-30;

void maximumOf(const double* a, const double* b, double* out, int count) noexcept {
  for (int i = 0; i < count; ++i) out[i] = std::max(a[i], b[i]);
}

/// One level of the tree: `out` gets the larger of `in` and of `in` `lag` samples before, which
/// stands in the ring of `size` entries up to where the chunk itself reaches back far enough.
void maximumWithEarlier(double* ring, int size, int position, int lag, const double* in,
                        double* out, int frames) noexcept {
  const int fromRing = std::min(lag, frames);
  const int read = (position + size - lag) & (size - 1);
  const int toEnd = std::min(fromRing, size - read);
  maximumOf(ring + read, in, out, toEnd);
  maximumOf(ring, in + toEnd, out + toEnd, fromRing - toEnd);
  maximumOf(in, in + fromRing, out + fromRing, frames - fromRing);

  const int kept = std::min(frames, size);
  const double* const newest = in + (frames - kept);
  const int write = (position + frames - kept) & (size - 1);
  const int before = std::min(kept, size - write);
  std::copy_n(newest, before, ring + write);
  std::copy_n(newest + before, kept - before, ring);
}

}  // namespace

int lookaheadSamples(float ms, double rate) noexcept {
  const double samples = (static_cast<double>(ms) * 0.001) * rate;
  if (!(samples > 0.0)) return 0;
  return static_cast<int>(std::min<double>(samples, LookaheadWindow::kMaxSamples));
}

LookaheadWindow::LookaheadWindow() : tree(kRingSize), ring1(kRingSize), ring2(kRingSize) {}

void LookaheadWindow::setSampleRate(double rate) noexcept {
  sampleRate = rate;
  design();
}

void LookaheadWindow::setLookahead(float ms) noexcept {
  lookaheadMs = ms;
  design();
}

void LookaheadWindow::design() noexcept {
  pendingSamples.store(::lookaheadSamples(lookaheadMs, sampleRate), std::memory_order_relaxed);
}

void LookaheadWindow::clear() noexcept {
  for (auto* ring : {&tree, &ring1, &ring2}) std::fill(ring->begin(), ring->end(), 0.0);
  treePosition = 0;
  write = 0;
  // The next block takes up the lookahead anew, and with it the sums.
  activeSamples = 0;
  activeSize = 1;
  activeLevels = 0;
  activeExtra = 0;
}

void LookaheadWindow::adopt(int samples) noexcept {
  if (samples == activeSamples) return;
  activeSamples = samples;
  activeSize = 1;
  activeLevels = 0;
  for (; activeSize < static_cast<std::uint32_t>(samples); activeSize *= 2) ++activeLevels;
  activeExtra = activeLevels > 0 ? activeSize - static_cast<std::uint32_t>(samples) : 0;
  if (samples > kPlainUpTo) rebuildAverages();
}

void LookaheadWindow::rebuildAverages() noexcept {
  constexpr std::uint32_t mask = kRingSize - 1;
  const auto n = static_cast<std::uint32_t>(activeSamples);
  length1 = 3 * n / 4;
  length2 = n / 4;
  scale1 = 1.0 / length1;
  scale2 = 1.0 / length2;

  sum1 = 0.0;
  for (std::uint32_t j = 1; j <= length1; ++j) sum1 += ring1[(write - j) & mask];
  sum2 = 0.0;
  double earlier = sum1;  // the first sum as it was j samples ago
  for (std::uint32_t j = 1; j <= length2; ++j) {
    const double y = scale1 * earlier;
    ring2[(write - j) & mask] = y;
    sum2 += y;
    earlier += ring1[(write - j - length1) & mask] - ring1[(write - j) & mask];
  }
}

void LookaheadWindow::process(double* signal, int frames) noexcept {
  if (frames <= 0) return;
  adopt(pendingSamples.load(std::memory_order_relaxed));
  for (int done = 0; done < frames; done += kChunk) {
    slideMaximum(signal + done, std::min(kChunk, frames - done));
  }
  if (activeSamples > kPlainUpTo) average(signal, frames);
  write = (write + static_cast<std::uint32_t>(frames)) & (kRingSize - 1);
}

void LookaheadWindow::slideMaximum(double* signal, int frames) noexcept {
  std::array<double, kChunk> other;
  double* in = signal;
  double* out = other.data();
  const auto position = static_cast<int>(treePosition);
  for (std::uint32_t level = 0; level < activeLevels; ++level) {
    const int size = 1 << level;
    const bool last = level + 1 == activeLevels;
    const int lag = size - static_cast<int>(last ? activeExtra : 0);
    maximumWithEarlier(tree.data() + (size - 1), size, position, lag, in, out, frames);
    std::swap(in, out);
  }
  if (in != signal) std::copy_n(in, frames, signal);
  treePosition = (treePosition + static_cast<std::uint32_t>(frames)) & (activeSize - 1);
}

void LookaheadWindow::average(double* signal, int frames) noexcept {
  constexpr std::uint32_t mask = kRingSize - 1;
  double* const history1 = ring1.data();
  double* const history2 = ring2.data();
  double first = sum1;
  double second = sum2;
  std::uint32_t position = write;
  for (int i = 0; i < frames; ++i, ++position) {
    const double x = signal[i];
    first += x - history1[(position - length1) & mask];
    first = (first + kFlush) - kFlush;
    history1[position & mask] = x;
    const double y = scale1 * first;
    second += y - history2[(position - length2) & mask];
    second = (second + kFlush) - kFlush;
    history2[position & mask] = y;
    signal[i] = scale2 * second;
  }
  sum1 = first;
  sum2 = second;
}
