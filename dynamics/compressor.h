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
#include "dynamics/delay_rings.h"
#include "dynamics/detector_pair.h"
#include "dynamics/engine_settings.h"
#include "dynamics/gain_ramp.h"
#include "dynamics/loudness_meter.h"
#include "dynamics/meter_rings.h"
#include "dynamics/output_feed.h"
#include "dynamics/output_peak.h"
#include "dynamics/sidechain_filters.h"
#include "dynamics/solo_weights.h"
#include "dynamics/work_buffers.h"
#include "filters/crossover_bank.h"
#include "filters/kernel_exchange.h"
#include "filters/resampler.h"
#include "filters/subband.h"
#include "platform/index.h"

/// The complete engine: processes blocks through the input gain, the chain of bands and the output
/// mix. Computes in 64-bit floating point, whatever the host's format.
///
/// Threads: setters on one control thread at a time, at any moment. The audio thread takes what
/// they set at the next `publish`, all at once; only filters, meters and measuring take effect
/// without it. `processBlock` on the audio thread, where it takes no lock and allocates only for a
/// block longer than any that was announced. `reset*` and `setSampleRate` while nothing processes.
/// Getters on any thread.
class compressor {
 public:
  static constexpr int kDefaultFrames = 4096;

  compressor();
  ~compressor();
  compressor(const compressor&) = delete;
  compressor& operator=(const compressor&) = delete;

  // Set-up.
  void setSampleRate(double rate) noexcept;  ///< Hz
  void resetEngine() noexcept;
  void resetBandState(int band) noexcept;

  // Control side.
  /// Allocates buffers for blocks of up to `frames`, so that the audio thread need not. Throws
  /// std::bad_alloc, with nothing changed.
  void announceBlockSize(int frames);
  /// `inDb`, `outDb` in decibels; `wetDry` 0..1.
  void setGains(double inDb, double outDb, bool bypass, bool listen, double wetDry) noexcept;
  /// Switches the measurement of loudness; any control thread. Returns whether it was on.
  bool setMeasuring(bool on);
  void setBand(int band, const BandSettings& settings) noexcept;
  void setDynamics(int band, const BandDynamics& dynamics) noexcept;
  void setExpandMode(bool on) noexcept;  ///< of all detectors
  void setSidechainRoute(int band, const SidechainRoute& route) noexcept;
  /// See `SidechainLinkage`.
  void setSidechainLinkage(int band, bool leftRight, int percent, double unlink) noexcept;
  /// Designs the filters that have changed. Throws std::bad_alloc.
  void setSidechainFilters(int band, const SidechainFilterSettings& settings);
  void setOversampling(Oversampling mode) noexcept;
  void setScListen(int band) noexcept;  ///< 0..7, or -1 for none
  /// What is heard of a soloed band: false the band itself, true the rest of the signal.
  void setAutolistenPassband(bool passband) noexcept;
  void setMeterBallistic(int ballistic, double rate) noexcept;  ///< see `OutputPeak::setBallistic`
  /// How fast the bands' gain meters fall after a peak: at 100 %, as at first, by the end of its
  /// block, at 0 % over seconds.
  void setMeterDecay(double percent, double rate) noexcept;
  /// Makes the chain from the layout; it is empty until the first call.
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
  /// Latency in samples with the present settings, once they are published.
  [[nodiscard]] int getLatency();

  // Audio thread.
  /// `inputs`: 1 or 2 main channels, then 0 to 2 sidechain channels; infinities and NaN in them are
  /// replaced by 0. `outputs`: one per main channel, may be the inputs. A null input is silence; a
  /// null output is not written. 0 frames change nothing. `Sample` is float or double.
  template <typename Sample>
  void processBlock(Sample* const* inputs, Sample* const* outputs, int frames, int mainChannels,
                    int sideChannels);

  // Any thread.
  /// Source for a `GainReductionReader`, of which each consumer needs its own.
  [[nodiscard]] const MeterRings& meterRings() const noexcept { return meters; }
  /// The final output: source for an `OutputLevels`, of which each consumer needs its own.
  [[nodiscard]] const OutputFeed& outputFeed() const noexcept { return levels; }
  [[nodiscard]] bool measuring() const noexcept { return loudness.measuring(); }
  [[nodiscard]] LoudnessMeter::Result loudnessResult() const noexcept { return loudness.result(); }
  [[nodiscard]] const AnalyserFeed& analyserFeed() const noexcept { return analyser; }
  [[nodiscard]] double getOutputPeak(int channel) const noexcept {
    return outputPeak.peak(channel);
  }
  /// Reads through the engine's own `GainReductionReader`.
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
  /// Everything that is read once at the beginning of a block.
  struct Block {
    int frames;
    int channels;
    const EngineSettings& settings;
    ListenState listening;
  };
  /// The processing of one band in a block.
  struct BandRun {
    int band;
    const EngineSettings::Band* settings;
    bool isXover;
    bool passive;
    int lookahead;             // samples
    int heardPlace;            // list position of the crossover band it listens to, or -1
    WorkBuffers::Pair signal;  // processed in place
    WorkBuffers::Pair side;    // sidechain, then linear gain; both may become the same buffer
    bool sameSide;             // both channels have the same sidechain
    bool oneDetector;          // one detector has worked for both channels
  };
  /// The chain of a block.
  struct ChainSeen {
    StagePlan plan;
    std::uint32_t stages = 0;  // bits as in `stageBit`
    std::uint32_t listed = 0;  // a bit for each crossover band
  };

  void ensureBuffers(int frames);
  void takeGains() noexcept;
  void resetPath(int band) noexcept;
  template <typename Sample>
  static void scrub(Sample* const* inputs, int channels, int frames) noexcept;
  template <typename Sample>
  void copySidechain(Sample* const* side, int channels, int frames) noexcept;
  template <typename Sample>
  void takeInput(Sample* const* inputs, const Block& block) noexcept;
  template <typename Sample>
  void mixOutput(Sample* const* outputs, const Block& block) noexcept;

  [[nodiscard]] Block beginBlock(int frames, int channels) noexcept;
  void setQuality(bool high) noexcept;
  void resetChangedBands(const Block& block) noexcept;
  void resetReturning(const Block& block) noexcept;
  void runStages(const Block& block) noexcept;
  void runBandStage(int band, const Block& block) noexcept;
  void runCrossoverStage(const Block& block) noexcept;
  void splitIntoBands(std::span<const BandRun> runs, const Block& block) noexcept;
  /// Processes bands, none of which hears the output of another, with their signals in place.
  /// `alignTo`: lookahead in samples to which crossover bands are delayed.
  void processBands(std::span<BandRun> runs, const Block& block, int alignTo) noexcept;
  /// `place`: index of its signal in the buffers; for a crossover band its index in the list.
  [[nodiscard]] BandRun beginBand(int band, bool isXover, std::size_t place,
                                  const Block& block) noexcept;
  [[nodiscard]] const double* sidechainSource(const BandRun& run,
                                              std::size_t channel) const noexcept;
  void makeSidechain(BandRun& run, const Block& block) noexcept;
  void detect(std::span<BandRun> runs, const Block& block) noexcept;
  void shareGain(BandRun& run, const Block& block) noexcept;
  void applyGain(const BandRun& run, const Block& block) noexcept;
  void finishGain(const BandRun& run, const Block& block) noexcept;
  /// `owner`: a band or `DelayRings::kCrossover`.
  void delayPair(const WorkBuffers::Pair& pair, DelayRings::Ring ring, int owner,
                 const Block& block, int samples) noexcept;
  void delaySidechain(DelayRings::Ring ring, int owner, const Block& block, int samples) noexcept;
  void storeMeters(const Block& block) noexcept;
  template <typename Sample>
  void feedEditor(Sample* const* outputs, const Block& block) noexcept;
  void publishMeters(const Block& block) noexcept;
  [[nodiscard]] EngineSettings::Band& wantedOf(int band) noexcept { return wanted.bands[at(band)]; }

  // The audio thread's buffers, and their replacement by longer ones: it takes `announced` at its
  // next block and leaves the old ones in `retired`, which the control side empties before it
  // announces again.
  std::unique_ptr<WorkBuffers> buffers;
  std::atomic<WorkBuffers*> announced{nullptr};
  std::atomic<WorkBuffers*> retired{nullptr};
  int announcedFrames = kDefaultFrames;  // control side
  GainRamp inputRamp{1.0};
  GainRamp wetRamp{1.0};
  GainRamp dryRamp{0.0};
  LoudnessMeter loudness;
  PlugBaseMutex measuringLock;
  MeterRings meters;
  GainReductionReader reductionReader{meters};
  OutputFeed levels;
  AnalyserFeed analyser;
  OutputPeak outputPeak;
  std::array<BandMeters, kNumBands> bandMeters;
  std::array<ShownBand, kNumBands> shown;
  std::array<subband, kNumBands> subbands;
  std::array<DetectorPair, kNumBands> detectors;
  std::array<SidechainFilters, kNumBands> sidechains;
  std::array<std::array<OversampledGain, WorkBuffers::kChannels>, kNumBands> oversampled;
  CrossoverBank crossover;
  DelayRings delays;
  double sampleRate = 44100.0;  // Hz

  EngineSettings wanted;            // control side
  mutable PlugBaseMutex curveLock;  // guards the static curves in it, which other threads read
  KernelExchange<EngineSettings> published;
  std::atomic<std::uint32_t> shownStages{0};

  // Audio thread: samples until the last sidechain input has left the whole chain.
  int sidechainLeft = 0;
  ChainSeen chainSeen;                        // audio thread: of the last block
  int channelsSeen = WorkBuffers::kChannels;  // audio thread: in the last block
  bool oversampledSeen = false;               // audio thread: in the last block
  bool qualitySeen = false;                   // audio thread: `highQuality` of the last block
};
