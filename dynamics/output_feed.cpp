#include "dynamics/output_feed.h"

void OutputFeed::reset() noexcept {
  for (auto& ring : rings) ring.clear();
  written.fetch_add(kSize, std::memory_order_release);
}

template <typename Sample>
void OutputFeed::write(const Sample* const* signals, int channels, int frames) noexcept {
  if (readers.load(std::memory_order_relaxed) == 0) return;
  const std::uint64_t start = written.load(std::memory_order_relaxed);
  const auto count = static_cast<std::uint64_t>(frames);
  for (int c = 0; c < kChannels; ++c) {
    auto& ring = rings[static_cast<std::size_t>(c)];
    const Sample* const signal = c < channels ? signals[c] : nullptr;
    if (signal == nullptr) {
      for (std::uint64_t i = 0; i < count; ++i) ring.store(start + i, 0.0F);
      continue;
    }
    for (std::uint64_t i = 0; i < count; ++i) ring.store(start + i, static_cast<float>(signal[i]));
  }
  written.store(start + count, std::memory_order_release);
}

template void OutputFeed::write(const float* const*, int, int) noexcept;
template void OutputFeed::write(const double* const*, int, int) noexcept;
