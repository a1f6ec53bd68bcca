#include "dynamics/work_buffers.h"

#include <algorithm>

namespace {

constexpr std::size_t kPairs = 4;
constexpr std::size_t kBuffers = WorkBuffers::kChannels * (kPairs + 2 * WorkBuffers::kBands) + 1;

}  // namespace

WorkBuffers::WorkBuffers(int frames)
    : maxFrames(frames),
      memory(kBuffers * static_cast<std::size_t>(frames)),
      meterMemory(kChannels * static_cast<std::size_t>(frames)) {
  double* next = memory.data();
  const auto take = [&next, frames] {
    double* const buffer = next;
    next += frames;
    return buffer;
  };
  for (Pair* pair : {&wet, &dry, &rest, &ext}) {
    for (double*& channel : *pair) channel = take();
  }
  for (BandSet* set : {&band, &bandCopy}) {
    for (auto& channel : *set) {
      for (double*& slot : channel) slot = take();
    }
  }
  ramp = take();
  reduction = {meterMemory.data(), meterMemory.data() + frames};
}

void WorkBuffers::clear() noexcept { std::fill(memory.begin(), memory.end(), 0.0); }
