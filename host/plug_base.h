#pragma once

#include <atomic>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "host/audio_effect_x.h"
#include "host/edit_gestures.h"
#include "host/edit_history.h"
#include "host/engine_slot.h"
#include "host/host_link.h"
#include "host/idle_timer.h"
#include "host/parameter_input.h"
#include "host/parameter_store.h"

/// Names of one channel for meters: in left/right and in mid/side form.
struct ChannelLabel {
  std::string leftRight;
  std::string midSide;
};

/// The generic effect as hosts call it: parameters, programs, banks and history. It knows nothing
/// of bands and forwards most calls to its parts.
///
/// Threads: `processReplacing`, `processDoubleReplacing` and `processEvents` on the audio thread;
/// all else on the host's control threads or the message thread. Parameter values are single 32-bit
/// words, read and written atomically. Program names, and programs and banks as a whole, need a
/// `StateScope`. `undo` and `redo` are for one thread at a time.
class PlugBase : public AudioEffectX, public IdleClient {
 public:
  static constexpr int kNumBanks = ParameterStore::kNumBanks;
  static constexpr std::size_t kParameterTextCapacity = kTextCapacity;

  /// Arguments as for `ParameterStore`.
  PlugBase(AudioMasterCallback audioMaster, std::span<const ParameterRecord> table,
           const ParameterKeys& keys, int numPrograms);
  ~PlugBase() override;

  /// As the base, except that `kEffectEditIdle` does nothing: editors idle by the timer.
  std::intptr_t dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value, void* ptr,
                           float opt) override;

  // Parameters. `normalised` is clamped to 0..1; NaN and ids out of range are ignored; reads of ids
  // out of range return 0.
  void setParameter(std::int32_t index, float normalised) override { input.set(index, normalised); }
  float getParameter(std::int32_t index) override { return values.normalised(index); }
  void setParameterAutomated(std::int32_t index, float normalised) override {
    input.automate(index, normalised);
  }
  /// `beginEdit`, `setParameterAutomated` of the plain value, `endEdit`.
  void setParameterWithEdit(std::int32_t index, float plain);
  // Begin and end an edit by the user, which `undo` takes back as one. The history's markers of
  // loaded states are accepted too.
  void beginEdit(std::int32_t index) override;
  void endEdit(std::int32_t index) override;
  bool canParameterBeAutomated(std::int32_t index) override { return values.contains(index); }
  // Ids out of range leave the text as it was.
  void getParameterName(std::int32_t index, char* text) override;
  void getParameterLabel(std::int32_t index, char* text) override;
  void getParameterDisplay(std::int32_t index, char* text) override;

  // See `ParameterStore`.
  [[nodiscard]] float plainToNormalised(std::int32_t index, float plain) const noexcept {
    return values.toNormalised(index, plain);
  }
  [[nodiscard]] float normalisedToPlain(std::int32_t index, float normalised) const noexcept {
    return values.toPlain(index, normalised);
  }
  [[nodiscard]] float getPlainValue(std::int32_t index) const noexcept {
    return values.plain(index);
  }
  [[nodiscard]] std::int32_t getStepCount(std::int32_t index) const noexcept {
    return values.stepCount(index);
  }
  [[nodiscard]] std::int32_t getStepSize(std::int32_t index) const noexcept {
    return values.stepSize(index);
  }
  [[nodiscard]] float hostStepValue(std::int32_t index, float value, bool toHost) const noexcept {
    return values.hostStepValue(index, value, toHost);
  }
  [[nodiscard]] float normalisedValue(std::int32_t index) const noexcept {
    return values.normalised(index);
  }
  [[nodiscard]] std::int32_t parameterCount() const noexcept { return values.count(); }
  [[nodiscard]] const ParameterRecord& parameterInfo(std::int32_t index) const noexcept {
    return values.info(index);
  }
  [[nodiscard]] const std::vector<std::string>& getBandNames() const noexcept {
    return values.bandNames();
  }
  /// Writes the text of a value, at most `kParameterTextCapacity` bytes with its terminating zero.
  /// A negative index leaves `text` as it was; one past the last gives an empty text.
  void formatParameterValue(std::int32_t index, float normalised, char* text, bool showNote) const;
  [[nodiscard]] virtual float getParameterDefault(std::int32_t index) const noexcept;  ///< 0..1

  // Banks A to H, each a set of values; the live one follows every change. A bank out of range does
  // nothing.
  void switchBank(std::int32_t bank) { input.switchBank(bank); }
  void copyToBank(std::int32_t bank) { input.copyToBank(bank); }  ///< the present values
  [[nodiscard]] std::int32_t getCurrentBank() const noexcept { return values.currentBank(); }
  void setAbParameter(std::int32_t id) noexcept { values.setBankSelector(id); }

  // See `EditHistory`.
  void beginHistoryGroup() { history.beginGroup(); }
  void endHistoryGroup() { history.endGroup(); }
  void endGroupWithEdit(std::int32_t index) { history.endGroupWithEdit(index); }
  void undo() { stepHistory(false); }
  void redo() { stepHistory(true); }
  [[nodiscard]] bool canUndo() { return history.canUndo(); }
  [[nodiscard]] bool canRedo() { return history.canRedo(); }
  void clearHistory() { history.clear(); }

  std::int32_t getProgram() override { return values.currentProgram(); }
  void setProgram(std::int32_t program) override { input.applyProgram(program); }
  void setProgramName(const char* name) override;
  void getProgramName(char* name) override;
  bool getProgramNameIndexed(std::int32_t category, std::int32_t index, char* text) override;

  bool getInputProperties(std::int32_t index, VstPinProperties* properties) override;
  bool getOutputProperties(std::int32_t index, VstPinProperties* properties) override;
  std::int32_t canDo(const char* text) override;

  /// Set by the adapter before an editor opens: names of the channels in use.
  void setChannelLabels(std::vector<ChannelLabel> labels) { channelLabels = std::move(labels); }
  [[nodiscard]] const std::vector<ChannelLabel>& getChannelLabels() const noexcept {
    return channelLabels;
  }

  /// Hands each MIDI event of the list to `processMidi`; null events and other types are skipped.
  std::int32_t processEvents(const VstEvents* events) override;

  /// Asks the host for its process level and calls `offlineChanged` if the offline state changes.
  void checkProcessLevel();
  /// `isOffline` already holds the new state. Runs on the audio thread; the default calls
  /// `updateDsp(true)`.
  virtual void offlineChanged(bool offline);
  /// Hands changed parameters to the engine. `force` also runs what is rate limited.
  void updateDsp(bool force) { engineLink.update(force); }
  /// Called every 10 ms on the message thread, once the instance is in the timer's list. Finishes
  /// what the audio thread has left undone.
  void onIdle() override { input.makeUpForAudio(); }
  void onEditorIdle() override;

  /// See `HostLink::StateScope`.
  class StateScope {
   public:
    explicit StateScope(PlugBase& plug) : scope(plug.host) {}

   private:
    HostLink::StateScope scope;
  };
  /// For `UpdateHold`.
  [[nodiscard]] EngineLink& updates() noexcept { return engineLink; }
  [[nodiscard]] ParameterInput& parameterInput() noexcept { return input; }

  [[nodiscard]] std::int32_t getSampleCount() const noexcept {
    return sampleCount.load(std::memory_order_relaxed);
  }

 protected:
  /// A value of 0..1 as it is shown; `index` is a parameter's.
  [[nodiscard]] virtual std::string parameterText(std::int32_t index, float normalised,
                                                  bool showNote) const;
  /// One MIDI message on the audio thread, `event.deltaFrames` into the coming block.
  virtual void processMidi(const VstMidiEvent& event) noexcept;
  /// Undoes or redoes the loading of a state; `marker` is that of the history.
  virtual void restoreLoadedState(std::int32_t marker, bool towardsRedo);

  /// Counts processed samples, wrapping around; audio thread.
  void advanceSampleCount(std::int32_t frames) noexcept {
    sampleCount.fetch_add(frames, std::memory_order_relaxed);
  }

  ParameterStore values;
  EngineSlot engineLink;
  RulesSlot rules;
  std::atomic<bool> stateChanged{true};  // since the last document was handed out
  HostLink host;
  EditHistory history;
  EditGestures gestures;
  ParameterInput input;
  std::vector<ChannelLabel> channelLabels;
  std::atomic<bool> isOffline{false};
  std::atomic<bool> isRealtime{false};  // a host that says neither is taken as it comes
  std::atomic<std::int32_t> sampleCount{0};

 private:
  void stepHistory(bool towardsRedo);
  [[nodiscard]] bool hostShowsPinsAsSpeakers();
};
