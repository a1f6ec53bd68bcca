#pragma once

#include <atomic>
#include <cstdint>

/// Limits how often changed parameters may redesign filters: once per 100 ms of the clock or per
/// 4096 processed samples, and whenever it is forced or the host renders offline.
///
/// Threads: `addSamples` on the audio thread; `force`, `opens` and `owe` on one control thread at a
/// time; `isOwed` anywhere.
class UpdateGate {
 public:
  void addSamples(std::int32_t frames) noexcept {
    samplesSinceUpdate.fetch_add(static_cast<std::uint32_t>(frames), std::memory_order_relaxed);
  }
  /// The next `opens` says yes, however late it comes.
  void force() noexcept { forced = true; }
  /// Whether to redesign now; if not, that is owed from here on until it says yes. `milliseconds`:
  /// any clock that never runs backwards.
  [[nodiscard]] bool opens(std::int64_t milliseconds, bool offline) noexcept;
  /// The redesign let through has failed: it is owed again, and the next `opens` says yes.
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
