#pragma once

#include <span>

#include "dynamics/detector_lane.h"
#include "dynamics/lookahead_window.h"

/// How soon a detector follows, from times in ms at `sampleRate`; a time of 0 follows at once. All
/// steps cover 1 - exp(-2), 86 %, of their way in their time; hold is 0.8 ms.
/// `crest` is a power ratio although its knob says dB: kept.
[[nodiscard]] BallisticsCoefficients ballisticsCoefficients(double attackMs, double relFastMs,
                                                            double relSlowMs, double rmsMs,
                                                            double crest,
                                                            double sampleRate) noexcept;

/// Turns the sidechain signal of one channel of a band into the gain that the band wants: a
/// lookahead window, ballistics on the level, the static curve, ballistics on the gain in decibels,
/// and a split into what is smooth (dynamic) and what goes beyond it (transient).
///
/// Threads: setters on one control thread at a time, at any moment: they design `designed`, which
/// the owner publishes to the audio thread and names in each job. `processTogether`, `reset` and
/// `copySignal` on the audio thread, where they neither lock nor allocate. `process` takes what is
/// designed as it stands, and is for a detector that one thread has to itself.
class BandDetector {
 public:
  /// One detector's part in a block: its sidechain signal, which becomes the linear gain, and the
  /// meters of its band and channel, read, raised and written back.
  struct Job {
    BandDetector* detector;
    const DetectorSettings* settings;
    double* signal;
    double* envPeak;   ///< linear
    double* dynPeak;   ///< dB, sign kept
    double* tranPeak;  ///< dB, sign kept
    double* fastLamp;  ///< 1 at use, decaying
    double* slowLamp;
  };

  void setSampleRate(double rate) noexcept;  ///< Hz; times follow at their next setting
  [[nodiscard]] const DetectorSettings& designed() const noexcept { return settings; }
  void setCurve(double threshold, double ratioAbove, double ceiling, double ratioBelow,
                double floor, double deadband, double knee) noexcept;
  /// As `ballisticsCoefficients`.
  void setTimes(double attackMs, double relFastMs, double relSlowMs, double rmsMs,
                double crest) noexcept;
  void setLookahead(float ms) noexcept;  ///< as `lookaheadSamples`
  /// 0: ballistics behind the curve, 1: in front of it, else in proportion.
  void setShape(double shape) noexcept;
  void setWeights(double dynWeight, double tranWeight) noexcept;  ///< 0..1
  /// Attack follows rising gain, not rising level.
  void setExpandMode(bool on) noexcept;

  /// Forgets the signal; settings stay.
  void reset() noexcept;
  /// Takes over what `other` has heard; audio thread.
  void copySignal(const BandDetector& other) noexcept;
  /// Whether it is the one that lets its band's lamps decay.
  void setOwnsLamps(bool on) noexcept { ownsLamps = on; }
  void process(double* signal, int frames, double& envPeak, double& dynPeak, double& tranPeak,
               double& fastLamp, double& slowLamp) noexcept;
  /// The same for several detectors, at most 16, faster than one after the other. 0 frames change
  /// nothing.
  static void processTogether(std::span<const Job> jobs, int frames) noexcept;

 private:
  void begin(const Job& job, DetectorLane& lane, int frames) noexcept;

  // Control side.
  double sampleRate = 44100.0;  // Hz
  float lookaheadMs = 0.0F;
  DetectorSettings settings;

  // Audio thread.
  LookaheadWindow window;
  BallisticsState state;
  bool ownsLamps = false;
  /// What a lamp keeps over a block, worked out anew only when asked for another.
  struct LampDecay {
    double perSample = 1.0;
    int frames = 0;
    double perBlock = 1.0;
    double over(double newPerSample, int newFrames) noexcept;
  };
  LampDecay fastDecay;
  LampDecay slowDecay;
};
