#pragma once

#include <span>

#include "dynamics/block_decay.h"
#include "dynamics/detector_lane.h"
#include "dynamics/lookahead_window.h"

/// Converts times in ms to coefficients per sample at `sampleRate` (Hz); a time of 0 follows at
/// once. Every follower covers 1 - exp(-2), 86 %, of a step in its time; hold is 0.8 ms.
/// `crest` is a power ratio although its knob says dB: on purpose.
[[nodiscard]] BallisticsCoefficients ballisticsCoefficients(double attackMs, double relFastMs,
                                                            double relSlowMs, double rmsMs,
                                                            double crest,
                                                            double sampleRate) noexcept;

/// Turns the sidechain signal of one channel of a band into the gain for that band: a lookahead
/// window, ballistics on the level, the static curve, ballistics on the gain in decibels, and a
/// split into a smooth (dynamic) part and the rest (transient).
///
/// Threads: setters on one control thread at a time, at any moment. They change `designed`, which
/// the owner publishes to the audio thread and passes in each job. `processTogether`, `reset` and
/// `copySignal` on the audio thread, where they neither lock nor allocate. `process` uses
/// `designed` directly, for a detector that only one thread uses.
class BandDetector {
 public:
  /// One detector's work for a block: the sidechain signal, which is replaced by the linear gain,
  /// and the meters of its band and channel, which are updated.
  struct Job {
    BandDetector* detector;
    const DetectorSettings* settings;
    double* signal;
    double* envPeak;   ///< linear
    double* dynPeak;   ///< dB, sign kept
    double* tranPeak;  ///< dB, sign kept
    double* fastLamp;  ///< set to 1 by a fast release, then decays; `slowLamp` likewise
    double* slowLamp;
    int lampFrames;  ///< by which the lamps decay first: those of a block that begins here, or 0
    /// Null if nothing moves; otherwise the block has at most `DetectorKernels::kChunk` frames.
    const DetectorMotion* motion = nullptr;
    bool fixedLookahead = false;  ///< see `LookaheadWindow::beginBlock`
  };

  /// For lookaheads of up to `mostLookahead` samples. Throws std::bad_alloc.
  explicit BandDetector(int mostLookahead = LookaheadWindow::kMaxSamples) : window(mostLookahead) {}

  void setSampleRate(double rate) noexcept;  ///< Hz; set the times again afterwards
  [[nodiscard]] const DetectorSettings& designed() const noexcept { return settings; }
  void setCurve(double threshold, double ratioAbove, double ceiling, double ratioBelow,
                double floor, double deadband, double knee) noexcept;
  /// See `ballisticsCoefficients`.
  void setTimes(double attackMs, double relFastMs, double relSlowMs, double rmsMs,
                double crest) noexcept;
  void setLookahead(float ms) noexcept;  ///< see `lookaheadSamples`
  /// 0: ballistics after the static curve; 1: before it; in between a mixture of both.
  void setShape(double shape) noexcept;
  void setWeights(double dynWeight, double tranWeight) noexcept;  ///< of the two parts, 0..1
  /// Attack then follows rising gain instead of rising level.
  void setExpandMode(bool on) noexcept;

  /// Forgets the past signal; settings stay.
  void reset() noexcept;
  /// Takes over the past signal of `other`; audio thread.
  void copySignal(const BandDetector& other) noexcept;
  /// Takes over what `other` knows of the level, but not the past signal; audio thread.
  void adoptLevel(const BandDetector& other) noexcept { state = other.state; }
  /// Whether this detector makes its band's lamps decay; one per band does.
  void setOwnsLamps(bool on) noexcept { ownsLamps = on; }
  /// Starts to load what a block of so many frames will use.
  void fetch(int frames) const noexcept { window.fetch(frames); }
  void process(double* signal, int frames, double& envPeak, double& dynPeak, double& tranPeak,
               double& fastLamp, double& slowLamp) noexcept;
  /// Processes several detectors, at most 16, faster than one after another. 0 frames change
  /// nothing.
  static void processTogether(std::span<const Job> jobs, int frames) noexcept;

 private:
  struct LampDecays {
    BlockDecay fast, slow;
  };
  void begin(const Job& job, DetectorLane& lane, int frames, const LampDecays* neighbour) noexcept;

  // Control side.
  double sampleRate = 44100.0;  // Hz
  float lookaheadMs = 0.0F;
  DetectorSettings settings;

  // Audio thread.
  LookaheadWindow window;
  BallisticsState state;
  bool ownsLamps = false;
  LampDecays lampDecays;
};
