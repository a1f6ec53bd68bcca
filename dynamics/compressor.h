#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "dynamics/analyser_feed.h"
#include "dynamics/band_layout.h"
#include "dynamics/band_meters.h"
#include "dynamics/bands.h"
#include "dynamics/block_decay.h"
#include "dynamics/chain_fade.h"
#include "dynamics/engine_settings.h"
#include "dynamics/live_values.h"
#include "dynamics/loudness_meter.h"
#include "dynamics/meter_peaks.h"
#include "dynamics/output_feed.h"
#include "dynamics/output_peak.h"
#include "dynamics/signal_chain.h"
#include "dynamics/work_buffers.h"
#include "filters/kernel_exchange.h"
#include "platform/index.h"

/// The complete engine: processes blocks through the input gain, the chain of bands and the output
/// mix. Computes in 64-bit floating point, whatever the host's format.
///
/// Threads: setters on one control thread at a time, at any moment. The audio thread takes what
/// they set at the next `publish`, all at once; only filters, meters and measuring take effect
/// without it. `processBlock`, `setRealtime`, `setGliding` and `setFixedDelays` on the audio
/// thread, where nothing locks or allocates. `resetEngine` and `setSampleRate` while nothing
/// processes. Getters on any thread.
///
/// Usually settings take effect in the middle of the chain's signal, as they come. After
/// `startChange` they make a second chain instead, which is faded in when it is full.
class compressor {
 public:
  compressor();
  ~compressor();
  compressor(const compressor&) = delete;
  compressor& operator=(const compressor&) = delete;

  // Set-up.
  void setSampleRate(double rate) noexcept;  ///< Hz
  void resetEngine() noexcept;

  // Control side.
  /// `inDb`, `outDb` in decibels; `wetDry` 0..1.
  void setGains(double inDb, double outDb, bool bypass, bool listen, double wetDry) noexcept;
  /// Switches the measurement of loudness; any control thread. Returns whether it was on.
  bool setMeasuring(bool on);
  void setBand(int band, const BandSettings& settings) noexcept;
  void setDynamics(int band, const BandDynamics& dynamics) noexcept;
  void setExpandMode(bool on) noexcept;  ///< of all detectors
  void setSidechainRoute(int band, const SidechainRoute& route) noexcept;
  void setSidechainLinkage(int band, const SidechainLinkage& linkage) noexcept;
  void setSidechainTrim(int band, double decibels) noexcept;
  /// Designs the filters that have changed. Throws std::bad_alloc.
  void setSidechainFilters(int band, const SidechainFilterSettings& settings);
  void setOversampling(Oversampling mode);  ///< throws std::bad_alloc
  void setScListen(int band) noexcept;      ///< 0..7, or -1 for none
  /// What is heard of a soloed band: false the band itself, true the rest of the signal.
  void setAutolistenPassband(bool passband) noexcept;
  void setMeterBallistic(int ballistic, double rate) noexcept;  ///< see `OutputPeak::setBallistic`
  /// How fast the bands' gain meters fall after a peak: at 100 %, as at first, by the end of its
  /// block, at 0 % over seconds.
  void setMeterDecay(double percent, double rate) noexcept;
  /// Makes the chain from the layout; it is empty until the first call. Throws std::bad_alloc.
  void makeStagePlan();
  /// Whether `makeStagePlan` would change the chain.
  [[nodiscard]] bool planIsDue();
  /// Sets the filter of a dynamic EQ band; see `subband::configureFilters`.
  void configureFilters(int band, int shape, float frequency, float slope, float q, float slope2);
  /// Puts the crossover's splits between the bands of the XOver list; `slopes` by band, in dB per
  /// octave.
  void setSplits(const std::array<double, kNumBands>& slopes);
  /// Designs the kernels of the present filters and splits, and hands them to the audio thread.
  void rebuildKernels();
  /// Hands all present settings to the audio thread.
  void publish() noexcept;
  /// Latency in samples with the present settings, once they are published and no change is under
  /// way any more.
  [[nodiscard]] int plannedLatency() { return latencyUpTo(kNumBands); }
  /// The same, but during a change that of the chain that is heard, unless it ends at once.
  [[nodiscard]] int getLatency();
  /// Latency in samples from the input to where a band changes its gain, as planned: of a band that
  /// is not in the chain, or `kNumBands`, that of the whole chain.
  [[nodiscard]] int latencyUpTo(int band);
  /// As they will be published.
  [[nodiscard]] const EngineSettings& getSettings() const noexcept { return wanted; }
  /// A lookahead in ms as samples.
  [[nodiscard]] int lookaheadOf(float ms) const noexcept {
    return lookaheadSamples(ms, sampleRate);
  }
  /// Makes an empty chain for the settings to come: set everything, filters included, then publish.
  /// False if the audio thread is in the middle of an earlier change. Throws std::bad_alloc.
  [[nodiscard]] bool startChange();
  /// Instead, while an earlier change is under way: what is published next ends that at once, and
  /// takes effect in the middle of the newer chain's signal.
  void endChangeAtOnce() noexcept { wanted.endsChange = true; }
  /// Gives up a change that was started and not yet published: all settings go to the chain before,
  /// whose filters are as they were.
  void abandonChange() noexcept;
  /// Whether anything has been processed since the last reset; if not, there is nothing to fade.
  [[nodiscard]] bool hasPlayed() const noexcept { return played.load(std::memory_order_relaxed); }
  /// Whether a published change is not over yet.
  [[nodiscard]] bool isChanging() noexcept;

  // Audio thread.
  /// What gives settings before each block; null for none.
  void setLiveValues(LiveValues* source) noexcept { live = source; }
  /// Whether the host plays in real time; if not, a change of chains happens at once.
  void setRealtime(bool on) noexcept { realtime = on; }
  /// Whether settings that scale sound glide from one value to the next; off at first, when they
  /// change between blocks.
  void setGliding(bool on) noexcept { rules.gliding = on; }
  /// Whether lookaheads and latencies change with the chain alone, by `startChange`; off at first,
  /// when a chain keeps enough of its past for longer ones.
  void setFixedDelays(bool on) noexcept { rules.fixedDelays = on; }
  /// The calls that follow process `frames` together, which are one block of the host: settings
  /// glide through it as one.
  void startHostBlock(int frames) noexcept { hostPart = {frames, false}; }
  /// `inputs`: 1 or 2 main channels, then 0 to 2 sidechain channels; infinities and NaN in them are
  /// replaced by 0. `outputs`: one per main channel, may be the inputs. A null input is silence; a
  /// null output is not written. 0 frames change nothing. `Sample` is float or double.
  template <typename Sample>
  void processBlock(Sample* const* inputs, Sample* const* outputs, int frames, int mainChannels,
                    int sideChannels);
  /// Latency in samples of what the last block gave out.
  [[nodiscard]] int heardLatency() const noexcept { return heard().now().latency; }

  // Any thread.
  /// Source for a `GainReductionReader`, of which each consumer needs its own.
  [[nodiscard]] const MeterPeaks& meterPeaks() const noexcept { return meters; }
  /// The final output: source for an `OutputLevels`, of which each consumer needs its own.
  [[nodiscard]] const OutputFeed& outputFeed() const noexcept { return levels; }
  [[nodiscard]] bool measuring() const noexcept { return loudness.measuring(); }
  [[nodiscard]] LoudnessMeter::Result loudnessResult() const noexcept { return loudness.result(); }
  [[nodiscard]] const AnalyserFeed& analyserFeed() const noexcept { return analyser; }
  [[nodiscard]] double getOutputPeak(int channel) const noexcept {
    return outputPeak.peak(channel);
  }
  /// Reads through the engine's own `GainReductionReader`, which reads from the beginning.
  [[nodiscard]] double getGainReduction(int selector) noexcept {
    return reductionReader.getGainReduction(selector);
  }
  /// See `BandMeters::shownGain`; 0 for an unknown band.
  [[nodiscard]] double getBandGain(int band, int parts, int channel) const noexcept;
  [[nodiscard]] double getBandEnvelope(int band) const noexcept;  ///< linear
  [[nodiscard]] double getBandLamp(int band, bool fast) const noexcept;
  /// Linear gain that the frequency graph draws for a band.
  [[nodiscard]] double getBandGraphGain(int band) const noexcept;
  /// As `getBandGraphGain`, but as long as the detectors change nothing.
  [[nodiscard]] double getBandSetGain(int band) const noexcept;
  [[nodiscard]] std::uint32_t stagePlanWord() const noexcept;

  // Values that graphs draw; any thread but the audio thread, several at once. Linear magnitudes at
  // frequencies in Hz; one takes well below a microsecond.
  /// The ideal magnitude of a crossover band, or that of a dynamic EQ band's analog filter; 1 for a
  /// band that is off or unknown.
  [[nodiscard]] double getBandResponse(int band, double frequency);
  /// Writes `getBandResponse` at `n` frequencies to `out`. Cached; see `CurveCache`.
  void getBandCurve(int band, const float* frequencies, int n, float* out);
  /// The symmetric FIR kernel that `getBandResponse` idealises; see `KernelCopy::copy`. 0 for a
  /// band that has none.
  unsigned getBandKernel(int band, unsigned known, std::vector<double>& taps);
  /// See `SidechainFilters::response`; 1 for an unknown band.
  [[nodiscard]] double getSidechainResponse(int band, int filter, double frequency) const;
  /// See `SidechainFilters::revision`; 0 for an unknown band.
  [[nodiscard]] unsigned getSidechainRevision(int band) const noexcept;
  /// The curve as it is set, published or not; 0 dB everywhere for an unknown band.
  [[nodiscard]] StaticCurve getStaticCurve(int band) const;

  BandLayout layout;

 private:
  /// Linear gain and dry share of a band for the frequency graph; 1 and 0 for a band that does
  /// nothing.
  struct ShownBand {
    std::atomic<double> gain{1.0}, dry{0.0};
  };
  /// One after another of these makes a block.
  template <typename Sample>
  struct Slice {
    std::array<const Sample*, 2 * WorkBuffers::kChannels> inputs;
    std::array<Sample*, WorkBuffers::kChannels> outputs;
    int frames;
    int channels;
    int sideChannels;
    int before;  // frames of the block
    int whole;   // frames of the block
  };

  void settleChange() noexcept;
  [[nodiscard]] int latencyOf(int stage);
  template <typename Sample>
  static void scrub(Sample* const* inputs, int channels, int frames) noexcept;
  [[nodiscard]] SignalChain::HostPart nextPart(int frames) noexcept;
  void beginBlock() noexcept;
  LiveValues::Replaced takeSettings() noexcept;
  [[nodiscard]] const SignalChain& heard() const noexcept;
  template <typename Sample>
  void runSlice(const Slice<Sample>& slice) noexcept;
  void moveChange() noexcept;
  void endChange() noexcept;
  void storeMeters(const WorkBuffers& work, int channels, int frames) noexcept;
  template <typename Sample>
  void feedEditor(const Slice<Sample>& slice, const SignalChain& chain) noexcept;
  void publishMeters(int channels, int frames) noexcept;
  [[nodiscard]] EngineSettings::Band& wantedOf(int band) noexcept { return wanted.bands[at(band)]; }

  LoudnessMeter loudness;
  PlugBaseMutex measuringLock;
  MeterPeaks meters;
  GainReductionReader reductionReader{meters};
  OutputFeed levels;
  AnalyserFeed analyser;
  OutputPeak outputPeak;
  SignalChain::MeterSet bandMeters;
  std::array<ShownBand, kNumBands> shown;
  double sampleRate = 44100.0;  // Hz

  EngineSettings wanted;            // control side
  mutable PlugBaseMutex curveLock;  // guards the static curves in it, which other threads read
  KernelExchange<EngineSettings> published;
  std::atomic<std::uint32_t> shownStages{0};

  // Control side.
  std::unique_ptr<SignalChain> built;   // of the settings wanted
  std::unique_ptr<SignalChain> former;  // while it is heard, or fades
  bool preparing = false;               // `built` has not been published
  std::uint32_t lastChain = 0;          // number
  mutable PlugBaseMutex chainLock;      // guards `built`, which other threads read for curves
  int publishedLatency = 0;             // samples
  int formerLatency = 0;                // samples
  std::uint32_t formerChain = 0;        // number

  // A new chain for the audio thread, which looks for it when settings of that chain come.
  std::atomic<SignalChain*> offered{nullptr};
  // Numbers of chains: stored by the audio thread when a chain is heard, and when no other is used
  // any more.
  std::atomic<std::uint32_t> heardChain{0};
  std::atomic<std::uint32_t> settledChain{0};
  std::atomic<bool> played{false};  // since the last reset

  // Audio thread.
  SignalChain* playing;
  SignalChain* rising = nullptr;  // during a change
  ChainFade fade;
  BlockDecay meterDecay;
  bool realtime = false;
  SignalChain::Rules rules;
  SignalChain::HostPart hostPart;  // the next
  LiveValues* live = nullptr;
};
