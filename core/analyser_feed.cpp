#include "core/analyser_feed.h"

void AnalyserFeed::reset() noexcept {
  for (auto& ring : rings) ring.clear();
  analyserWrite.store(0, std::memory_order_release);
}

void AnalyserFeed::beginBlock(int frames) noexcept {
  const std::uint32_t position = analyserWrite.load(std::memory_order_relaxed);
  // The block before this one is complete: released to the reader together with the position.
  analyserWrite.store((position + static_cast<std::uint32_t>(frames)) % kSize,
                      std::memory_order_release);
}

template <typename Sample>
void AnalyserFeed::write(Trace trace, const Sample* signal, int frames, double gain) noexcept {
  auto& ring = rings[static_cast<std::size_t>(trace)];
  const std::uint32_t position = analyserWrite.load(std::memory_order_relaxed);
  for (int i = 0; i < frames; ++i) {
    ring.store(position + static_cast<std::uint32_t>(i), static_cast<double>(signal[i]) * gain);
  }
}

template void AnalyserFeed::write(Trace, const float*, int, double) noexcept;
template void AnalyserFeed::write(Trace, const double*, int, double) noexcept;

void AnalyserFeed::copyLatest(const std::array<std::span<double>, kTraces>& traces) const noexcept {
  const std::size_t end = analyserWrite.load(std::memory_order_acquire) + kSize;
  for (std::size_t t = 0; t < traces.size(); ++t) {
    const std::size_t count = traces[t].size();
    for (std::size_t i = 0; i < count; ++i) traces[t][i] = rings[t].load(end - count + i);
  }
}
