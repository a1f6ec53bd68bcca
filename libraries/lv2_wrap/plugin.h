#pragma once

#include <lv2/atom/atom.h>
#include <lv2/atom/forge.h>
#include <lv2/state/state.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <string>

#include "core/plug.h"
#include "libraries/lv2_wrap/control_exchange.h"
#include "libraries/lv2_wrap/host_features.h"
#include "libraries/lv2_wrap/port_layout.h"

namespace lv2 {

/// One instance in a host: ports on one side, the effect on the other.
///
/// Control values go to the host's worker or, where it has none, to the message thread, at most
/// every 14 ms; while the host renders faster or slower than real time they are in force in the
/// block that brings them.
///
/// Threads: `connectPort` and `run` on the audio thread, `activate` while that rests; `work` on the
/// host's worker; `save` and `restore` on any other, also while audio runs. `run` neither locks nor
/// allocates, but when the host enters or leaves offline rendering and while that lasts.
class Plugin final : private IdleClient {
 public:
  /// `rate` in Hz. Throws std::bad_alloc.
  Plugin(const PortLayout& layout, double rate, const HostFeatures& features);
  ~Plugin() override;

  /// Null disconnects: controls then hold their default. Ports that are not there are ignored.
  void connectPort(std::uint32_t port, void* data) noexcept;
  /// Takes the controls as they are and starts from silence.
  void activate();
  void run(std::uint32_t frames) noexcept;
  void work();
  /// Stores the effect's state and what the ports held.
  LV2_State_Status save(LV2_State_Store_Function store, LV2_State_Handle handle);
  /// Takes a state stored; without one, that of a new instance, but a preset of ports alone leaves
  /// all as it is. The ports have the last word: those that hold something else than when the state
  /// was stored win over it. A damaged state is refused as a whole.
  LV2_State_Status restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle);

 private:
  /// Blocks are split at this: hosts have been seen to break their word about the longest.
  static constexpr std::uint32_t kMostFrames = 1024;
  using Planes = std::array<std::array<float, kMostFrames>, 4>;

  void onIdle() override;
  static std::intptr_t answer(AEffect* effect, std::int32_t opcode, std::int32_t index,
                              std::intptr_t value, void* ptr, float opt);

  // Audio thread.
  void readEvents() noexcept;
  void takeControls(std::uint32_t frames) noexcept;
  void lookAtPorts(bool isLoaded) noexcept;
  void takeNews(int first, int end) noexcept;
  void askForDelivery(std::uint32_t frames) noexcept;
  void processPart(std::uint32_t from, std::uint32_t frames) noexcept;
  void requestChanges() noexcept;
  void requestChange(int id, float plain) noexcept;
  void writeEvents(bool stateHasChanged) noexcept;

  bool connectControl(std::uint32_t port, const float* data) noexcept;

  const PortLayout& layout;
  const HostFeatures features;
  Plug effect;
  ControlExchange controls{effect};
  std::string newState;  // the chunk of a new instance
  std::atomic<bool> offline{false};
  std::atomic<bool> workAsked{false};
  int idleTicks = 0;  // message thread: with news that the worker has not come to

  // Ports; controls that are not connected point to what stands below.
  std::array<const float*, kNumParams> parameterPorts;  // by parameter
  std::array<const float*, 2> mainPorts{};
  std::array<const float*, 2> sidePorts{};
  std::array<float*, 2> outputPorts{};
  const LV2_Atom_Sequence* controlPort = nullptr;
  LV2_Atom_Sequence* notifyPort = nullptr;
  float* latencyPort = nullptr;
  const float* enabledPort;
  const float* freewheelPort;
  const float* bypassPort;  // `kBypass`, which `enabled` has a part in
  std::array<float, kNumParams> defaults{};
  float enabledByDefault = 1.0F;
  float freewheelByDefault = 0.0F;
  float bypassInForce = 0.0F;

  // Audio thread: plain values.
  std::array<float, kNumParams> seen{};       // at the last look
  std::array<float, kNumParams> requested{};  // asked for and not yet come; NaN for none
  std::uint32_t framesBetweenJobs;
  std::uint32_t framesSinceJob;
  std::uint32_t framesAfterLoad;  // for which ports are left alone
  std::uint32_t framesSinceLoad = 0;
  LV2_Atom_Forge forge{};
  Planes inputs{};  // copies: the effect clears bad samples in place, and the host's are not ours
};

}  // namespace lv2
