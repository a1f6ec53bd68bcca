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
  /// A port has come to what it was asked for: nothing to deliver.
  void confirm(int id, float plain) noexcept;
  [[nodiscard]] bool hasNews() const noexcept { return offered.any(); }
  /// Whether a state was loaded that `takeLoading` has not met: until then nothing is delivered.
  [[nodiscard]] bool isLoaded() const noexcept;
  /// Drops what was offered before the load. The coming news are ports that differ from it: each
  /// for itself, links do not spread them.
  void takeLoading() noexcept;
  /// Calls `use(id, plain)` for each parameter whose value has changed otherwise than by its port,
  /// but for those whose ports have moved since, too, and are still to be delivered.
  template <typename Use>
  void takeInsideChanges(const Use& use) noexcept {
    changedInside.takeAll([this, &use](int id) {
      if (!offered.has(id)) use(id, plainNow(id));
    });
  }
  [[nodiscard]] bool hasInsideChanges() const noexcept { return changedInside.any(); }

  // Other threads, and the audio thread where it need not keep real time. They lock.
  /// Hands all news to the effect as one change, which is in force when this returns. Links spread
  /// a value to bands whose ports bring none of their own. Where memory runs out the values stand,
  /// and the next call hands them to the engine again.
  void deliver();
  /// Looks for values that the effect has changed by itself.
  void findInsideChanges();
  /// Delivers, then runs `save` with nothing delivered meanwhile: state and `heldByPort` agree.
  template <typename Save>
  auto aroundSaving(const Save& save) {
    const std::lock_guard guard(delivering);
    deliverNews();
    return save();
  }
  /// Runs `load`, which changes the effect's state and tells `assumePort` of all ports, with
  /// nothing delivered meanwhile. What it changed counts as known to the ports, but where the state
  /// is not what a port stands for: a chain was repaired, or the port had not followed.
  template <typename Load>
  void aroundLoading(const Load& load) {
    const std::lock_guard guard(delivering);
    load();
    rememberAll();
    markAgainstPorts();
    loads.fetch_add(1, std::memory_order_release);
  }
  /// Within `load`: what a port held when the state was stored, NaN where that is not known.
  void assumePort(int id, float plain) noexcept;
  /// What a port held when the effect heard of it last. Within `save`, or behind `takeLoading`.
  [[nodiscard]] float heldByPort(int id) const noexcept;

 private:
  [[nodiscard]] float portValue(int id) const noexcept;
  [[nodiscard]] float plainNow(int id) const noexcept;
  [[nodiscard]] float normalisedNow(int id) const noexcept;
  [[nodiscard]] float normalisedOf(int id, float portPlain) const noexcept;
  void deliverNews();  // this and all below: under `delivering`
  void deliverOffered(bool isAlone);
  void deliverOne(int id, bool isAlone);
  void markInsideChanges() noexcept;
  void rememberAll() noexcept;
  void markAgainstPorts() noexcept;

  Plug& effect;
  std::array<std::atomic<float>, kNumParams> ports;  // plain, at the audio thread's last look
  std::array<std::atomic<float>, kNumParams> held;   // plain, as far as the effect has heard
  ParameterMarks offered;
  ParameterMarks confirmed;
  ParameterMarks changedInside;
  std::atomic<bool> alone{false};
  std::atomic<unsigned> loads{0};
  std::atomic<unsigned> takenLoads{0};  // the audio thread's; behind what it drops
  std::mutex delivering;  // guards all below, and the order of what the effect is told
  std::array<float, kNumParams> known{};  // normalised, as the ports have been told or told us
};

}  // namespace lv2
