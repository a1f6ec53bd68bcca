#include "core/update_gate.h"

namespace {

constexpr std::int64_t kTickMs = 100;
constexpr std::uint32_t kEnoughSamples = 4096;

}  // namespace

bool UpdateGate::opens(std::int64_t milliseconds, bool offline) noexcept {
  const std::int64_t tick = milliseconds / kTickMs;
  // Only a gate opened by the count restarts the count.
  if (samplesSinceUpdate.load(std::memory_order_relaxed) >= kEnoughSamples) {
    samplesSinceUpdate.store(0, std::memory_order_relaxed);
  } else if (tick == lastTick && !forced && !offline) {
    deferredUpdate.store(true, std::memory_order_relaxed);
    return false;
  }
  lastTick = tick;
  forced = false;
  deferredUpdate.store(false, std::memory_order_relaxed);
  return true;
}
