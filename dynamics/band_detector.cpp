#include "dynamics/band_detector.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>

#include "dynamics/detector_kernels.h"
#include "dynamics/flush.h"

BallisticsCoefficients ballisticsCoefficients(double attackMs, double relFastMs, double relSlowMs,
                                              double rmsMs, double crest,
                                              double sampleRate) noexcept {
  const double samplesPerMs = sampleRate * 0.001;
  const auto kept = [samplesPerMs](double ms) {
    const double samples = samplesPerMs * ms;
    return samples == 0.0 ? 0.0 : std::exp(-2.0 / samples);
  };
  BallisticsCoefficients times;
  times.attackCoef = 1.0 - kept(attackMs);
  times.relSlowCoef = kept(relSlowMs);
  times.relFastCoef = kept(relFastMs);
  times.rmsCoef = 1.0 - kept(rmsMs);
  times.crestRatio = crest;
  times.holdSamples = std::floor(0.8 * samplesPerMs);
  return times;
}

void BandDetector::setSampleRate(double rate) noexcept {
  sampleRate = rate;
  setLookahead(lookaheadMs);
}

void BandDetector::setCurve(double threshold, double ratioAbove, double ceiling, double ratioBelow,
                            double floor, double deadband, double knee) noexcept {
  settings.knobs = {threshold, ratioAbove, ceiling, ratioBelow, floor, deadband, knee};
  settings.curve = StaticCurve::make(settings.knobs);
}

void BandDetector::setTimes(double attackMs, double relFastMs, double relSlowMs, double rmsMs,
                            double crest) noexcept {
  settings.times = ballisticsCoefficients(attackMs, relFastMs, relSlowMs, rmsMs, crest, sampleRate);
}

void BandDetector::setShape(double shape) noexcept { settings.shape = shape; }

void BandDetector::setWeights(double dynWeight, double tranWeight) noexcept {
  settings.dynWeight = dynWeight;
  settings.tranWeight = tranWeight;
}

void BandDetector::setExpandMode(bool on) noexcept { settings.expandMode = on; }

void BandDetector::setLookahead(float ms) noexcept {
  lookaheadMs = ms;
  settings.lookahead = lookaheadSamples(ms, sampleRate);
}

void BandDetector::reset() noexcept {
  state = {};
  window.clear();
}

void BandDetector::copySignal(const BandDetector& other) noexcept {
  state = other.state;
  window.copySignal(other.window);
}

void BandDetector::process(double* signal, int frames, double& envPeak, double& dynPeak,
                           double& tranPeak, double& fastLamp, double& slowLamp) noexcept {
  const Job job{this,      &settings, signal,    &envPeak, &dynPeak,
                &tranPeak, &fastLamp, &slowLamp, frames};
  processTogether({&job, 1}, frames);
}

void BandDetector::begin(const Job& job, DetectorLane& lane, int frames,
                         const LampDecays* neighbour) noexcept {
  window.beginBlock(frames, job.settings->lookahead, job.fixedLookahead);
  lane.settings = job.settings;
  lane.motion = job.motion;
  lane.window = &window.lane();
  lane.state = &state;
  lane.signal = job.signal;
  lane.envPeak = *job.envPeak;
  lane.dynPeak = *job.dynPeak;
  lane.tranPeak = *job.tranPeak;
  if (!ownsLamps || job.lampFrames == 0) return;
  const auto decay = [&](double& lamp, BlockDecay LampDecays::*kept, double perSample) {
    const BlockDecay* const other = neighbour == nullptr ? nullptr : &(neighbour->*kept);
    if (lamp != 0.0)
      lamp = flushed(lamp * (lampDecays.*kept).over(perSample, job.lampFrames, other));
  };
  decay(*job.fastLamp, &LampDecays::fast, lane.settings->times.relFastCoef);
  decay(*job.slowLamp, &LampDecays::slow, lane.settings->times.relSlowCoef);
}

void BandDetector::processTogether(std::span<const Job> jobs, int frames) noexcept {
  constexpr std::size_t kMost = DetectorKernels::kMaxLanes;
  const std::size_t count = std::min(jobs.size(), kMost);
  if (frames <= 0) return;
  std::array<DetectorLane, kMost> lanes;
  std::array<DetectorLane*, kMost> pointers{};
  const LampDecays* neighbour = nullptr;  // bands often have the same releases
  for (std::size_t i = 0; i < count; ++i) {
    BandDetector& detector = *jobs[i].detector;
    detector.begin(jobs[i], lanes[i], frames, neighbour);
    if (detector.ownsLamps) neighbour = &detector.lampDecays;
    pointers[i] = &lanes[i];
  }
  for (int done = 0; done < frames; done += DetectorKernels::kChunk) {
    const int chunk = std::min(DetectorKernels::kChunk, frames - done);
    detectorKernels().detect(pointers.data(), static_cast<int>(count), chunk);
    for (std::size_t i = 0; i < count; ++i) {
      lanes[i].signal += chunk;
      lanes[i].state->meanSquare = flushed(lanes[i].state->meanSquare);
    }
  }
  for (std::size_t i = 0; i < count; ++i) {
    *jobs[i].envPeak = std::max(*jobs[i].envPeak, lanes[i].envPeak);
    *jobs[i].dynPeak = lanes[i].dynPeak;
    *jobs[i].tranPeak = lanes[i].tranPeak;
    if (lanes[i].releasedFast) *jobs[i].fastLamp = 1.0;
    if (lanes[i].releasedSlow) *jobs[i].slowLamp = 1.0;
  }
}
