#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <span>

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

/// The whole engine: takes a block through input gain, the chain of bands, and the output mix.
/// 64-bit floats inside, whatever the host gives.
///
/// Threads: setters on the control side, one thread at a time, at any moment. The audio thread sees
/// what they have set at the next `publish`, all of it at once; filters, meters and measuring take
/// effect by themselves. `processBlock` on the audio thread,
/// where it takes no lock and allocates only for a block longer than any that was announced;
/// `reset*` and `setSampleRate` while nothing processes; getters anywhere.
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
  /// Makes buffers for blocks of up to `frames` ready for the audio thread, so that it need not
  /// allocate. Throws when memory runs out, with everything as it was.
  void announceBlockSize(int frames);
  /// `inDb`, `outDb` in decibels; `wetDry` 0..1.
  void setGains(double inDb, double outDb, bool bypass, bool listen, double wetDry) noexcept;
  /// Of loudness; any control thread. Returns whether it was on.
  bool setMeasuring(bool on);
  void setBand(int band, const BandSettings& settings) noexcept;
  void setDynamics(int band, const BandDynamics& dynamics) noexcept;
  void setExpandMode(bool on) noexcept;  ///< of all detectors
  void setSidechainRoute(int band, const SidechainRoute& route) noexcept;
  /// As in `SidechainLinkage`.
  void setSidechainLinkage(int band, bool leftRight, int percent, double unlink) noexcept;
  /// Designs filters.
  void setSidechainFilters(int band, const SidechainFilterSettings& settings);
  void setOversampling(Oversampling mode) noexcept;
  void setScListen(int band) noexcept;  ///< 0..7, or -1 for none
  /// What a soloed band lets through: false the band itself, true what passes beside it.
  void setAutolistenPassband(bool passband) noexcept;
  void setMeterBallistic(int ballistic, double rate) noexcept;  ///< as `OutputPeak::setBallistic`
  /// How soon the bands' gain meters let go of a peak: 100 % at the end of its block, as at first,
  /// 0 % over seconds.
  void setMeterDecay(double percent, double rate) noexcept;
  /// Makes the chain that of the layout; empty until the first call.
  void makeStagePlan();
  /// Whether `makeStagePlan` would show another chain.
  [[nodiscard]] bool planIsDue();
  /// The filter of a dynamic EQ band, as `subband::configureFilters`.
  void configureFilters(int band, int shape, float frequency, float slope, float q, float slope2);
  /// Puts the crossover's splits between the bands of the XOver list; `slopes` by band, in dB per
  /// octave.
  void setSplits(const std::array<double, kNumBands>& slopes);
  /// Designs the kernels that the filters and splits now want, and hands them to the audio thread.
  void rebuildKernels();
  /// Shows the audio thread all settings as they are now.
  void publish() noexcept;
  /// Samples by which the output is late once what is set is published.
  [[nodiscard]] int getLatency();

  // Audio thread.
  /// `inputs`: main channels first, then sidechain channels; bad samples in them are replaced by 0.
  /// `outputs`: one per main channel, may be the inputs themselves. Null channels are allowed: a
  /// null input is silence, a null output is not written. 1 or 2 main channels, 0 to 2 sidechain
  /// channels. 0 frames change nothing. `Sample` is float or double.
  template <typename Sample>
  void processBlock(Sample* const* inputs, Sample* const* outputs, int frames, int mainChannels,
                    int sideChannels);

  // Anywhere.
  /// The history that each consumer's own `GainReductionReader` reads.
  [[nodiscard]] const MeterRings& meterRings() const noexcept { return meters; }
  /// The final output, for each consumer's own `OutputLevels`.
  [[nodiscard]] const OutputFeed& outputFeed() const noexcept { return levels; }
  [[nodiscard]] bool measuring() const noexcept { return loudness.measuring(); }
  [[nodiscard]] LoudnessMeter::Result loudnessResult() const noexcept { return loudness.result(); }
  [[nodiscard]] const AnalyserFeed& analyserFeed() const noexcept { return analyser; }
  [[nodiscard]] double getOutputPeak(int channel) const noexcept {
    return outputPeak.peak(channel);
  }
  /// From the engine's own `GainReductionReader`.
  [[nodiscard]] double getGainReduction(int selector) noexcept {
    return reductionReader.getGainReduction(selector);
  }
  /// Decibels; `parts` adds up 1 for the dynamic and 2 for the transient part. 0 for an unknown
  /// band.
  [[nodiscard]] double getBandGain(int band, int parts, int channel) const noexcept;
  [[nodiscard]] double getBandEnvelope(int band) const noexcept;  ///< linear
  [[nodiscard]] double getBandLamp(int band, bool fast) const noexcept;
  /// Linear gain that the frequency graph draws for a band.
  [[nodiscard]] double getBandGraphGain(int band) const noexcept;
  [[nodiscard]] std::uint32_t stagePlanWord() const noexcept;

  // What graphs draw; any thread but the audio thread, several at once. Linear magnitudes at
  // frequencies in Hz, each well below a microsecond.
  /// The ideal of a crossover band or the analog filter of a dynamic EQ band; 1 for a band that is
  /// off or unknown.
  [[nodiscard]] double getBandResponse(int band, double frequency);
  /// The same at `n` frequencies, from a cache while neither they (by first, last and number) nor
  /// the band have changed.
  void getBandCurve(int band, const float* frequencies, int n, float* out);
  /// As `SidechainFilters::response`; 1 for an unknown band.
  [[nodiscard]] double getSidechainResponse(int band, int filter, double frequency) const;
  /// As it is set, which the audio thread follows from the next `publish` on; 0 dB everywhere for
  /// an unknown band.
  [[nodiscard]] StaticCurve getStaticCurve(int band) const;

  BandLayout layout;

 private:
  /// What the frequency graph makes of a band's gain; 1 and 0 for a band that does nothing.
  struct ShownBand {
    std::atomic<double> gain{1.0}, dry{0.0};
  };
  /// What a block reads once and keeps to its end.
  struct Block {
    int frames;
    int channels;
    const EngineSettings& settings;
    ListenState listening;
  };
  /// One band on its way through a block.
  struct BandRun {
    int band;
    const EngineSettings::Band* settings;
    bool isXover;
    bool passive;
    int lookahead;             // samples
    int heardPlace;            // of the crossover band that is its sidechain, or -1
    WorkBuffers::Pair signal;  // in place
    WorkBuffers::Pair side;    // sidechain, then linear gain; may become the same buffer
    bool sameSide;             // both channels hear the same
    bool oneDetector;          // which has worked for both channels
  };
  /// Who stood where in a block's chain.
  struct ChainSeen {
    StagePlan plan;
    std::uint32_t stages = 0;  // a bit for each band that was one, and one for the crossover
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
  /// The paths of bands that do not hear each other's output, over their signals in place.
  /// `alignTo`: the lookahead that crossover bands come to, in samples.
  void processBands(std::span<BandRun> runs, const Block& block, int alignTo) noexcept;
  /// `place`: of its signal in the buffers, for a crossover band that in the list.
  [[nodiscard]] BandRun beginBand(int band, bool isXover, std::size_t place,
                                  const Block& block) noexcept;
  [[nodiscard]] const double* sidechainSource(const BandRun& run,
                                              std::size_t channel) const noexcept;
  void makeSidechain(BandRun& run, const Block& block) noexcept;
  void detect(std::span<BandRun> runs, const Block& block) noexcept;
  void shareGain(BandRun& run, const Block& block) noexcept;
  void applyGain(const BandRun& run, const Block& block) noexcept;
  void finishGain(const BandRun& run, const Block& block) noexcept;
  /// `owner`: of the rings, as `DelayRings` has it.
  void delayPair(const WorkBuffers::Pair& pair, DelayRings::Ring ring, int owner,
                 const Block& block, int samples) noexcept;
  void delaySidechain(DelayRings::Ring ring, int owner, const Block& block, int samples) noexcept;
  void storeMeters(const Block& block) noexcept;
  template <typename Sample>
  void feedEditor(Sample* const* outputs, const Block& block) noexcept;
  void publishMeters(const Block& block) noexcept;
  [[nodiscard]] EngineSettings::Band& wantedOf(int band) noexcept { return wanted.bands[at(band)]; }

  // The audio thread's, and how longer ones reach it: it takes `announced` at its next block and
  // leaves what it had in `retired`, which the control side empties before it announces again.
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
  mutable PlugBaseMutex curveLock;  // of the static curves in it, which others read
  KernelExchange<EngineSettings> published;
  std::atomic<std::uint32_t> shownStages{0};

  // Audio thread: samples until what last came in as a sidechain is out of the whole chain.
  int sidechainLeft = 0;
  ChainSeen chainSeen;                        // audio thread: by the last block
  int channelsSeen = WorkBuffers::kChannels;  // audio thread: in the last block
  bool oversampledSeen = false;               // audio thread: in the last block
  bool qualitySeen = false;                   // audio thread: `highQuality` of the last block
};
