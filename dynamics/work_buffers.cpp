#include "dynamics/work_buffers.h"

#include <algorithm>

void WorkBuffers::allocate(int frames) {
  constexpr std::size_t kPairs = 4;
  constexpr std::size_t kBuffers = kChannels * (kPairs + 2 * kBands) + 1;
  const auto length = static_cast<std::size_t>(frames);
  std::vector<double>().swap(memory);  // the old block goes before the new one comes
  memory.assign(kBuffers * length, 0.0);
  maxFrames = frames;

  double* next = memory.data();
  const auto take = [&next, length] {
    double* const buffer = next;
    next += length;
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
}

void WorkBuffers::clear() noexcept { std::fill(memory.begin(), memory.end(), 0.0); }
