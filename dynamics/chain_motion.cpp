// What is heard of a chain's bands, and how their settings glide.

#include <algorithm>
#include <cstddef>
#include <utility>

#include "dynamics/signal_chain.h"
#include "platform/index.h"

ListenState SignalChain::listenState() const noexcept {
  const auto soloed = [](const EngineSettings::Band& band) {
    return band.path.solo && band.path.active;
  };
  ListenState listening;
  listening.soloCount = static_cast<int>(std::ranges::count_if(settings.bands, soloed));
  listening.scListen = settings.scListen;
  listening.listen = settings.gains.listen;
  listening.passband = !settings.gains.listen && settings.autolistenPassband;
  return listening;
}

std::array<double, kNumBands> SignalChain::listedWeights(
    const ListenState& listening) const noexcept {
  const int length = settings.plan.xoverLength();
  std::array<SoloBand, kNumBands> listed{};
  for (int place = 0; place < length; ++place) {
    const int band = settings.plan.xoverBand(place);
    listed[at(place)] = {band, settings.bands[at(band)].path.solo};
  }
  return crossoverWeights({listed.data(), static_cast<std::size_t>(length)}, listening);
}

void SignalChain::beginBlock(const HostPart& part, int channels, const Rules& rules) noexcept {
  buffers.borrow();
  delays.setFixed(rules.fixedDelays);
  if (!rules.gliding) {
    movingBands = 0;
    jumpDue = true;
    return;
  }
  // Nothing glides to what another number of channels needs.
  if (std::exchange(channelsAimed, channels) != channels) jumpDue = true;
  const bool due = targetsDue || jumpDue;
  if (!due && (movingBands == 0 || part.continues)) return;
  const Block now{part.left, channels, 0, part.left, listenState()};
  const auto aim = [&](int band, const StageWeights& weights) {
    if (!due && motionOf(band) == nullptr) return;
    BandMotion& motion = motions[at(band)];
    const BandMotion::Targets targets = targetsOf(band, weights, now);
    if (jumpDue) {
      motion.jump(targets);
    } else {
      motion.setTargets(targets, part.left, sampleRate, part.continues);
    }
    movingBands &= ~stageBit(band);
    if (motion.isMoving()) movingBands |= stageBit(band);
  };
  settings.plan.forEachStage([&](int stage) {
    if (stage != StagePlan::kCrossoverStage) {
      aim(stage, dynamicEqWeights({stage, settings.bands[at(stage)].path.solo}, now.listening));
      return;
    }
    const auto weights = listedWeights(now.listening);
    for (int place = 0; place < settings.plan.xoverLength(); ++place) {
      aim(settings.plan.xoverBand(place), {weights[at(place)], 1.0});
    }
  });
  targetsDue = false;
  jumpDue = false;
}

BandMotion::Targets SignalChain::targetsOf(int band, const StageWeights& weights,
                                           const Block& now) const noexcept {
  const EngineSettings::Band& own = settings.bands[at(band)];
  const CurveKnobs& knobs = own.detector.knobs;
  const PositionWeights position(own.path.position, now.channels);
  BandMotion::Targets targets;
  targets[BandMotion::kThreshold] = knobs.threshold;
  targets[BandMotion::kRatioAbove] = knobs.ratioAbove;
  targets[BandMotion::kCeiling] = knobs.ceiling;
  targets[BandMotion::kRatioBelow] = knobs.ratioBelow;
  targets[BandMotion::kFloor] = knobs.floor;
  targets[BandMotion::kDeadband] = knobs.deadband;
  targets[BandMotion::kKnee] = knobs.knee;
  targets[BandMotion::kShape] = own.detector.shape;
  targets[BandMotion::kDynWeight] = own.detector.dynWeight;
  targets[BandMotion::kTranWeight] = own.detector.tranWeight;
  targets[BandMotion::kGain] = own.path.gain;
  targets[BandMotion::kDry] = own.path.dry;
  targets[BandMotion::kFirstWeight] = position.first;
  targets[BandMotion::kSecondWeight] = position.second;
  targets[BandMotion::kPresence] = isPassive(band, now.listening) ? 0.0 : 1.0;
  targets[BandMotion::kSidechain] = settings.scListen == band ? 1.0 : 0.0;
  targets[BandMotion::kShare] = weights.band;
  targets[BandMotion::kRest] = weights.rest;
  return targets;
}

void SignalChain::endMotions() noexcept {
  for (int band = 0; movingBands != 0 && band < kNumBands; ++band) {
    if (BandMotion* const motion = motionOf(band)) motion->endSlice(block.frames);
  }
}

/// Applies those of the crossover's weights that move, and puts 1 in their place.
void SignalChain::scaleMovingBands(std::span<const BandRun> runs,
                                   std::array<double, kNumBands>& weights) noexcept {
  for (std::size_t place = 0; place < runs.size(); ++place) {
    const BandMotion* const motion = runs[place].motion;
    if (motion == nullptr || !motion->moves(BandMotion::kShare)) continue;
    BandMotion::Ramp share;
    motion->fill(BandMotion::kShare, share.data(), block.frames);
    for (int c = 0; c < block.channels; ++c) {
      double* const signal = runs[place].signal[at(c)];
      for (int i = 0; i < block.frames; ++i) signal[i] *= share[at(i)];
    }
    weights[place] = 1.0;
  }
}
