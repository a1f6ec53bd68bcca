#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "core/loading_flags.h"
#include "core/parameter_hand_over.h"
#include "core/plug_edits.h"
#include "core/plug_state.h"
#include "core/preferences.h"
#include "core/value_text.h"
#include "dynamics/compressor.h"
#include "editing/graph_nodes.h"
#include "host/editor_state.h"
#include "host/plug_base_json.h"
#include "host/preset_files.h"
#include "platform/clock.h"
#include "platform/memory_share.h"
#include "state/machine.h"
#include "state/ui_settings.h"

/// The effect: 422 parameters around one engine.
///
/// Channels: `inputs` are two main channels and two sidechain channels, `outputs` two main
/// channels. If the last output is null the call is mono: one main input, then one sidechain input.
///
/// Threads: `processReplacing`, `processDoubleReplacing` and `processEvents` on the audio thread.
/// Processing is not real-time safe in the one block in which the host switches between real time
/// and offline. Parameters, edits and `setSampleRate` from any control thread at any moment;
/// `resume` while nothing processes.
class Plug : public PlugBaseJSON {
 public:
  /// Who calls `onIdle`: the process's 10 ms timer, or the code that made the instance (a renderer,
  /// a test), which then controls when idle work is done.
  enum class Idle { kTimer, kCaller };
  using Clock = ParameterHandOver::Clock;

  /// Makes the editor of an effect, without a window. Called once, when all parts of the effect are
  /// constructed but preferences and banks are not loaded yet, so that the editor is told of them.
  /// Null for no editor.
  using EditorFactory = std::function<std::unique_ptr<AEffEditor>(Plug&)>;

  /// Loads preferences, the band template and the default bank of `machine`, which must outlive the
  /// effect. The engine is ready for `rate` (Hz, as for `setSampleRate`), without a `resume`.
  explicit Plug(AudioMasterCallback audioMaster = nullptr, Idle idle = Idle::kTimer,
                Clock clock = &monotonicMilliseconds, Machine& machine = Machine::ofProcess(),
                const EditorFactory& makeEditor = nullptr, float rate = 44100.0F);
  ~Plug() override;

  void processReplacing(float** inputs, float** outputs, std::int32_t frames) override;
  void processDoubleReplacing(double** inputs, double** outputs, std::int32_t frames) override;
  void resume() override;
  /// Hz; ignored unless `isSampleRate`. The engine keeps its present rate until `resume`.
  void setSampleRate(float rate) override;
  bool setBypass(bool on) override;
  /// See `EditedParameters::set`.
  void setParameterAutomated(std::int32_t index, float normalised) override {
    parameterEdits.set(index, normalised);
  }
  void beginEdit(std::int32_t index) override { parameterEdits.begin(index); }
  void endEdit(std::int32_t index) override { parameterEdits.end(index); }
  /// Whether memory ran out before the engine had every change; a later `onIdle` finishes the work.
  [[nodiscard]] bool isUpdateMissing() const noexcept {
    return handOver.isMissing() || parameterEdits.chain.isMissing();
  }
  void offlineChanged(bool offline) override;
  /// Works out the latency and tells the host when it has changed.
  void updateLatency();
  void onIdle() override;

  bool getEffectName(char* text) override;
  bool getProductString(char* text) override { return getEffectName(text); }
  bool getVendorString(char* text) override;
  [[nodiscard]] float getParameterDefault(std::int32_t index) const noexcept override {
    return parameterEdits.getDefault(index);
  }

  /// For a host whose values come with its blocks, on the audio thread: they glide whatever the
  /// pace of its calls.
  void playLive() noexcept { handOver.setAlwaysLive(true); }
  /// On the audio thread: see `compressor::startHostBlock`.
  void startHostBlock(int frames) noexcept { engine.startHostBlock(frames); }
  /// As the base; also tells the host, once each, of the parameters that a full document changed.
  std::int32_t setChunk(const void* data, std::int32_t byteSize, bool isPreset) override;
  void setDocument(const JsonNode* root, bool isPreset) override;
  /// Applies the machine's present preferences.
  void applyGlobalPreferences();

  // Locks and links; ids out of range read false and are ignored.
  [[nodiscard]] bool isLocked(std::int32_t id) const { return parameterEdits.isLocked(id); }
  [[nodiscard]] bool isLinked(std::int32_t id) const { return parameterEdits.isLinked(id); }
  void setLocked(std::int32_t id, bool on) { parameterEdits.setLocked(id, on); }
  void setLinked(std::int32_t id, bool on) { parameterEdits.setLinked(id, on); }
  using FlagWords = BandRules::Words;
  [[nodiscard]] FlagWords getLockWords() const noexcept { return bandRules.locked.words(); }
  [[nodiscard]] FlagWords getLinkWords() const noexcept { return bandRules.linked.words(); }
  void setLockWords(std::span<const std::int32_t> words) { parameterEdits.setLockWords(words); }
  void setLinkWords(std::span<const std::int32_t> words) { parameterEdits.setLinkWords(words); }

  /// See `LoadingFlags`.
  [[nodiscard]] std::int32_t getLoadingFlags() { return loadingFlags.get(); }
  void setLoadingFlags(std::int32_t flags);

  /// What texts of parameter `index` depend on at present; `index` must be in range. Any thread.
  [[nodiscard]] ValueTextContext textContext(std::int32_t index) const;

  // Edits; see `editing/`.
  [[nodiscard]] PlugEdits& edits() noexcept { return parameterEdits; }
  int addBand(int list, double frequency) { return edits().bands.addBand(list, frequency); }
  bool setBandPosition(int band, int list) { return edits().bands.setBandPosition(band, list); }
  void deleteBand(int band) { edits().bands.deleteBand(band); }
  void checkSidechainSources() { edits().bands.checkSidechainSources(); }
  std::int32_t saveBand(std::string& text, int band) { return files().saveBand(text, band); }
  void saveDefaultBand(int band) { files().saveDefaultBand(band); }
  bool loadBandFromText(const char* text, std::size_t size, int band) {
    return files().loadBandFromText(text, size, band);
  }
  void resetBand(int band) { files().resetBand(band); }

  // See `editing/graph_nodes.h`.
  [[nodiscard]] int bandParameter(int kind, int node) { return nodeParameter(edits(), kind, node); }
  [[nodiscard]] float getBandValue(int kind, int node) { return nodeValue(edits(), kind, node); }
  [[nodiscard]] int getBandFlags(int node, int flags = 0) {
    return nodeFlags(edits(), node, flags);
  }

  // State and services for the editor; message thread.
  [[nodiscard]] EditorState& editorState() noexcept { return editor; }
  [[nodiscard]] UiSettings& uiSettings() noexcept { return uiOptions; }
  [[nodiscard]] Machine& machine() noexcept { return ownMachine; }
  [[nodiscard]] PresetFiles& presetFiles() noexcept { return presets; }

  /// For what graphs and meters read that has no call of its own here; they call no setters of it.
  [[nodiscard]] compressor& getEngine() noexcept { return engine; }

  // Values that graphs draw; see `compressor`. Any thread but the audio thread, several at once.
  [[nodiscard]] double getBandResponse(int band, double frequency) {
    return engine.getBandResponse(band, frequency);
  }
  void getBandCurve(int band, const float* frequencies, int n, float* out) {
    engine.getBandCurve(band, frequencies, n, out);
  }

  [[nodiscard]] StaticCurve getStaticCurve(int band) const { return engine.getStaticCurve(band); }

  // Values that meters show. Any thread, but one at a time per selector of `getGainReduction`.
  void setMeterDecay(double percent);  ///< see `compressor`
  [[nodiscard]] double getOutputPeak(int channel) const noexcept {
    return engine.getOutputPeak(channel);
  }
  [[nodiscard]] double getMeterValue(std::int32_t channel) const noexcept override {
    return getOutputPeak(channel);
  }
  /// See `GainReductionReader`. For one consumer only, since reading takes the peaks away:
  /// others make a `GainReductionReader` of their own over the engine's `meterPeaks`.
  [[nodiscard]] double getGainReduction(int selector) noexcept {
    return engine.getGainReduction(selector);
  }
  [[nodiscard]] double getBandGain(int band, int parts, int channel) const noexcept {
    return engine.getBandGain(band, parts, channel);
  }
  [[nodiscard]] double getBandEnvelope(int band) const noexcept {
    return engine.getBandEnvelope(band);
  }
  [[nodiscard]] double getBandLamp(int band, bool fast) const noexcept {
    return engine.getBandLamp(band, fast);
  }
  [[nodiscard]] double getBandGraphGain(int band) const noexcept {
    return engine.getBandGraphGain(band);
  }
  /// The last `n` samples, at most 8192, of the output (left, right) and of the dry signal (left,
  /// right), without the newest block.
  void getAnalyserData(double* const buffers[AnalyserFeed::kTraces], int n) const noexcept {
    engine.analyserFeed().copyLatest(buffers, n);
  }

 protected:
  [[nodiscard]] std::string parameterText(std::int32_t index, float normalised,
                                          bool showNote) const override;
  void processMidi(const VstMidiEvent& event) noexcept override;
  void restoreLoadedState(std::int32_t marker, bool towardsRedo) override;

 private:
  static constexpr int kMainChannels = 2;
  static constexpr int kSidechainChannels = 2;

  void start(float rate);
  template <typename Sample>
  void process(Sample** inputs, Sample** outputs, std::int32_t frames) noexcept;
  [[nodiscard]] BandFiles& files() noexcept { return parameterEdits.bandFiles; }

  const MemoryShare memory;  // first, so that it is destroyed after all that it counts
  compressor engine;
  Machine& ownMachine;
  EditorState editor;
  UiSettings uiOptions;
  LoadingFlags loadingFlags;
  ParameterHandOver handOver;
  BandRules bandRules;
  PlugEdits parameterEdits;
  PlugState state;
  PresetFiles presets;
  std::atomic<bool> simpleNumbers{false};
  const Idle idle;
  /// Deletes the editor before the members that it shows, even if the constructor throws.
  const struct EditorEnd {
    Plug& plug;
    ~EditorEnd();
  } editorEnd{*this};  // last
};
