#pragma once

#include <array>
#include <atomic>
#include <mutex>

#include "core/plug.h"
#include "libraries/lv2_wrap/parameter_marks.h"

namespace lv2 {

/// Parameter values between the ports of a host, read on the audio thread, and the effect, which
/// designs filters when they change and so may not be told there.
///
/// Values are plain, in the units of the parameter table.
class ControlExchange {
 public:
  /// `effect` must outlive it.
  explicit ControlExchange(Plug& effect);

  // Audio thread.
  void offer(int id, float plain) noexcept;  ///< a port holds a new value
  [[nodiscard]] bool hasNews() const noexcept { return offered.any(); }
  /// The coming news are all ports behind a restored state: each for itself, links do not spread
  /// them.
  void standAlone() noexcept { alone.store(true, std::memory_order_relaxed); }
  /// Calls `use(id, plain)` for each parameter whose value has changed otherwise than by its port.
  template <typename Use>
  void takeInsideChanges(const Use& use) noexcept {
    changedInside.takeAll([this, &use](int id) { use(id, plainNow(id)); });
  }
  [[nodiscard]] bool hasInsideChanges() const noexcept { return changedInside.any(); }

  // Other threads, and the audio thread where it need not keep real time. They lock.
  /// Hands all news to the effect as one change, which is in force when this returns. Throws
  /// std::bad_alloc; what it had not come to is lost then.
  void deliver();
  /// Looks for values that the effect has changed by itself.
  void findInsideChanges();
  /// Runs `load`, which changes the effect's state, with nothing delivered meanwhile. What it
  /// changed counts as known to the ports.
  template <typename Load>
  void aroundLoading(const Load& load) {
    const std::lock_guard guard(delivering);
    load();
    rememberAll();
  }

  /// What the port of a parameter held last. Any thread.
  [[nodiscard]] float portValue(int id) const noexcept;

 private:
  [[nodiscard]] float plainNow(int id) const noexcept;
  [[nodiscard]] float normalisedNow(int id) const noexcept;
  void deliverOne(int id, bool isAlone);
  void rememberAll() noexcept;

  Plug& effect;
  std::array<std::atomic<float>, kNumParams> ports;  // plain
  ParameterMarks offered;
  ParameterMarks changedInside;
  std::atomic<bool> alone{false};
  std::mutex delivering;  // guards all below, and the order of what the effect is told
  std::array<float, kNumParams> known{};  // normalised, as the ports have been told or told us
};

}  // namespace lv2
