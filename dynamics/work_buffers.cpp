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

}  // namespace

WorkBuffers::WorkBuffers(int frames)
    : maxFrames(frames),
      memory(kBuffers * static_cast<std::size_t>(frames + kApart)),
      meterMemory(kChannels * static_cast<std::size_t>(frames)) {
  double* next = memory.data();
  const auto take = [&next, frames](int times = 1) {
    double* const buffer = next;
    next += static_cast<std::ptrdiff_t>(times) * frames + kApart;
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
  reduction = {meterMemory.data(), meterMemory.data() + frames};
}

void WorkBuffers::clear() noexcept { std::fill(memory.begin(), memory.end(), 0.0); }
