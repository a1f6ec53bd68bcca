#include "dynamics/output_feed.h"

#include <algorithm>
#include <bit>
#include <new>

std::shared_ptr<OutputFeed::Samples> OutputFeed::makeSamples() const {
  constexpr double kSeconds = 0.6;  // more than any reader goes back
  const double wanted = std::clamp(sampleRate() * kSeconds, 1.0, double{kMostSamples});
  return std::make_shared<Samples>(std::bit_ceil(static_cast<std::size_t>(wanted)));
}

void OutputFeed::setSampleRate(double hz) noexcept {
  if (rate.exchange(hz, std::memory_order_relaxed) == hz) return;
  try {
    kept.remake([this] { return makeSamples(); });
  } catch (const std::bad_alloc&) {
    // Readers go less far back, or need more memory than they should.
  }
}

void OutputFeed::addReader() const {
  kept.addReader([this] { return makeSamples(); });
}

void OutputFeed::reset() noexcept {
  const OnDemand<Samples>::Use samples(kept);
  if (samples.get() != nullptr) {
    for (auto& ring : samples.get()->rings) ring.clear();
  }
  written.fetch_add(kMostSamples, std::memory_order_release);
}

template <typename Sample>
void OutputFeed::write(const Sample* const* signals, int channels, int frames) noexcept {
  const OnDemand<Samples>::Use samples(kept);
  if (samples.get() == nullptr) return;
  const std::uint64_t start = written.load(std::memory_order_relaxed);
  const auto count = static_cast<std::uint64_t>(frames);
  for (int c = 0; c < kChannels; ++c) {
    auto& ring = samples.get()->rings[static_cast<std::size_t>(c)];
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
