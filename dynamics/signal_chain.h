#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <span>

#include "dynamics/band_meters.h"
#include "dynamics/band_motion.h"
#include "dynamics/bands.h"
#include "dynamics/chain_parts.h"
#include "dynamics/delay_rings.h"
#include "dynamics/engine_settings.h"
#include "dynamics/gain_ramp.h"
#include "dynamics/shared_buffers.h"
#include "dynamics/sidechain_filters.h"
#include "dynamics/solo_weights.h"
#include "dynamics/work_buffers.h"
#include "filters/crossover_bank.h"
#include "filters/subband.h"
#include "platform/index.h"

/// The filters of a chain, which the control side designs and the audio thread runs.
struct ChainFilters {
  std::array<subband, kNumBands> subbands;
  std::array<SidechainFilters, kNumBands> sidechains;
  CrossoverBank crossover;

  void setSampleRate(double rate) noexcept;  ///< Hz
};

/// The way of a signal through the engine: input gain, the chain of bands, and the mix of wet and
/// dry. It holds everything that remembers past samples; an engine runs a second one while it
/// changes from one chain to the next.
///
/// Threads: `filters` and `parts` as their classes say; all else on the audio thread, where nothing
/// locks or allocates, or while nothing processes.
class SignalChain {
 public:
  /// Of a slice; a multiple of the detectors' chunks.
  static constexpr int kMostFrames = WorkBuffers::kFrames;
  using MeterSet = std::array<BandMeters, kNumBands>;

  /// `rate` in Hz. Throws std::bad_alloc.
  explicit SignalChain(double rate);
  void setSampleRate(double rate) noexcept;  ///< while nothing processes
  [[nodiscard]] double getSampleRate() const noexcept { return sampleRate; }
  SignalChain(const SignalChain&) = delete;
  SignalChain& operator=(const SignalChain&) = delete;

  ChainFilters filters;
  PartsOwner parts;

  /// The settings of the next slice. Returns the bands whose settings have changed, as bits of
  /// `stageBit`.
  std::uint32_t take(const EngineSettings& newest) noexcept;
  [[nodiscard]] const EngineSettings& now() const noexcept { return settings; }
  /// For changes of what no filter, place or delay hangs on; audio thread.
  [[nodiscard]] EngineSettings& live() noexcept {
    targetsDue = true;
    return settings;
  }
  /// Whether nothing has been processed since the last reset.
  [[nodiscard]] bool isSilent() const noexcept { return silent; }
  [[nodiscard]] std::uint32_t number() const noexcept { return settings.chain; }
  /// Where the bands' peaks go; at first to a set of its own, which nobody sees. Those of bands out
  /// of use are reset.
  void showOn(MeterSet& shown) noexcept;
  void showOnNothing() noexcept { meters = &ownMeters; }
  /// Forgets the past signal and takes the gains around the chain at once.
  void reset() noexcept;
  /// Processes silence, at least `frames`, so that later the audio thread need not wait for memory
  /// to be mapped. `reset` it then.
  void warmUp(int frames) noexcept;
  void resetBandState(int band) noexcept;
  /// Takes over what the detectors of another chain know of the level, for bands in use in both.
  void adoptLevels(const SignalChain& other) noexcept;

  /// How blocks are run.
  struct Rules {
    /// Settings that scale sound move smoothly; otherwise they change between blocks.
    bool gliding = false;
    /// Other lookaheads and latencies come with another chain, so that no more of the past is kept
    /// than the present ones ask for.
    bool fixedDelays = false;
  };
  /// What a block is to its host.
  struct HostPart {
    int left = 0;            ///< frames until the host's block ends, of which this may be a part
    bool continues = false;  ///< it is not the first part
  };
  /// Starts a block, after its settings have come.
  void beginBlock(const HostPart& part, int channels, const Rules& rules) noexcept;
  /// The longest slice that may follow.
  [[nodiscard]] int mostFrames() const noexcept {
    return movingBands != 0 ? BandMotion::kMostFrames : kMostFrames;
  }
  /// Starts a slice of 1 to `mostFrames` frames. `inputs`: 1 or 2 main channels, then 0 to 2
  /// sidechain channels, finite; null is silence. `before` frames of the host's block, which has
  /// `whole`, have been processed.
  template <typename Sample>
  void begin(const Sample* const* inputs, int frames, int mainChannels, int sideChannels,
             int before, int whole) noexcept;
  /// Runs the stages. Afterwards `work` holds the wet and the dry signal and the gain reduction.
  void runStages() noexcept;
  /// Mixes wet and dry into `work().wet`.
  void mix() noexcept;
  /// Between `beginBlock` and `endBlock`.
  [[nodiscard]] const WorkBuffers& work() const noexcept { return *buffers; }
  /// Ends a block of the host, and `work` with it.
  void endBlock() noexcept { buffers.giveBack(); }

 private:
  /// Everything that is read once at the beginning of a slice.
  struct Block {
    int frames = 0;
    int channels = 0;
    int before = 0;  // frames of the host's block before the slice
    int whole = 0;   // frames of the host's block
    ListenState listening;
    [[nodiscard]] int lampFrames() const noexcept { return before == 0 ? whole : 0; }
  };
  /// The processing of one band in a slice.
  struct BandRun {
    int band;
    const EngineSettings::Band* settings;
    BandMotion* motion;  // null if nothing moves
    bool isXover;
    bool passive;
    int lookahead;             // samples
    int heardPlace;            // list position of the crossover band it listens to, or -1
    WorkBuffers::Pair signal;  // processed in place
    WorkBuffers::Pair side;    // sidechain, then linear gain; both may become the same buffer
    bool sameSide;             // both channels have the same sidechain
    bool oneDetector;          // one detector has worked for both channels
  };
  /// How much of the gain each of a band's two channels takes.
  struct PositionWeights {
    PositionWeights(double position, int channels) noexcept
        : first(channels == 1 ? 1.0 : std::min(1.0, 1.0 - position)),
          second(std::min(1.0, 1.0 + position)) {}
    double first;
    double second;
  };
  /// The chain of a slice.
  struct ChainSeen {
    StagePlan plan;
    std::uint32_t stages = 0;  // bits as in `stageBit`
    std::uint32_t listed = 0;  // a bit for each crossover band
    [[nodiscard]] std::uint32_t bands() const noexcept { return stages | listed; }
  };

  void takeParts() noexcept;
  void takeGains() noexcept;
  [[nodiscard]] BandParts* partsOf(int band) const noexcept {
    return settings.parts == nullptr ? nullptr : settings.parts->bands[at(band)].get();
  }
  [[nodiscard]] DetectorPair& detectorsOf(int band) const noexcept {
    return partsOf(band)->detectors;
  }
  [[nodiscard]] OversampledPair* productsOf(int band) const noexcept {
    return settings.parts == nullptr ? nullptr : settings.parts->products[at(band)].get();
  }
  void resetPath(int band) noexcept;
  template <typename Sample>
  void copySidechain(const Sample* const* side, int channels, int frames) noexcept;
  template <typename Sample>
  void takeInput(const Sample* const* inputs) noexcept;
  [[nodiscard]] ListenState listenState() const noexcept;
  void setQuality(bool high) noexcept;
  void resetChangedBands() noexcept;
  void resetReturning() noexcept;
  void runBandStage(int band) noexcept;
  void runCrossoverStage() noexcept;
  void splitIntoBands(std::span<const BandRun> runs) noexcept;
  /// Processes bands, none of which hears the output of another, with their signals in place.
  /// `alignTo`: lookahead in samples to which crossover bands are delayed.
  void processBands(std::span<BandRun> runs, int alignTo) noexcept;
  /// `place`: index of its signal in the buffers; for a crossover band its index in the list.
  [[nodiscard]] BandRun beginBand(int band, bool isXover, std::size_t place) noexcept;
  [[nodiscard]] const double* sidechainSource(const BandRun& run,
                                              std::size_t channel) const noexcept;
  void makeSidechain(BandRun& run) noexcept;
  void detect(std::span<BandRun> runs) noexcept;
  void shareGain(BandRun& run) noexcept;
  void applyGain(const BandRun& run) noexcept;
  void finishGain(const BandRun& run) noexcept;
  template <typename Stage>
  void finishGain(const BandRun& run, const Stage& first, const Stage& second) noexcept;
  [[nodiscard]] BandMotion* motionOf(int band) noexcept {
    return (movingBands & stageBit(band)) != 0 ? &motions[at(band)] : nullptr;
  }
  [[nodiscard]] BandMotion::Targets targetsOf(int band, const StageWeights& weights,
                                              const Block& now) const noexcept;
  void endMotions() noexcept;
  /// Whether a band leaves its signal alone.
  [[nodiscard]] bool isPassive(int band, const ListenState& listening) const noexcept;
  [[nodiscard]] std::array<double, kNumBands> listedWeights(
      const ListenState& listening) const noexcept;
  void fetchParts() const noexcept;
  void fetchPair(DelayRings::Ring ring, int owner, int samples) const noexcept;
  [[nodiscard]] int alignment(const BandRun& run, int alignTo) const noexcept;
  void fetchBand(const BandRun& run, int alignTo) const noexcept;
  void mixSidechain(const BandRun& run, std::size_t channel) noexcept;
  void mixStage(const BandRun& run, const StageWeights& weights) noexcept;
  void scaleMovingBands(std::span<const BandRun> runs,
                        std::array<double, kNumBands>& weights) noexcept;
  /// `owner`: a band or `DelayRings::kCrossover`.
  void delayPair(const WorkBuffers::Pair& pair, DelayRings::Ring ring, int owner,
                 int samples) noexcept;
  void delaySidechain(DelayRings::Ring ring, int owner, int samples) noexcept;

  double sampleRate;
  EngineSettings settings;
  Block block;
  SharedBuffers buffers;
  GainRamp inputRamp{1.0};
  GainRamp wetRamp{1.0};
  GainRamp dryRamp{0.0};
  MeterSet ownMeters;
  MeterSet* meters = &ownMeters;
  DelayRings delays;
  std::array<BandMotion, kNumBands> motions;
  std::uint32_t movingBands = 0;  // bits as in `stageBit`
  bool targetsDue = true;         // settings have come since the last block
  bool jumpDue = true;            // the next targets are taken at once
  int channelsAimed = 0;          // what the targets were worked out for

  bool silent = true;
  int sidechainLeft = 0;  // samples until the last sidechain input has left the whole chain
  ChainSeen chainSeen;    // of the last slice
  int channelsSeen = WorkBuffers::kChannels;  // in the last slice
  bool oversampledSeen = false;               // in the last slice
  bool qualitySeen = false;                   // `highQuality` of the last slice
};
