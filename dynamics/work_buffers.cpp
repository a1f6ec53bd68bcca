#include "dynamics/work_buffers.h"

#include <algorithm>
#include <cstddef>

namespace {

constexpr std::size_t kPairs = 4;
constexpr std::size_t kBandSets = 3;
constexpr std::size_t kSingle = 1 + 2 * 2;  // the ramp, and two buffers of twice the length
constexpr std::size_t kBuffers =
    WorkBuffers::kChannels * (kPairs + kBandSets * kNumBands) + kSingle;

// Buffers are used side by side: their starts must not share a cache set.
constexpr int kApart = 72;  // samples
constexpr std::size_t kSamples = kBuffers * (WorkBuffers::kFrames + kApart);

}  // namespace

WorkBuffers::WorkBuffers() : memory(new (kAlignment) double[kSamples]) {
  double* next = memory.get();
  const auto take = [&next](int times = 1) {
    double* const buffer = next;
    next += static_cast<std::ptrdiff_t>(times) * kFrames + kApart;
    return buffer;
  };
  for (Pair* pair : {&wet, &dry, &rest, &ext}) {
    for (double*& channel : *pair) channel = take();
  }
  for (BandSet* set : {&band, &bandCopy, &side}) {
    for (auto& channel : *set) {
      for (double*& slot : channel) slot = take();
    }
  }
  ramp = take();
  upSignal = take(2);
  upGain = take(2);
  reduction = {meterMemory[0].data(), meterMemory[1].data()};
}

void WorkBuffers::touch() noexcept {
  std::fill_n(memory.get(), kSamples, 0.0);
  for (auto& channel : meterMemory) channel.fill(0.0F);
}
