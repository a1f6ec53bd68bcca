#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "apps/aax_host/hosted_instance.h"
#include "core/plug.h"
#include "libraries/aax_wrap/aaxwrap_describe.h"
#include "libraries/aax_wrap/aaxwrap_host_callback.h"
#include "libraries/aax_wrap/aaxwrap_parameters.h"

/// An effect that nobody idles and that tells what reached it.
class ObservedPlug : public Plug {
 public:
  explicit ObservedPlug(Machine& machine)
      : Plug(
            &aaxHostCallback, Idle::kCaller, [this] { return now += 100; }, machine) {}

  void setTrackName(const char* name) override { trackName = name; }
  std::string trackName;
  std::array<VstMidiEvent, 4> midi{};
  std::size_t midiCount = 0;

 protected:
  void processMidi(const VstMidiEvent& event) noexcept override {
    midi[midiCount++ % midi.size()] = event;
  }

 private:
  std::atomic<std::int64_t> now{0};
};

inline Machine& aloneMachine() {
  static Machine machine{std::make_unique<MemoryStore>(), {}};
  return machine;
}

/// One instance, described and made here around an effect that can be observed.
class BridgeRig {
 public:
  explicit BridgeRig(int channels = 2) {
    static_cast<void>(aaxDescribe(collection));
    collection.effects[0]->procs[kAAX_ProcPtrID_Create_EffectParameters] = [] {
      return static_cast<IACFUnknown*>(make());
    };
    hosted = std::make_unique<HostedInstance>(*collection.effects[0], channels, 44100.0F);
    effect = lastMade;
  }
  template <typename Effect = ObservedPlug>
  static AAXWrap_Parameters* make() {
    auto made = std::make_unique<Effect>(aloneMachine());
    lastMade = made.get();
    return new AAXWrap_Parameters(std::move(made));
  }
  std::intptr_t tell(std::int32_t opcode, std::int32_t index = 0, float opt = 0.0F,
                     void* ptr = nullptr) const {
    return aaxHostCallback(effect->getAeffect(), opcode, index, 0, ptr, opt);
  }
  /// What the host is told, as "identifier kind", since the last call.
  [[nodiscard]] std::string told() const {
    std::string text;
    for (const AutomationEvent& event : hosted->host.takeEvents()) text += event.id + event.kind;
    return text;
  }

  HostLog log;
  RecordedCollection collection{log};
  std::unique_ptr<HostedInstance> hosted;
  ObservedPlug* effect = nullptr;  // the instance's

 private:
  static inline ObservedPlug* lastMade = nullptr;
};
