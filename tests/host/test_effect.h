#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/aeff_editor.h"
#include "host/plug_base_json.h"

/// A host that notes what it is told and answers what it is set to.
struct HostRecorder {
  struct Message {
    std::int32_t opcode;
    std::int32_t index;
    std::intptr_t value;
    float opt;
    bool operator==(const Message&) const = default;
  };

  static std::intptr_t callback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                std::intptr_t value, void* ptr, float opt) {
    auto* const host = static_cast<HostRecorder*>(effect->user);
    if (host == nullptr) return 0;
    host->messages.push_back({opcode, index, value, opt});
    if (opcode == kHostGetVendor) std::strcpy(static_cast<char*>(ptr), host->vendor.c_str());
    return opcode == kHostProcessLevel ? host->processLevel : 0;
  }

  std::vector<Message> take() { return std::exchange(messages, {}); }

  std::vector<Message> messages;
  std::intptr_t processLevel = 0;
  std::string vendor;
};

/// Ids of the test table.
enum TestParameter : std::int32_t {
  kGain,
  kB1State,
  kB1Slope,
  kB2Mode,
  kB2Wide,
  kB2Slope,
  kABBank,
  kNumIds
};

inline constexpr std::array<ParameterRecord, kNumIds> kTestTable = {{
    {"Gain", "dB", 6, -24, 24, kCurveLinear, -1, -1},
    {"Band1 State", "Off/On", 1, 0, 1, kCurveSwitch, -1, -1},
    {"Band1 Slope", "dB/Oct", 24, 6, 96, kCurveMultipleOf6, -1, -1},
    {"Band2 Mode", "", -1, -1, 7, kCurveWhole, -1, -1},
    {"Band2 Wide", "", 12, 12, 96, kCurveMultipleOf12, -1, -1},
    {"Band2 Slope", "dB/Oct", 24, 6, 96, kCurveWhole, -1, -1},
    {"AB", "", 0, 0, 7, kCurveWhole, -1, -1},
}};

/// An effect that notes what reaches it and opens what is protected.
class TestEffect : public PlugBaseJSON {
 public:
  explicit TestEffect(AudioMasterCallback audioMaster = HostRecorder::callback)
      : PlugBaseJSON(audioMaster, kTestTable, testKeys(), 2) {
    setNumInputs(4);
    setNumOutputs(2);
    abParameter = kABBank;
  }

  void updateDsp(bool force) override {
    updates += force ? 'F' : 'u';
    if (onUpdate) onUpdate();
  }
  void offlineChanged(bool offline) override {
    updates += offline == isOffline ? '!' : '?';
    PlugBaseJSON::offlineChanged(offline);
  }
  void processMidi(const VstMidiEvent& event) noexcept override { midi.push_back(event); }

  std::string takeUpdates() { return std::exchange(updates, {}); }

  using AudioEffect::setEditor;
  using AudioEffect::setNumInputs;
  using AudioEffect::setNumOutputs;
  using AudioEffectX::wantEvents;
  using PlugBase::advanceSampleCount;
  using PlugBase::banks;
  using PlugBase::curBank;
  using PlugBase::declareLatency;
  using PlugBase::gesturesOff;
  using PlugBase::isLoading;
  using PlugBase::isOffline;
  using PlugBase::notifyAllOnBankSwitch;
  using PlugBase::programs;
  using PlugBase::setParameterFromAudio;
  using PlugBaseJSON::chunkCacheEnabled;
  using PlugBaseJSON::chunkDirty;

  std::vector<VstMidiEvent> midi;
  std::function<void()> onUpdate;

 private:
  static const ParameterKeys& testKeys() {
    static const ParameterKeys keys("kGain=0,kB1State,kB1Slope,kB2Mode,kB2Wide,kB2Slope,kABBank");
    return keys;
  }

  std::string updates;  // 'u' for each `updateDsp(false)`, 'F' for each `updateDsp(true)`
};
