#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>

#include "core/analyser_feed.h"
#include "core/auto_gain.h"
#include "core/band_operations.h"
#include "core/crossover_edits.h"
#include "core/parameter_ids.h"
#include "core/preferences.h"
#include "core/update_gate.h"
#include "core/value_text.h"
#include "dynamics/compressor.h"
#include "dynamics/output_peak.h"
#include "host/idle_timer.h"
#include "host/plug_base_json.h"
#include "platform/clock.h"
#include "platform/plug_base_mutex.h"

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

  explicit Plug(AudioMasterCallback audioMaster = nullptr, Idle idle = Idle::kTimer,
                Clock clock = &monotonicMilliseconds);
  ~Plug() override;

  void processReplacing(float** inputs, float** outputs, std::int32_t frames) override;
  void processDoubleReplacing(double** inputs, double** outputs, std::int32_t frames) override;

  void resume() override;
  /// The engine goes on at the rate it had until `resume`.
  void setSampleRate(float rate) override;
  void setBlockSize(std::int32_t frames) override;
  bool setBypass(bool on) override;
  /// As the base, but crossover bands make room for one that moves: `CrossoverEdits`.
  void setParameterAutomated(std::int32_t index, float normalised) override;
  void beginEdit(std::int32_t index) override;
  void endEdit(std::int32_t index) override;
  /// Settings reach the engine at once, new filters as often as `UpdateGate` lets them; what it
  /// keeps back `onIdle` makes up for.
  void updateDsp(bool force) override;
  void offlineChanged(bool offline) override;
  /// Works out the latency and tells the host when it has changed.
  void updateLatency();
  void onIdle() override;

  bool getEffectName(char* text) override;
  bool getProductString(char* text) override;
  bool getVendorString(char* text) override;
  void formatParameterValue(std::int32_t index, float normalised, char* text,
                            bool showNote) const override;

  void applyPreferences(const Preferences& newPreferences);
  /// How soon the bands' gain meters let go of a peak: 100 % at the end of its block, 0 % over
  /// seconds.
  void setMeterDecay(double percent);

  // Bands, as the editor's menus use them; `list` is a `BandList`, `frequency` in Hz.
  void addBand(int list, double frequency) { bandOperations.addBand(list, frequency); }
  void setBandPosition(int band, int list) { bandOperations.setBandPosition(band, list); }
  void deleteBand(int band) { bandOperations.deleteBand(band); }
  void checkSidechainSources() { bandOperations.checkSidechainSources(); }

  // Nodes of the graphs: 0..7 bands, 8..14 crossover points, from 15 sidechain filters.
  [[nodiscard]] int bandParameter(int kind, int node);
  [[nodiscard]] float getBandValue(int kind, int node);
  [[nodiscard]] int getBandFlags(int node, int flags = 0);

  // What the editor shows; any thread, but one at a time per selector of `getGainReduction`.
  [[nodiscard]] double getOutputPeak(int channel) const noexcept {
    return outputPeak.peak(channel);
  }
  [[nodiscard]] double getGainReduction(int selector) noexcept;
  [[nodiscard]] double getBandGain(int band, int parts, int channel) const noexcept;
  [[nodiscard]] double getBandEnvelope(int band) const noexcept;
  [[nodiscard]] double getBandLamp(int band, bool fast) const noexcept;
  [[nodiscard]] double getBandGraphGain(int band) const noexcept;
  [[nodiscard]] const AnalyserFeed& analyserFeed() const noexcept { return analyser; }

  [[nodiscard]] compressor& getEngine() noexcept { return engine; }

  /// Holds back `updateDsp` while several parameters change as one; the last hold to end makes up
  /// for it.
  class UpdateHold {
   public:
    explicit UpdateHold(Plug& plug);
    ~UpdateHold();
    UpdateHold(const UpdateHold&) = delete;
    UpdateHold& operator=(const UpdateHold&) = delete;

   private:
    Plug& held;
  };
  /// Moves a band in the chain at once, ahead of its parameters: for use under an `UpdateHold`.
  /// Returns the order that results, as `kBandOrder` holds it.
  float moveBand(int band, int list, double frequency);

 private:
  friend class AutoGain;
  friend class CrossoverEdits;

  template <typename Sample>
  void process(Sample** inputs, Sample** outputs, std::int32_t frames) noexcept;
  template <typename Sample>
  void feedMeters(Sample* const* outputs, int frames, int channels) noexcept;
  void startMeasuring();
  bool stopMeasuring();    // whether one was running
  void handOver();         // under `updateLock`
  void redesign();         // under `updateLock`
  void takePreferences();  // under `updateLock`
  void updateGlobals();
  void updateBand(int band);
  void updateSidechainRoute(int band);
  void updateOversampling();
  void updateSplits();
  [[nodiscard]] bool updatesHeld();
  [[nodiscard]] ValueTextContext textContext(int index) const;
  [[nodiscard]] bool isOn(int index) const { return getPlainValue(index) != 0.0F; }

  compressor engine;
  AnalyserFeed analyser;
  OutputPeak outputPeak;
  AutoGain autoGain{*this};
  BandOperations bandOperations{*this};
  CrossoverEdits crossoverEdits{*this};
  Preferences preferences;
  std::atomic<bool> simpleNumbers{false};
  std::atomic<double> outTrimLinear{1.0};  // for the analyser's dry feed
  PlugBaseMutex updateLock;                // one control thread at a time hands over parameters
  int updateSuspended = 0;                 // holds, under the lock; `updateDsp` runs only at 0
  UpdateGate gate;                         // under the lock, but for its other threads' parts
  const Clock clock;
  const Idle idle;
};
