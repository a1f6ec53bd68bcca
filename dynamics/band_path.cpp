// The path of one band's signal: sidechain, detectors, gain.

#include <algorithm>
#include <array>
#include <cstddef>

#include "dynamics/signal_chain.h"
#include "platform/index.h"

namespace {

/// How much of the gain each of a band's two channels takes.
struct PositionWeights {
  PositionWeights(double position, int channels) noexcept
      : first(channels == 1 ? 1.0 : std::min(1.0, 1.0 - position)),
        second(std::min(1.0, 1.0 + position)) {}
  double first;
  double second;
};

void encodeMidSide(double* left, double* right, int frames) noexcept {
  for (int i = 0; i < frames; ++i) {
    const double l = left[i];
    const double r = right[i];
    left[i] = l + r;
    right[i] = l - r;
  }
}

void decodeMidSide(double* mid, double* side, int frames) noexcept {
  for (int i = 0; i < frames; ++i) {
    const double m = mid[i];
    const double s = side[i];
    mid[i] = (m + s) * 0.5;
    side[i] = (m - s) * 0.5;
  }
}

/// Encodes, multiplies by the gains of mid and side, and decodes in one pass.
void multiplyMidSide(double* left, double* right, const double* midGain, const double* sideGain,
                     int frames) noexcept {
  for (int i = 0; i < frames; ++i) {
    const double m = (left[i] + right[i]) * midGain[i];
    const double s = (left[i] - right[i]) * sideGain[i];
    left[i] = (m + s) * 0.5;
    right[i] = (m - s) * 0.5;
  }
}

/// Turns the detectors' gain into the gain applied to the signal.
struct GainStage {
  double bandGain;
  double bandDry;
  double weight;  // 0..1, how much of the gain the channel takes

  /// In place; the detectors' part is added to `count` meters, which show all bands together.
  template <std::size_t count>
  void apply(double* gain, const std::array<float*, count>& reductions, int frames) const noexcept {
    for (int i = 0; i < frames; ++i) {
      const double shown = (gain[i] - 1.0) * weight + 1.0;
      for (float* const reduction : reductions) {
        reduction[i] = static_cast<float>(static_cast<double>(reduction[i]) * shown);
      }
      gain[i] = ((gain[i] * bandGain + bandDry) - 1.0) * weight + 1.0;
    }
  }
};

}  // namespace

SignalChain::BandRun SignalChain::beginBand(int band, bool isXover, std::size_t place) noexcept {
  const EngineSettings::Band& own = settings.bands[at(band)];
  const ListenState& listening = block.listening;
  const bool unheard = listening.soloCount != 0 && !own.path.solo;
  BandRun run{};
  run.band = band;
  run.settings = &own;
  run.isXover = isXover;
  // While a sidechain is heard, bands pass their signal unchanged.
  run.passive = own.path.bypass || unheard || listening.scListen != -1;
  run.lookahead = own.detector.lookahead;
  run.heardPlace = run.isXover ? own.route.bandIndex : -1;
  run.signal = {buffers.band[0][place], buffers.band[1][place]};
  run.side = {buffers.side[0][place], buffers.side[1][place]};
  return run;
}

void SignalChain::processBands(std::span<BandRun> runs, int alignTo) noexcept {
  for (BandRun& run : runs) makeSidechain(run);
  detect(runs);
  for (const BandRun& run : runs) {
    if (!run.isXover) {
      // The band itself is delayed as much by its oversampled product.
      delayPair(buffers.rest, DelayRings::kAlign, run.band,
                run.lookahead + settings.oversampleLatency);
    }
    delayPair(run.signal, DelayRings::kLook, run.band, run.lookahead);
    applyGain(run);
    // All crossover bands are delayed as much as the one with the longest lookahead.
    if (run.isXover) {
      delayPair(run.signal, DelayRings::kAlign, run.band, alignTo - run.lookahead);
    }
  }
}

/// Source of a channel of a band's sidechain; null for what is in its buffer already.
const double* SignalChain::sidechainSource(const BandRun& run, std::size_t channel) const noexcept {
  if (run.heardPlace >= 0) {
    return buffers.bandCopy[channel][at(run.heardPlace)];
  }
  switch (run.settings->route.source) {
    case SidechainRoute::kWide:
      return buffers.wet[channel];
    case SidechainRoute::kBand:
      return run.signal[channel];
    case SidechainRoute::kExternal:
      return buffers.ext[channel];
    default:
      return nullptr;
  }
}

void SignalChain::makeSidechain(BandRun& run) noexcept {
  SidechainFilters& sidechain = filters.sidechains[at(run.band)];
  const auto channels = static_cast<std::size_t>(block.channels);
  for (std::size_t c = 0; c < channels; ++c) {
    const double* const source = sidechainSource(run, c);
    sidechain.process(c, source != nullptr ? source : run.side[c], run.side[c], block.frames);
  }
  if (block.listening.scListen == run.band) {
    for (std::size_t c = 0; c < channels; ++c) {
      std::copy_n(run.side[c], block.frames, run.signal[c]);
    }
  } else if (channels == 2) {
    run.sameSide = run.settings->linkage.link(run.side[0], run.side[1], block.frames);
  }
}

void SignalChain::detect(std::span<BandRun> runs) noexcept {
  std::array<BandDetector::Job, kNumBands * WorkBuffers::kChannels> jobs{};
  std::size_t count = 0;
  for (BandRun& run : runs) {
    const auto band = static_cast<std::size_t>(run.band);
    BandMeters& meter = (*meters)[band];
    run.oneDetector = detectors[band].oneForBoth(run.sameSide);
    const int detecting = run.oneDetector ? 1 : block.channels;
    for (std::size_t c = 0; c < static_cast<std::size_t>(detecting); ++c) {
      jobs[count++] = {&detectors[band][c], &run.settings->detector, run.side[c],
                       &meter.envPeak,      &meter.dynPeak[c],       &meter.tranPeak[c],
                       &meter.fastLamp,     &meter.slowLamp,         block.lampFrames()};
    }
  }
  BandDetector::processTogether({jobs.data(), count}, block.frames);
  for (BandRun& run : runs) {
    if (run.oneDetector) shareGain(run);
    if (!run.passive) continue;
    BandMeters& meter = (*meters)[at(run.band)];
    meter.dynPeak.fill(0.0);
    meter.tranPeak.fill(0.0);
    for (double* const gain : run.side) std::fill_n(gain, block.frames, 1.0);
  }
}

/// Gives the second channel the gain that the detector of the first has found for both.
void SignalChain::shareGain(BandRun& run) noexcept {
  BandMeters& meter = (*meters)[at(run.band)];
  meter.dynPeak[1] = meter.dynPeak[0];
  meter.tranPeak[1] = meter.tranPeak[0];
  const PositionWeights weight(run.settings->path.position, block.channels);
  if (weight.first == weight.second) {
    run.side[1] = run.side[0];
  } else {
    std::copy_n(run.side[0], block.frames, run.side[1]);
  }
}

void SignalChain::applyGain(const BandRun& run) noexcept {
  if (!run.passive) finishGain(run);
  const bool midSide = block.channels == 2 && !run.settings->path.leftRight;
  if (settings.oversampleLatency == 0 && midSide) {
    multiplyMidSide(run.signal[0], run.signal[1], run.side[0], run.side[1], block.frames);
    return;
  }
  if (midSide) encodeMidSide(run.signal[0], run.signal[1], block.frames);
  for (std::size_t c = 0; c < static_cast<std::size_t>(block.channels); ++c) {
    double* const signal = run.signal[c];
    const double* const gain = run.side[c];
    if (settings.oversampleLatency > 0) {
      oversampled[at(run.band)][c].process(signal, gain, block.frames, buffers.upSignal,
                                           buffers.upGain, block.before);
    } else {
      for (int i = 0; i < block.frames; ++i) signal[i] *= gain[i];
    }
  }
  if (midSide) decodeMidSide(run.signal[0], run.signal[1], block.frames);
}

void SignalChain::finishGain(const BandRun& run) noexcept {
  const BandSettings& path = run.settings->path;
  const PositionWeights weight(path.position, block.channels);
  const GainStage first{path.gain, path.dry, weight.first};
  const GainStage second{first.bandGain, first.bandDry, weight.second};
  const auto& [left, right] = buffers.reduction;
  if (block.channels == 1) {
    first.apply<1>(run.side[0], {left}, block.frames);
  } else if (run.side[0] == run.side[1]) {
    first.apply<2>(run.side[0], {left, right}, block.frames);
  } else if (path.leftRight) {
    first.apply<1>(run.side[0], {left}, block.frames);
    second.apply<1>(run.side[1], {right}, block.frames);
  } else {  // both meters of a mid/side band show its mid
    first.apply<2>(run.side[0], {left, right}, block.frames);
    second.apply<0>(run.side[1], {}, block.frames);
  }
}

void SignalChain::delaySidechain(DelayRings::Ring ring, int owner, int samples) noexcept {
  // Without a sidechain, the buffers and all their rings hold silence.
  if (sidechainLeft > 0) delayPair(buffers.ext, ring, owner, samples);
}

void SignalChain::delayPair(const WorkBuffers::Pair& pair, DelayRings::Ring ring, int owner,
                            int samples) noexcept {
  for (int c = 0; c < block.channels; ++c) {
    delays.delayLine(pair[static_cast<std::size_t>(c)], ring + c, owner, block.frames, samples);
  }
}
