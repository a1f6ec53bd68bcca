#pragma once

#include <lv2/atom/atom.h>
#include <lv2/atom/forge.h>
#include <lv2/state/state.h>

#include <array>
#include <atomic>
#include <cstdint>

#include "core/plug.h"
#include "libraries/lv2_wrap/control_exchange.h"
#include "libraries/lv2_wrap/host_features.h"
#include "libraries/lv2_wrap/port_layout.h"

namespace lv2 {

/// One instance in a host: connects the host's ports with the effect.
///
/// Control values that need no new filter are played from the block that brings them. Others are
/// delivered by the host's worker or, if it has none, by the message thread, at most every 14 ms,
/// and with them all that come at the same time; while the host renders faster or slower than real
/// time, they take effect in the block that brings them.
///
/// Threads: `connectPort` and `run` on the audio thread; `activate` while that does not run; `work`
/// on the host's worker; `save` and `restore` on any other thread, even while audio runs. `run`
/// neither locks nor allocates, except when the host enters or leaves offline rendering and during
/// it.
class Plugin final : private IdleClient {
 public:
  /// `rate` in Hz. Throws std::bad_alloc.
  Plugin(const PortLayout& layout, double rate, const HostFeatures& features);
  ~Plugin() override;

  /// Null disconnects a port: a control then has its default. Unknown ports are ignored.
  void connectPort(std::uint32_t port, void* data) noexcept;
  /// Takes the present values of the controls and starts from silence.
  void activate();
  void run(std::uint32_t frames) noexcept;
  void work();
  /// Stores the effect's state and the values of the ports.
  LV2_State_Status save(LV2_State_Store_Function store, LV2_State_Handle handle);
  /// Loads a stored state; if there is none, that of a new instance, unless a preset of ports only
  /// is loaded, which changes nothing. Ports win: a port whose value differs from when the state
  /// was stored overrides it. A damaged state is refused as a whole.
  LV2_State_Status restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle);

 private:
  /// Longer blocks are split: some hosts exceed the maximum they announce.
  static constexpr std::uint32_t kMostFrames = 1024;
  using Planes = std::array<std::array<float, kMostFrames>, 4>;

  void onIdle() override;
  static std::intptr_t answer(AEffect* effect, std::int32_t opcode, std::int32_t index,
                              std::intptr_t value, void* ptr, float opt);

  // Audio thread.
  /// Runs a block in the parts between the MIDI events that move parameters.
  void playEvents(std::uint32_t frames) noexcept;
  [[nodiscard]] bool movesParameter(const LV2_Atom_Event& event) noexcept;
  void playMidi(const LV2_Atom_Event& event) noexcept;
  void processUpTo(std::uint32_t end) noexcept;
  [[nodiscard]] int latencyAfter(std::uint32_t frames) noexcept;
  void takeControls(std::uint32_t frames) noexcept;
  void lookAtPorts(bool isLoaded) noexcept;
  void findRow() noexcept;
  template <typename ValueOf>
  void lookAt(int first, int end, const ValueOf& valueOf) noexcept;
  void findNews(int first, int end) noexcept;
  void takeNews(bool isLoaded) noexcept;
  void askForDelivery(std::uint32_t frames) noexcept;
  void processPart(std::uint32_t from, std::uint32_t frames) noexcept;
  void writeMeters() noexcept;
  void requestChanges() noexcept;
  void requestChange(int id, float plain) noexcept;
  void writeEvents(bool stateHasChanged) noexcept;

  bool connectControl(std::uint32_t port, const float* data) noexcept;

  const PortLayout& layout;
  const HostFeatures features;
  Plug effect;
  ControlExchange controls{effect};
  GainReductionReader chainGain{effect.getEngine().meterPeaks()};
  std::atomic<bool> offline{false};
  std::atomic<bool> workAsked{false};
  int idleTicks = 0;  // message thread: ticks for which the worker has left values undelivered

  // Ports; controls that are not connected point to the defaults below.
  std::array<const float*, kNumParams> parameterPorts;  // by parameter
  // The first of all bands' ports if they lie side by side, as in most hosts; else null.
  const float* bandPorts = nullptr;
  bool arePortsNew = true;
  std::array<const float*, 2> mainPorts{};
  std::array<const float*, 2> sidePorts{};
  std::array<float*, 2> outputPorts{};
  const LV2_Atom_Sequence* controlPort = nullptr;
  LV2_Atom_Sequence* notifyPort = nullptr;
  float* latencyPort = nullptr;
  float* chainGainPort = nullptr;
  std::array<float*, kNumBands> bandGainPorts{};
  const float* enabledPort;
  const float* freewheelPort;
  const float* bypassPort;  // `kBypass`, which is combined with `enabled`
  std::array<float, kNumParams> defaults{};
  float enabledByDefault = 1.0F;
  float freewheelByDefault = 0.0F;
  float bypassInForce = 0.0F;

  // Audio thread: plain values.
  std::array<float, kNumParams> seen{};       // port values last read
  std::array<float, kNumParams> requested{};  // requested and not yet set; NaN for none
  std::array<int, kNumParams> news{};         // parameters whose ports have new values
  std::size_t newsCount = 0;
  std::uint32_t processed = 0;  // frames of the block
  std::uint32_t framesBetweenJobs;
  std::uint32_t framesSinceJob;
  std::uint32_t framesAfterLoad;  // for which ports are ignored
  std::uint32_t framesSinceLoad = 0;
  LV2_Atom_Forge forge{};
  Planes inputs{};  // copies, since the effect clears bad samples in place
};

}  // namespace lv2
