#pragma once

#include <array>
#include <atomic>
#include <bitset>
#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <thread>
#include <vector>

#include "host/audio_effect_x.h"
#include "host/idle_timer.h"
#include "host/parameter_keys.h"
#include "host/parameter_record.h"
#include "host/program_record.h"
#include "state/history.h"

/// Names of one channel for meters: in left/right and in mid/side form.
struct ChannelLabel {
  std::string leftRight;
  std::string midSide;
};

/// The generic effect: parameters, programs, banks and the messages to and from the host. It knows
/// nothing of bands.
///
/// Threads: `processReplacing`, `processDoubleReplacing` and `processEvents` on the audio thread;
/// all else on the host's control threads or the message thread. Parameter values are single 32-bit
/// words, read and written atomically. Program names, programs and banks as a whole: `StateScope`.
/// `undo` and `redo` are for one thread at a time.
class PlugBase : public AudioEffectX, public IdleClient {
 public:
  static constexpr int kNumBanks = 8;
  static constexpr std::size_t kMostParameters = 512;
  static constexpr std::size_t kParameterTextCapacity = kTextCapacity;

  /// `table` gives the records with the default in `value`; `keys` must outlive the effect. The
  /// groups of the records and `bandNames` come from the identifiers: "kB3Ratio" belongs to band 3.
  PlugBase(AudioMasterCallback audioMaster, std::span<const ParameterRecord> table,
           const ParameterKeys& keys, int numPrograms);
  ~PlugBase() override;

  /// As the base, but the idle of an editor is none of the host's business: it comes from the
  /// timer.
  std::intptr_t dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value, void* ptr,
                           float opt) override;

  // Parameters. `normalised` is 0..1 and clamped; NaN and ids out of range are ignored, and read 0.
  /// Stores the value in the record, the present program and the live bank, then
  /// `updateDsp(false)`, then tells the editor. Another bank than the live one as value of
  /// `abParameter` is switched to, unless a state is being loaded.
  void setParameter(std::int32_t index, float normalised) override;
  float getParameter(std::int32_t index) override;
  void setParameterAutomated(std::int32_t index, float normalised) override;
  /// `beginEdit`, `setParameterAutomated` of the plain value, `endEdit`.
  void setParameterWithEdit(std::int32_t index, float plain);
  // Frame an edit by the user, which `undo` takes back as one; also the ids of loaded states. Told
  // to the host for parameters, unless `gesturesOff` is set.
  void beginEdit(std::int32_t index) override;
  /// Forgets an edit that changed nothing, and what could be redone after one that did; runs
  /// `updateDsp(true)` before the host is told.
  void endEdit(std::int32_t index) override;
  bool canParameterBeAutomated(std::int32_t index) override;
  // Ids out of range leave the text as it was.
  void getParameterName(std::int32_t index, char* text) override;
  void getParameterLabel(std::int32_t index, char* text) override;
  void getParameterDisplay(std::int32_t index, char* text) override;

  [[nodiscard]] virtual float plainToNormalised(std::int32_t index, float plain) const;
  [[nodiscard]] virtual float normalisedToPlain(std::int32_t index, float normalised) const;
  [[nodiscard]] virtual float getPlainValue(std::int32_t index) const;
  /// Steps from the lowest value to the highest as hosts count them; 0 for a continuous parameter.
  [[nodiscard]] virtual std::int32_t getStepCount(std::int32_t index) const;
  /// Width of a step in plain units; 1 also for a continuous parameter.
  [[nodiscard]] virtual std::int32_t getStepSize(std::int32_t index) const;
  /// Writes at most `kParameterTextCapacity` bytes. A negative index leaves `text` as it was; one
  /// at or beyond the last gives an empty text.
  virtual void formatParameterValue(std::int32_t index, float normalised, char* text,
                                    bool showNote) const;

  /// For hosts that treat stepped parameters as a count of steps: maps such a value toward the host
  /// or toward the engine; values of other parameters come back unchanged.
  [[nodiscard]] float hostStepValue(std::int32_t index, float value, bool toHost) const;
  [[nodiscard]] virtual float getParameterDefault(std::int32_t index) const noexcept;  ///< 0..1
  [[nodiscard]] float normalisedValue(std::int32_t index) const noexcept;  ///< 0 out of range
  [[nodiscard]] std::int32_t parameterCount() const noexcept;
  /// In range only. `value` and `normalised` of it change under the reader: read them through the
  /// getters.
  [[nodiscard]] const ParameterRecord& parameterInfo(std::int32_t index) const;
  [[nodiscard]] const ParameterKeys& parameterKeys() const noexcept { return keys; }
  [[nodiscard]] const std::vector<std::string>& getBandNames() const noexcept { return bandNames; }

  // Banks A to H, each a set of values; the live one follows every change. Out of range does
  // nothing.
  virtual void switchBank(std::int32_t bank);
  virtual void copyToBank(std::int32_t bank);  ///< the present values; the live bank stays
  [[nodiscard]] virtual std::int32_t getCurrentBank() const noexcept {
    return curBank.load(relaxed);
  }
  virtual void setAbParameter(std::int32_t id) noexcept { abParameter = id; }

  // History. Edits between the two marks are undone as one; marks with nothing between leave none,
  // and those of a group within a group are left out.
  virtual void beginHistoryGroup();
  virtual void endHistoryGroup();
  /// The group that is open ends as soon as the edit of this parameter has begun, which belongs to
  /// it: what its gesture will change is known then, and no end can be lost.
  void endGroupWithEdit(std::int32_t index);
  virtual void undo();
  virtual void redo();
  [[nodiscard]] virtual bool canUndo() { return !undoStack.empty(); }
  [[nodiscard]] virtual bool canRedo() { return !redoStack.empty(); }
  virtual void clearHistory();

  // Programs. Names are cut to 63 bytes.
  std::int32_t getProgram() override;
  /// Applies the values of a program, but for `abParameter` unless a state is being loaded; clears
  /// `isLoading` and tells the host. Out of range does nothing.
  void setProgram(std::int32_t program) override;
  void setProgramName(const char* name) override;
  void getProgramName(char* name) override;
  bool getProgramNameIndexed(std::int32_t category, std::int32_t index, char* text) override;

  bool getInputProperties(std::int32_t index, VstPinProperties* properties) override;
  bool getOutputProperties(std::int32_t index, VstPinProperties* properties) override;
  std::int32_t canDo(const char* text) override;

  /// Names of the channels in use, from the adapter, before an editor opens.
  void setChannelLabels(std::vector<ChannelLabel> labels) { channelLabels = std::move(labels); }
  [[nodiscard]] const std::vector<ChannelLabel>& getChannelLabels() const noexcept {
    return channelLabels;
  }

  /// Hands each MIDI event of the list to `processMidi`; other events and null ones are left out.
  std::int32_t processEvents(const VstEvents* events) override;

  /// Asks the host for its process level; on a change of the offline state calls `offlineChanged`.
  virtual void checkProcessLevel();
  /// `isOffline` holds the new state already. Runs on the audio thread; here: `updateDsp(true)`.
  virtual void offlineChanged(bool offline);
  /// Hands all parameters to the engine. `force` also runs what is rate limited.
  virtual void updateDsp(bool force);
  /// Called every 10 ms on the message thread, once the instance is in the timer's list. Makes up
  /// for what `setParameterFromAudio` leaves open.
  void onIdle() override;
  void onEditorIdle() override;

  /// While a batch lives, `updateDsp` waits; its end makes up for it.
  class UpdateBatch {
   public:
    explicit UpdateBatch(PlugBase& plug) : held(plug) { held.holdUpdates(); }
    ~UpdateBatch() { held.releaseUpdates(); }
    UpdateBatch(const UpdateBatch&) = delete;
    UpdateBatch& operator=(const UpdateBatch&) = delete;

   private:
    PlugBase& held;
  };

  /// While it lives, no other thread reads or replaces the state as a whole, its texts included.
  /// Scopes nest, since the calls that do so are made of each other. Never on the audio thread.
  ///
  /// What the host is to hear meanwhile it hears at the end of the outermost scope, each parameter
  /// once, when the lock is open: it may answer by asking for the state, or want a lock of its own
  /// whose holder waits for the state.
  class StateScope {
   public:
    explicit StateScope(PlugBase& plug);
    ~StateScope();
    StateScope(const StateScope&) = delete;
    StateScope& operator=(const StateScope&) = delete;

   private:
    friend class PlugBase;
    [[nodiscard]] bool keep(std::int32_t opcode, std::int32_t index) noexcept;
    void tellHost();

    PlugBase& held;
    bool isOutermost = false;
    // Messages that wait.
    std::bitset<kMostParameters> automated;
    bool programChanged = false;
    bool latencyChanged = false;
  };

  [[nodiscard]] std::int32_t getSampleCount() const noexcept { return sampleCount.load(relaxed); }

 protected:
  /// One MIDI message on the audio thread, `event.deltaFrames` into the coming block.
  virtual void processMidi(const VstMidiEvent& event) noexcept;

  /// As `setParameter`, without lock or allocation: the values stand at once, engine, editor and
  /// host hear of them at the next `onIdle`. A bank is switched to here, too.
  virtual void setParameterFromAudio(std::int32_t index, float normalised) noexcept;

  // What `UpdateBatch` does; they count.
  virtual void holdUpdates() {}
  virtual void releaseUpdates() {}

  /// The values of a bank or a program stand in place of those before: what does not fit together
  /// is to be brought in line. Under an `UpdateBatch`.
  virtual void valuesReplaced() {}
  /// As `switchBank`, told to the host as said.
  void applyBank(std::int32_t bank, bool tellsHost);
  /// Makes a bank the live one, and the bank selector tell so; its values stay where they are.
  void selectBank(std::int32_t bank) noexcept;

  /// The state that a load has replaced is to come back, or go again: `marker` as in the history.
  virtual void restoreLoadedState(std::int32_t marker, bool towardsRedo);
  /// Notes the present value of a parameter for `undo`, as `beginEdit` does, and forgets it again
  /// if it is the same at the end.
  void beginRecording(std::int32_t index);
  void endRecording(std::int32_t index);
  /// A gesture is open: its end has been lost if another one of the same parameter begins.
  [[nodiscard]] bool inGesture(std::int32_t index) const noexcept;
  void endLostGesture(std::int32_t index);
  /// The end of a gesture that `endLostGesture` has ended comes after all; to be left out.
  [[nodiscard]] bool isLateEnd(std::int32_t index) noexcept;

  /// Tells the host the present value of a parameter, which it may give back at any time later.
  void tellValue(std::int32_t index);
  void tellInGesture(std::int32_t index);        ///< as `tellValue`, with a begin and an end
  void expectEcho(std::int32_t index) noexcept;  ///< of what is told otherwise
  /// Whether a value is the one that the host was told last by itself, while it still stands: then
  /// it is no news.
  [[nodiscard]] bool isEcho(std::int32_t index, float normalised) noexcept;

  [[nodiscard]] bool keepsMessage(std::int32_t opcode, std::int32_t index) noexcept override;
  /// Declares the latency in samples; a change is told to the host.
  void declareLatency(std::int32_t samples);
  /// Counts processed samples, wrapping around; audio thread.
  void advanceSampleCount(std::int32_t frames) noexcept { sampleCount.fetch_add(frames, relaxed); }
  [[nodiscard]] bool isParameter(std::int32_t index) const noexcept;

  std::vector<ParameterRecord> parameters;  // `value` and `normalised` by `host/shared_value.h`
  const ParameterKeys& keys;
  std::vector<std::string> bandNames;
  std::vector<ChannelLabel> channelLabels;
  std::vector<ProgramRecord>
      programs;  // never empty; `values` of these and the banks are shared, too
  std::array<ProgramRecord, kNumBanks> banks;
  ProgramRecord defaultValues;  // never changed after construction
  std::atomic<std::int32_t> curProgram{0};
  std::atomic<std::int32_t> curBank{0};  // the live bank
  std::int32_t abParameter = -1;         // id of the bank selector
  std::atomic<bool> isOffline{false};
  std::atomic<bool> gesturesOff{false};
  std::atomic<bool> isLoading{false};
  std::atomic<bool> inHistoryStep{false};          // an undo or redo is being carried out
  std::atomic<bool> notifyAllOnBankSwitch{false};  // the host hears of every parameter
  std::atomic<std::int32_t> sampleCount{0};
  HistoryStack undoStack;
  HistoryStack redoStack;

 private:
  /// Aligned as one word, or some compilers call a library with locks for it.
  struct alignas(8) Echo {
    float normalised = 0.0F;
    std::uint32_t isDue = 0;
  };

  void takeGroups();
  [[nodiscard]] bool isBankSwitch(std::int32_t index, float normalised) const noexcept;
  [[nodiscard]] std::int32_t bankOf(float normalised) const noexcept;
  void snapBank(std::int32_t bank) noexcept;
  [[nodiscard]] float bankValue(std::int32_t bank, std::int32_t index) const noexcept;
  void storeParameter(std::int32_t index, float normalised) noexcept;
  void switchBankFromAudio(std::int32_t bank) noexcept;
  void tellGesture(std::int32_t index, bool begins);
  void endAwaitedGroup(std::int32_t index);
  [[nodiscard]] float historyValue(std::int32_t id) const noexcept;
  void stepHistory(bool towardsRedo);
  void restoreParameter(HistoryEntry entry, bool towardsRedo);
  void makeUpForAudio();
  void fillProgram(ProgramRecord& program) const;
  [[nodiscard]] ProgramRecord& program() {
    return programs[static_cast<std::size_t>(curProgram.load(relaxed))];
  }
  [[nodiscard]] bool hostShowsPinsAsSpeakers();

  std::recursive_mutex stateMutex;
  StateScope* outermostScope = nullptr;       // under `stateMutex`
  std::atomic<std::thread::id> stateOwner{};  // the thread that holds it
  std::atomic<bool> audioChangedValues{false};
  std::atomic<int> historyGroups{0};              // open ones; a group within a group is part of it
  std::atomic<std::int32_t> audioBankSwitch{-1};  // the bank that the audio thread switched to
  std::vector<std::atomic<bool>> audioChanged;    // by parameter
  std::vector<std::atomic<bool>> openGestures;    // by parameter
  std::vector<std::atomic<bool>> lateEnds;        // by parameter: one may still come
  std::vector<std::atomic<Echo>> echoes;          // by parameter: told, and due to come back
  std::atomic<std::int32_t> groupEndsWith{-1};    // the edit that the open group waits for
};
