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

/// What the host is told of its own accord, and what is known of what it was told.
///
/// Threads: control threads, and the audio thread in the one block in which the host goes offline
/// or comes back; `isOffline`, `isEcho` and `expectEcho` anywhere.
class HostLink {
 public:
  static constexpr std::size_t kMostParameters = 512;

  /// With a null `callback` the messages go nowhere and are answered 0. All must outlive it.
  HostLink(AEffect& record, AudioMasterCallback callback, const ParameterStore& values,
           EngineLink& engine);

  std::intptr_t tell(std::int32_t opcode, std::int32_t index = 0, std::intptr_t value = 0,
                     void* ptr = nullptr, float opt = 0.0F);

  // What the host is asked.
  void wantMidi() { tell(kHostWantMidi, 0, 1); }
  [[nodiscard]] bool isOffline() { return tell(kHostProcessLevel) == kProcessLevelOffline; }
  /// Who makes it, empty when it does not say. Hosts are known to write more than the 64 bytes
  /// agreed on.
  [[nodiscard]] std::array<char, 256> vendor();

  // Gestures frame a change of a parameter by the user; ids that are none are not told.
  void tellGesture(std::int32_t index, bool begins);
  /// Whether that is new.
  bool setGesturesOff(bool off) noexcept { return gesturesOff.exchange(off) != off; }
  /// Tells the present value of a parameter, which the host may give back at any time later.
  void tellValue(std::int32_t index);
  void tellInGesture(std::int32_t index);        ///< as `tellValue`, with a begin and an end
  void expectEcho(std::int32_t index) noexcept;  ///< of what is told otherwise
  /// Whether a value is the one that the host was told last by itself, while it still stands: then
  /// it is no news.
  [[nodiscard]] bool isEcho(std::int32_t index, float normalised) noexcept;

  /// Declares the latency in samples; a change is told.
  void declareLatency(std::int32_t samples);
  void tellProgramChanged();

  /// While it lives, no other thread reads or replaces the state as a whole, its texts included.
  /// Scopes nest, since the calls that do so are made of each other. Never on the audio thread.
  ///
  /// What the host is to hear meanwhile it hears at the end of the outermost scope, each parameter
  /// once, when the lock is open: it may answer by asking for the state, or want a lock of its own
  /// whose holder waits for the state.
  class StateScope {
   public:
    explicit StateScope(HostLink& link);
    ~StateScope();
    StateScope(const StateScope&) = delete;
    StateScope& operator=(const StateScope&) = delete;

    /// Notes a message that waits for the end; false for one that does not.
    [[nodiscard]] bool keep(std::int32_t opcode, std::int32_t index) noexcept;

   private:
    void tellHost();

    HostLink& host;
    bool isOutermost = false;
    // Messages that wait.
    std::bitset<kMostParameters> automated;
    bool programChanged = false;
    bool latencyChanged = false;
  };

  /// The values before a state is replaced, and a `StateScope` for that.
  class ChangedValues {
   public:
    explicit ChangedValues(HostLink& link);
    ~ChangedValues() = default;
    ChangedValues(const ChangedValues&) = delete;
    ChangedValues& operator=(const ChangedValues&) = delete;
    /// Ends the scope, and then tells the host of each parameter that has changed, once; the others
    /// it may bring back from its own list of all.
    void tell();

   private:
    HostLink& host;
    std::optional<StateScope> scope;
    std::array<float, kMostParameters> before{};  // normalised
  };

 private:
  /// Aligned as one word, or some compilers call a library with locks for it.
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
  std::vector<std::atomic<Echo>> echoes;  // by parameter: told, and due to come back
  std::recursive_mutex stateMutex;
  StateScope* outermostScope = nullptr;       // under `stateMutex`
  std::atomic<std::thread::id> stateOwner{};  // the thread that holds it
};
