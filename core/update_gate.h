#pragma once

#include <atomic>
#include <cstdint>

/// Limits how often changed parameters redesign filters: once per 100 ms of the clock or per 4096
/// processed samples, and whenever forced or while the host renders offline.
///
/// Threads: `addSamples` on the audio thread; `force`, `opens` and `owe` on one control thread at a
/// time; `isOwed` anywhere.
class UpdateGate {
 public:
  void addSamples(std::int32_t frames) noexcept {
    samplesSinceUpdate.fetch_add(static_cast<std::uint32_t>(frames), std::memory_order_relaxed);
  }
  /// The next `opens` returns true, however late it comes.
  void force() noexcept { forced = true; }
  /// Whether to redesign now; if not, a redesign is owed until it returns true. `milliseconds`: any
  /// clock that never runs backwards.
  [[nodiscard]] bool opens(std::int64_t milliseconds, bool offline) noexcept;
  /// The redesign just allowed has failed: it is owed again, and the next `opens` returns true.
  void owe() noexcept {
    forced = true;
    deferredUpdate.store(true, std::memory_order_relaxed);
  }
  [[nodiscard]] bool isOwed() const noexcept {
    return deferredUpdate.load(std::memory_order_relaxed);
  }

 private:
  std::atomic<std::uint32_t> samplesSinceUpdate{0};
  std::atomic<bool> deferredUpdate{false};
  std::int64_t lastTick = -1;  // of 100 ms
  bool forced = false;
};
