#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <mutex>
#include <span>

#include "core/plug.h"
#include "host/raised.h"
#include "libraries/lv2_wrap/parameter_marks.h"

namespace lv2 {

/// Passes parameter values between the host's ports, which are read on the audio thread, and the
/// effect, which designs filters when values change and must not do that there.
///
/// Values are plain, in the units of the parameter table.
class ControlExchange {
 public:
  /// `effect` must outlive it.
  explicit ControlExchange(Plug& effect);

  // Audio thread.
  void offer(int id, float plain) noexcept;  ///< a port has a new value to deliver
  /// A live parameter's port has a new value, which the effect takes with the next block.
  void play(int id, float plain) noexcept;
  /// Whether live parameters may be played: no bank or value of one of them waits for its delivery,
  /// which would come after them.
  [[nodiscard]] bool mayPlay() const noexcept;
  /// After all ports of a block: gives one that links have moved its own value again.
  void playAlone(int id, float plain) noexcept;
  /// A port has reached the value that the host was asked to set: nothing to deliver.
  void confirm(int id, float plain) noexcept;
  [[nodiscard]] bool hasNews() const noexcept { return offered.any(); }
  /// Whether a state has been loaded since the last `takeLoading`; until that call nothing is
  /// delivered.
  [[nodiscard]] bool isLoaded() const noexcept;
  /// Drops values offered before the load. The values of the next delivery are those of ports that
  /// differ from the loaded state; links do not spread them.
  void takeLoading() noexcept;
  /// Calls `use(id, plain)` for each parameter that has changed other than by its port, unless a
  /// value of its port is still to be delivered.
  template <typename Use>
  void takeInsideChanges(const Use& use) noexcept {
    const auto take = [this, &use](int id) {
      if (!offered.has(id)) use(id, plainNow(id));
    };
    changedInside.takeAll(take);
    unlikePorts.takeAll(take);
  }
  /// Whether the state has changed since it was stored: not by ports that a load found different.
  [[nodiscard]] bool hasInsideChanges() const noexcept { return changedInside.any(); }

  // Other threads, and the audio thread when it is not in real time. These lock.
  /// Delivers all offered values to the effect as one change. Links
  /// spread a value to bands whose ports offer none of their own. If memory runs out, the values
  /// are kept and the next call hands them to the engine again.
  void deliver();
  /// Finds the parameters that the effect has changed by itself.
  void findInsideChanges();
  /// Delivers, then runs `save` while nothing else is delivered, so that the state and `heldByPort`
  /// agree.
  template <typename Save>
  auto aroundSaving(const Save& save) {
    const std::lock_guard guard(delivering);
    deliverNews();
    return save();
  }
  /// Runs `load`, which changes the effect's state and calls `assumePort` for all ports, while
  /// nothing is delivered. The ports count as knowing the values that it changes, unless the state
  /// differs from what a port stands for: a chain was repaired, or the port had not followed.
  template <typename Load>
  void aroundLoading(const Load& load) {
    const std::lock_guard guard(delivering);
    const Raised busy(isDelivering);
    load();
    rememberAll();
    loads.fetch_add(1, std::memory_order_release);
    markAgainstPorts();  // never taken before the load is
  }
  /// Within `load`: the value of a port when the state was stored; NaN if unknown.
  void assumePort(int id, float plain) noexcept;
  /// The value of a port when the effect last heard of it. Within `save`, or after `takeLoading`.
  [[nodiscard]] float heldByPort(int id) const noexcept;

 private:
  [[nodiscard]] float portValue(int id) const noexcept;
  [[nodiscard]] float plainNow(int id) const noexcept;
  [[nodiscard]] float normalisedNow(int id) const noexcept;
  [[nodiscard]] float normalisedOf(int id, float portPlain) const noexcept;
  [[nodiscard]] float knownOf(int id) const noexcept;
  void know(int id, float normalised) noexcept;
  void deliverNews();  // this and all below: under `delivering`
  /// Offered values that have been taken.
  struct News {
    bool bank = false;
    std::array<int, kNumParams> ids;  // of all others
    std::size_t count = 0;
    [[nodiscard]] std::span<const int> others() const noexcept { return {ids.data(), count}; }
  };
  [[nodiscard]] News takeOffered() noexcept;
  void deliverOffered(const News& news, bool isAlone);
  void deliverOne(int id, bool isAlone);
  void markInsideChanges() noexcept;
  void rememberAll() noexcept;
  void markAgainstPorts() noexcept;

  Plug& effect;
  std::array<std::atomic<float>, kNumParams> ports;  // plain, as the audio thread last read them
  std::array<std::atomic<float>, kNumParams> held;   // plain, as last delivered to the effect
  ParameterMarks offered;
  ParameterMarks confirmed;
  ParameterMarks changedInside;
  ParameterMarks unlikePorts;  // since a load
  std::atomic<bool> alone{false};
  // What the audio thread must wait for: values offered, and those being delivered or loaded.
  std::atomic<bool> isOfferHeard{false};
  std::atomic<bool> isDelivering{false};
  std::atomic<unsigned> loads{0};
  std::atomic<unsigned> takenLoads{0};  // by the audio thread; stored after it has dropped values
  std::array<std::atomic<float>, kNumParams> known;  // normalised, that effect and ports agree on
  std::mutex delivering;                             // keeps the order of deliveries
};

}  // namespace lv2
