#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <span>
#include <string>

#include "core/analyser_feed.h"
#include "core/auto_gain.h"
#include "core/band_files.h"
#include "core/band_operations.h"
#include "core/crossover_edits.h"
#include "core/linked_edits.h"
#include "core/parameter_ids.h"
#include "core/preferences.h"
#include "core/update_gate.h"
#include "core/value_text.h"
#include "dynamics/compressor.h"
#include "dynamics/output_peak.h"
#include "host/editor_state.h"
#include "host/idle_timer.h"
#include "host/plug_base_json.h"
#include "host/preset_files.h"
#include "platform/clock.h"
#include "platform/memory_share.h"
#include "platform/plug_base_mutex.h"
#include "state/machine.h"
#include "state/parameter_flags.h"
#include "state/ui_settings.h"

/// The effect: 422 parameters around one engine.
///
/// Channels: `inputs` are two main channels and two sidechain channels, `outputs` two. A null last
/// output makes the call mono: one main input, then one sidechain input.
///
/// Threads: `processReplacing`, `processDoubleReplacing` and `processEvents` on the audio thread.
/// Two things there leave real time: a block longer than any announced by `setBlockSize` (at least
/// 4096 frames are always ready), and a switch of the host between real time and offline.
/// Parameters, edits, band operations, `setSampleRate` and `setBlockSize` from any control thread
/// at any moment; `resume` while nothing processes.
class Plug : public PlugBaseJSON {
 public:
  /// Who calls `onIdle`: the process's 10 ms timer, or whoever made the instance (a renderer, a
  /// test), so that what happens when is its own decision.
  enum class Idle { kTimer, kCaller };

  /// Milliseconds of a clock that never runs backwards; asked on any thread, must not lock.
  using Clock = std::function<std::int64_t()>;

  /// Takes preferences, the band template and the default banks of `machine`, which must outlive
  /// it.
  explicit Plug(AudioMasterCallback audioMaster = nullptr, Idle idle = Idle::kTimer,
                Clock clock = &monotonicMilliseconds, Machine& machine = Machine::ofProcess());
  ~Plug() override;

  void processReplacing(float** inputs, float** outputs, std::int32_t frames) override;
  void processDoubleReplacing(double** inputs, double** outputs, std::int32_t frames) override;

  void resume() override;
  /// What is no rate is ignored. The engine goes on at the rate it had until `resume`.
  void setSampleRate(float rate) override;
  void setBlockSize(std::int32_t frames) override;
  bool setBypass(bool on) override;
  /// As the base, but a locked parameter stays as it is, and a linked one takes the same row of all
  /// other bands that are linked, too, and not locked, with it; not in a step of the history, which
  /// knows the others' own values.
  void setParameter(std::int32_t index, float normalised) override;
  /// As the base, but crossover bands make room for one that moves: `CrossoverEdits`. A locked
  /// parameter is not told to the host either.
  void setParameterAutomated(std::int32_t index, float normalised) override;
  /// All that are linked with a parameter take its value.
  void alignLinked(std::int32_t index);
  void beginEdit(std::int32_t index) override;
  void endEdit(std::int32_t index) override;
  /// Settings reach the engine at once, new filters as often as `UpdateGate` lets them; what it
  /// keeps back `onIdle` makes up for.
  /// Where memory runs out, nothing of it is lost: `isUpdateMissing` says so until `onIdle` or
  /// another call has come to the end.
  void updateDsp(bool force) override;
  [[nodiscard]] bool isUpdateMissing() const noexcept {
    return updateMissing.load(relaxed) || repairMissing.load(relaxed);
  }
  void offlineChanged(bool offline) override;
  /// Works out the latency and tells the host when it has changed.
  void updateLatency();
  void onIdle() override;

  bool getEffectName(char* text) override;
  bool getProductString(char* text) override;
  bool getVendorString(char* text) override;
  void formatParameterValue(std::int32_t index, float normalised, char* text,
                            bool showNote) const override;

  /// Makes a chain of the parameters, where all have been replaced and their order tells none: a
  /// band that is on is to be heard, and locks do not hold that off.
  void repairChain() noexcept;
  /// As the base; the host hears of each parameter that a full document has changed, once.
  std::int32_t setChunk(const void* data, std::int32_t byteSize, bool isPreset) override;
  /// As `switchBank`, for a document: the host hears of it with the rest.
  void loadBank(std::int32_t bank) { applyBank(bank, false); }

  /// Takes the machine's preferences as they are now.
  void applyGlobalPreferences();

  // Flags of parameters; ids out of range read false and are ignored. Words hold 32 flags each,
  // parameter 0 in the lowest bit of the first; what lies beyond the words given stays.
  using Flags = ParameterFlags<kNumParams>;
  using FlagWords = std::array<std::int32_t, Flags::kWords>;
  [[nodiscard]] bool isLocked(std::int32_t id) const noexcept { return locked.get(id); }
  [[nodiscard]] bool isLinked(std::int32_t id) const noexcept { return linked.get(id); }
  void setLocked(std::int32_t id, bool on) noexcept;
  void setLinked(std::int32_t id, bool on) noexcept;
  [[nodiscard]] FlagWords getLockWords() const noexcept { return locked.words(); }
  [[nodiscard]] FlagWords getLinkWords() const noexcept { return linked.words(); }
  void setLockWords(std::span<const std::int32_t> words) noexcept;
  void setLinkWords(std::span<const std::int32_t> words) noexcept;
  /// Of all rows of a band.
  void clearBandFlags(int band) noexcept;

  /// Bit 0: preset files carry and restore the editor's part. Stored for the machine.
  [[nodiscard]] std::int32_t getLoadingFlags();
  void setLoadingFlags(std::int32_t flags);

  /// The value that double clicks and new bands go to: of the band template, 0..1.
  [[nodiscard]] float getParameterDefault(std::int32_t index) const noexcept override;
  /// The template of one parameter, 0..1.
  void setParameterDefault(std::int32_t index, float normalised) noexcept;

  // What the editor will show; the message thread's.
  [[nodiscard]] EditorState& editorState() noexcept { return editor; }
  [[nodiscard]] UiSettings& uiSettings() noexcept { return uiOptions; }
  [[nodiscard]] Machine& machine() noexcept { return ownMachine; }
  [[nodiscard]] PresetFiles& presetFiles() noexcept { return files; }
  /// How soon the bands' gain meters let go of a peak: 100 % at the end of its block, 0 % over
  /// seconds.
  void setMeterDecay(double percent);

  // Bands, as the editor's menus use them; `list` is a `BandList`, `frequency` in Hz.
  // The first two return whether they found a band and room for it.
  bool addBand(int list, double frequency) { return bandOperations.addBand(list, frequency); }
  bool setBandPosition(int band, int list) { return bandOperations.setBandPosition(band, list); }
  void deleteBand(int band) { bandOperations.deleteBand(band); }
  void checkSidechainSources() { bandOperations.checkSidechainSources(); }

  // Band files and the band template: `BandFiles`.
  std::int32_t saveBand(std::string& text, int band) const {
    return bandFiles.saveBand(text, band);
  }
  void saveDefaultBand(int band) { bandFiles.saveDefaultBand(band); }
  bool loadBandFromText(const char* text, std::size_t size, int band) {
    return bandFiles.loadBandFromText(text, size, band);
  }
  void resetBand(int band) { bandFiles.resetBand(band); }
  void loadBandTemplate() { bandFiles.loadBandTemplate(); }
  bool saveBandFile(const std::string& path, int band) const {
    return bandFiles.saveBandFile(path, band);
  }
  bool loadBandFile(const std::string& path, int band) {
    return bandFiles.loadBandFile(path, band);
  }

  // Nodes of the graphs: 0..7 bands, 8..14 crossover points, from 15 sidechain filters.
  [[nodiscard]] int bandParameter(int kind, int node);
  [[nodiscard]] float getBandValue(int kind, int node);
  [[nodiscard]] int getBandFlags(int node, int flags = 0);

  // What the editor shows; any thread, but one at a time per selector of `getGainReduction`.
  [[nodiscard]] double getOutputPeak(int channel) const noexcept {
    return outputPeak.peak(channel);
  }
  [[nodiscard]] double getMeterValue(std::int32_t channel) const noexcept override {
    return getOutputPeak(channel);
  }
  [[nodiscard]] double getGainReduction(int selector) noexcept;
  [[nodiscard]] double getBandGain(int band, int parts, int channel) const noexcept;
  [[nodiscard]] double getBandEnvelope(int band) const noexcept;
  [[nodiscard]] double getBandLamp(int band, bool fast) const noexcept;
  [[nodiscard]] double getBandGraphGain(int band) const noexcept;
  [[nodiscard]] const AnalyserFeed& analyserFeed() const noexcept { return analyser; }

  [[nodiscard]] compressor& getEngine() noexcept { return engine; }

  /// Several parameters change as one: the engine hears of them when the last hold ends.
  using UpdateHold = UpdateBatch;
  /// Moves a band in the layout, ahead of its parameters: for use under an `UpdateHold`, at whose
  /// end the audio thread sees both. Returns the order that results, as `kBandOrder` holds it.
  float moveBand(int band, int list, double frequency);

 protected:
  [[nodiscard]] bool extrasChanged() const override { return extras() != storedExtras; }
  JsonTree saveState(bool isPreset) override;
  JsonTree loadState(const char* text, bool isPreset) override;
  void documentLoaded(const JsonNode* root) override;
  void setParameterFromAudio(std::int32_t index, float normalised) noexcept override;
  void processMidi(const VstMidiEvent& event) noexcept override;
  void holdUpdates() override;
  void releaseUpdates() override;
  void valuesReplaced() override { repairChain(); }
  void restoreLoadedState(std::int32_t marker, bool towardsRedo) override;

 private:
  friend class AutoGain;
  friend class BandActions;
  friend class BandOperations;
  friend class CrossoverEdits;
  friend class LinkedEdits;

  /// What a document holds besides parameters and flags.
  struct Extras {
    StoredEditorState editor;
    unsigned uiRevision = 0;
    bool operator==(const Extras&) const = default;
  };
  [[nodiscard]] Extras extras() const { return {editor, uiOptions.revision()}; }

  template <typename Set>
  void spread(std::int32_t index, const Set& set);
  void clearFlags() noexcept;
  void keepOldLogBehaviour(bool isPreset);
  void loadDefaultBanks();
  void applyPreferences(const Preferences& newPreferences);

  template <typename Sample>
  void process(Sample** inputs, Sample** outputs, std::int32_t frames) noexcept;
  template <typename Sample>
  void feedMeters(Sample* const* outputs, int frames, int channels) noexcept;
  void startMeasuring();
  bool stopMeasuring();  // whether one was running
  // Under `updateLock`; `asOne`: several parameters have changed together.
  void handOver(bool asOne);
  void handOverAll(bool asOne);
  void redesign();         // under `updateLock`
  void takePreferences();  // under `updateLock`
  void updateGlobals();
  void updateBand(int band);
  void updatePlace(int band);
  void updateOversampling();
  void updateSplits();
  [[nodiscard]] bool updatesHeld();
  [[nodiscard]] ValueTextContext textContext(int index) const;
  [[nodiscard]] bool isOn(int index) const { return getPlainValue(index) != 0.0F; }

  const MemoryShare memory;  // first: what it looks after goes before it
  compressor engine;
  AnalyserFeed analyser;
  OutputPeak outputPeak;
  AutoGain autoGain{*this};
  BandFiles bandFiles{*this};
  BandOperations bandOperations{*this};
  CrossoverEdits crossoverEdits{*this};
  LinkedEdits linkedEdits{*this};
  Machine& ownMachine;
  EditorState editor;
  PresetFiles files{*this, editor, ownMachine};
  UiSettings uiOptions;
  Extras storedExtras;  // of the last full document
  Flags locked;
  Flags linked;
  std::atomic<std::int32_t> loadingFlags{-1};
  ProgramRecord bandTemplate;
  Preferences preferences;
  std::atomic<bool> simpleNumbers{false};
  std::atomic<double> outTrimLinear{1.0};  // for the analyser's dry feed
  PlugBaseMutex updateLock;                // one control thread at a time hands over parameters
  int updateSuspended = 0;                 // holds, under the lock; `updateDsp` runs only at 0
  UpdateGate gate;                         // under the lock, but for its other threads' parts
  std::atomic<bool> updateMissing{false};  // for want of memory
  std::atomic<bool> repairMissing{false};  // likewise
  const Clock clock;
  const Idle idle;
};
