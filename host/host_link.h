#pragma once

#include <array>
#include <atomic>
#include <bitset>
#include <cstdint>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "host/aeffect.h"
#include "host/engine_link.h"
#include "host/parameter_store.h"

/// Sends the effect's own messages to the host and records the values it has sent.
///
/// Threads: control threads, and the audio thread in the one block in which the host goes offline
/// or comes back; `processLevel`, `isEcho` and `expectEcho` on any.
class HostLink {
 public:
  static constexpr std::size_t kMostParameters = 512;

  /// With a null `callback`, messages go nowhere and return 0. All arguments must outlive the link.
  HostLink(AEffect& record, AudioMasterCallback callback, const ParameterStore& values,
           EngineLink& engine);

  std::intptr_t tell(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                     void* ptr = nullptr, float opt = 0.0F);

  void wantMidi() { tell(kHostWantMidi, 0, 1); }
  [[nodiscard]] std::intptr_t processLevel() { return tell(kHostProcessLevel); }
  /// The name of the host's vendor, empty if the host gives none. Hosts are known to write more
  /// than the 64 bytes agreed on.
  [[nodiscard]] std::array<char, 256> vendor();

  /// Tells the host that the user begins or ends a change of a parameter. Does nothing for an id
  /// out of range or while gestures are off.
  void tellGesture(std::int32_t index, bool begins);
  /// Returns whether this changes the setting.
  bool setGesturesOff(bool off) noexcept { return gesturesOff.exchange(off) != off; }
  /// Tells the host the present value of a parameter and expects its echo: the host may send the
  /// value back at any later time.
  void tellValue(std::int32_t index);
  /// As `tellValue`, between the begin and the end of a gesture.
  void tellInGesture(std::int32_t index);
  /// Expects the echo of the present value, for a host that has learnt it in another way.
  void expectEcho(std::int32_t index) noexcept;
  /// Whether `normalised` is only the expected echo: the value last told, while the parameter still
  /// has it. Any other value ends the expectation.
  [[nodiscard]] bool isEcho(std::int32_t index, float normalised) noexcept;

  /// Declares the latency in samples, and tells the host if it has changed.
  void declareLatency(std::int32_t samples);
  void tellProgramChanged();

  /// A lock: while it lives, no other thread reads or replaces the state as a whole, its texts
  /// included. Scopes nest, because operations on the state call each other. Never on the audio
  /// thread.
  ///
  /// Messages to the host wait until the outermost scope has ended and unlocked, and name each
  /// parameter once. The host may answer them by asking for the state, or by taking a lock of its
  /// own whose holder waits for the state.
  class StateScope {
   public:
    explicit StateScope(HostLink& link);
    ~StateScope();
    StateScope(const StateScope&) = delete;
    StateScope& operator=(const StateScope&) = delete;

    /// Keeps a message for the end of the scope; false for a message that must not wait.
    [[nodiscard]] bool keep(std::int32_t opcode, std::int32_t index) noexcept;

   private:
    void tellHost();

    HostLink& host;
    bool isOutermost = false;
    // Messages kept for the end.
    std::bitset<kMostParameters> automated;
    bool programChanged = false;
    bool latencyChanged = false;
  };

  /// Remembers the values while a state is replaced, under a `StateScope` of its own.
  class ChangedValues {
   public:
    explicit ChangedValues(HostLink& link);
    ~ChangedValues() = default;
    ChangedValues(const ChangedValues&) = delete;
    ChangedValues& operator=(const ChangedValues&) = delete;
    /// Ends the scope, then tells the host of each parameter that has changed, once. Of the others
    /// it expects an echo, since a host may send back its whole list.
    void tell();

   private:
    HostLink& host;
    std::optional<StateScope> scope;
    std::array<float, kMostParameters> before{};  // normalised
  };

 private:
  /// Aligned as one word; otherwise some compilers call a library that locks.
  struct alignas(8) Echo {
    float normalised = 0.0F;
    std::uint32_t isDue = 0;
  };

  [[nodiscard]] bool keepsMessage(std::int32_t opcode, std::int32_t index) noexcept;

  AEffect& record;
  const AudioMasterCallback callback;
  const ParameterStore& values;
  EngineLink& engine;
  std::atomic<bool> gesturesOff{false};
  std::vector<std::atomic<Echo>> echoes;  // by parameter: the value told and not yet superseded
  std::recursive_mutex stateMutex;
  StateScope* outermostScope = nullptr;       // under `stateMutex`
  std::atomic<std::thread::id> stateOwner{};  // the thread that holds it
};
