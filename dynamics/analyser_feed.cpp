#include "dynamics/analyser_feed.h"

#include <algorithm>
#include <new>

#include "platform/index.h"

void AnalyserFeed::reset() noexcept {
  const OnDemand<Traces>::Use traces(kept);
  if (traces.get() != nullptr) {
    for (auto& ring : traces.get()->rings) ring.clear();
  }
  written = 0;
  traceEnds.fill(0);
  beginBlock();
}

void AnalyserFeed::beginBlock() noexcept {
  analyserWrite.store(static_cast<std::uint32_t>(written), std::memory_order_release);
}

template <typename Sample>
void AnalyserFeed::write(Trace trace, const Sample* signal, int frames, double gain) noexcept {
  const OnDemand<Traces>::Use traces(kept);
  if (traces.get() == nullptr) return;
  auto& ring = traces.get()->rings[at(trace)];
  std::uint64_t& end = traceEnds[at(trace)];
  if (end != written) ring.clear();
  end = written + static_cast<std::uint64_t>(frames);
  for (int i = 0; i < frames; ++i) {
    ring.store(written + static_cast<std::uint64_t>(i), static_cast<double>(signal[i]) * gain);
  }
}

template void AnalyserFeed::write(Trace, const float*, int, double) noexcept;
template void AnalyserFeed::write(Trace, const double*, int, double) noexcept;

void AnalyserFeed::copyLatest(double* const buffers[kTraces], int n) const noexcept {
  const auto count = static_cast<std::size_t>(std::clamp(n, 0, static_cast<int>(kSize)));
  const std::shared_ptr<Traces> traces = kept.get();
  if (traces == nullptr) {
    for (std::size_t t = 0; t < kTraces; ++t) std::fill_n(buffers[t], count, 0.0);
    if (wanted.exchange(true, std::memory_order_relaxed)) return;
    try {
      addReader();
    } catch (const std::bad_alloc&) {
      wanted.store(false, std::memory_order_relaxed);
    }
    return;
  }
  const std::size_t start = analyserWrite.load(std::memory_order_acquire) + kSize - count;
  for (std::size_t t = 0; t < kTraces; ++t) {
    for (std::size_t i = 0; i < count; ++i) buffers[t][i] = traces->rings[t].load(start + i);
  }
}
