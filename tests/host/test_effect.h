#pragma once

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "host/aeff_editor.h"
#include "host/plug_base_json.h"

/// A host that notes what it is told, a word each, and answers what it is set to.
struct HostRecorder {
  static std::intptr_t callback(AEffect* effect, std::int32_t opcode, std::int32_t index,
                                std::intptr_t value, void* ptr, float opt) {
    auto* const host = static_cast<HostRecorder*>(effect->user);
    if (host == nullptr) return 0;
    if (opcode == kHostGetVendor) std::strcpy(static_cast<char*>(ptr), host->vendor.c_str());
    host->log += wordOf(opcode, index, value, opt);
    return opcode == kHostProcessLevel ? host->processLevel : 0;
  }
  /// "b0 0=0.25 e0 " for an edit of parameter 0; nothing for a question.
  static std::string wordOf(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                            float opt) {
    const std::string number = std::to_string(index) + " ";
    if (opcode == kHostAutomate) return valueWord(index, opt);
    if (opcode == kHostBeginEdit) return "b" + number;
    if (opcode == kHostEndEdit) return "e" + number;
    if (opcode == kHostIoChanged) return "io ";
    if (opcode == kHostWantMidi && value == 1) return "midi ";
    return opcode == kHostVendorSpecific && index == 0x70726368 ? "program " : "";
  }
  static std::string valueWord(std::int32_t index, float normalised) {
    char text[32];
    std::snprintf(text, sizeof text, "%d=%.9g ", index, static_cast<double>(normalised));
    return text;
  }
  std::string take() { return std::exchange(log, {}); }

  std::string log;
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

/// Notes what it is told: values as they are shown, the rest in the host's log.
class TestEditor : public AEffEditor {
 public:
  explicit TestEditor(std::string& editorLog) : log(editorLog) {}
  ~TestEditor() override { log += "gone "; }
  bool getRect(ERect** rect) override { return (*rect = &size) != nullptr; }
  bool open(void* parentWindow) override { return parentWindow != nullptr; }
  void close() override { log += "close "; }
  void idle() override { log += "idle "; }
  bool onKeyDown(const VstKeyCode& key) override { return note("down ", key); }
  bool onKeyUp(const VstKeyCode& key) override { return note("up ", key); }
  void setParameter(std::int32_t index, float normalised) override {
    if (index >= 0) {
      shown.at(static_cast<std::size_t>(index)) = normalised;
    } else {
      log += HostRecorder::valueWord(index, normalised);
    }
  }

  std::string& log;
  std::array<float, kNumIds> shown{};
  ERect size{0, 0, 500, 844};

 private:
  bool note(const char* what, const VstKeyCode& key) {
    log += what + std::to_string(key.character) + "," + std::to_string(key.virt) + "," +
           std::to_string(key.modifier) + " ";
    return key.virt != kVstKeyTab;
  }
};

/// An effect with its host. It notes what reaches it in the host's log and opens what is protected.
/// "u " stands for `update(false)`, "l " for one while a state is being loaded, "F " for
/// `update(true)`, "v " for values that are replaced, and brackets for what holds the updates.
class TestEffect : public PlugBaseJSON, private EngineLink {
 public:
  explicit TestEffect(AudioMasterCallback audioMaster = HostRecorder::callback,
                      bool isCached = false)
      : PlugBaseJSON(audioMaster, kTestTable, testKeys(), 2, isCached) {
    engineLink.connect(*this);
    input.whenReplaced([this] { note("v "); });
    setNumInputs(4);
    setNumOutputs(2);
    setAbParameter(kABBank);
    getAeffect()->user = &recorder;
  }

  void open() override { note("open "); }
  void close() override { note("close "); }
  void suspend() override { note("suspend "); }
  void resume() override { note("resume "), PlugBaseJSON::resume(); }
  void parameterChanged(std::int32_t /*index*/) noexcept override {}
  void update(bool force) override {
    note(force ? "F " : input.loading() ? "l " : "u ");
    for (std::int32_t i = 0; i < kNumIds; ++i) {
      engine[static_cast<std::size_t>(i)] = getPlainValue(i);
    }
  }
  void offlineChanged(bool offline) override {
    note(offline != isOffline ? "? " : offline ? "offline " : "online ");
    PlugBaseJSON::offlineChanged(offline);
  }
  void everythingReplaced() noexcept override {}
  void hold() override { note("( "); }
  void release() override { note(") "); }
  void processMidi(const VstMidiEvent& event) noexcept override { midi.push_back(event); }
  bool setBypass(bool on) override { return note(on ? "bypass " : "run "); }
  bool stringToParameter(std::int32_t index, const char* text) override {
    return note(text + std::to_string(index) + " ");
  }
  bool getEffectName(char* text) override { return std::strcpy(text, "effect") != nullptr; }
  bool getVendorString(char* text) override { return std::strcpy(text, "vendor") != nullptr; }
  bool getProductString(char* text) override { return std::strcpy(text, "product") != nullptr; }
  std::int32_t getVendorVersion() override { return 7; }
  std::int32_t getTailSize() override { return 9; }
  std::intptr_t vendorSpecific(std::int32_t index, std::intptr_t value, void*, float opt) override {
    return index + value + static_cast<std::intptr_t>(opt);
  }

  /// Loads a document as a host does; it always says that it took all of it.
  bool load(const std::string& bytes, bool isPreset) {
    const auto size = static_cast<std::int32_t>(bytes.size());
    return setChunk(bytes.data(), size, isPreset) == size;
  }
  /// The document as a host gets it.
  std::string chunk(bool isPreset = false) {
    void* data = nullptr;
    const auto size = dispatcher(kEffectGetChunk, isPreset ? 1 : 0, 0, &data, 0);
    return {static_cast<const char*>(data), static_cast<std::size_t>(size)};
  }

  using AudioEffect::setEditor;
  using AudioEffect::setNumInputs;
  using AudioEffect::setNumOutputs;
  using PlugBase::advanceSampleCount;
  using PlugBase::host;
  using PlugBase::values;

  HostRecorder recorder;
  std::vector<VstMidiEvent> midi;
  std::array<float, kNumIds> engine{};  // plain values, as they were handed over

 private:
  bool note(const std::string& words) { return !(recorder.log += words).empty(); }
  static const ParameterKeys& testKeys() {
    static const ParameterKeys keys("kGain=0,kB1State,kB1Slope,kB2Mode,kB2Wide,kB2Slope,kABBank");
    return keys;
  }
};
