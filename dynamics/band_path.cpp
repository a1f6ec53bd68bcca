// The path of one band's signal: sidechain, detectors, gain.

#include <algorithm>
#include <array>
#include <cstddef>

#include "dynamics/signal_chain.h"
#include "platform/index.h"

namespace {

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
  [[nodiscard]] const GainStage& operator[](int /*i*/) const noexcept { return *this; }
};

/// The same, of other values in each frame.
struct MovingGainStage {
  const double* bandGain;
  const double* bandDry;
  const double* weight;
  [[nodiscard]] GainStage operator[](int i) const noexcept {
    return {bandGain[i], bandDry[i], weight[i]};
  }
};

/// In place; the detectors' part is added to `count` meters, which show all bands together.
template <std::size_t count, typename Stage>
void apply(const Stage& stages, double* gain, const std::array<float*, count>& reductions,
           int frames) noexcept {
  for (int i = 0; i < frames; ++i) {
    const GainStage stage = stages[i];
    const double shown = (gain[i] - 1.0) * stage.weight + 1.0;
    for (float* const reduction : reductions) {
      reduction[i] = static_cast<float>(static_cast<double>(reduction[i]) * shown);
    }
    gain[i] = ((gain[i] * stage.bandGain + stage.bandDry) - 1.0) * stage.weight + 1.0;
  }
}

}  // namespace

SignalChain::BandRun SignalChain::beginBand(int band, bool isXover, std::size_t place) noexcept {
  const EngineSettings::Band& own = settings.bands[at(band)];
  BandRun run{};
  run.band = band;
  run.settings = &own;
  run.isXover = isXover;
  run.passive = isPassive(band, block.listening);
  run.motion = motionOf(band);
  if (run.motion != nullptr) {
    run.passive = run.passive && !run.motion->moves(BandMotion::kPresence);
    run.motion->beginSlice(own.detector, block.frames);
  }
  run.lookahead = own.detector.lookahead;
  const int heard = own.route.bandIndex;
  run.heardPlace = run.isXover && heard < settings.plan.xoverLength() ? heard : -1;
  run.signal = {buffers->band[0][place], buffers->band[1][place]};
  run.side = {buffers->side[0][place], buffers->side[1][place]};
  return run;
}

bool SignalChain::isPassive(int band, const ListenState& listening) const noexcept {
  const BandSettings& path = settings.bands[at(band)].path;
  const bool unheard = listening.soloCount != 0 && !path.solo;
  // While a sidechain is heard, bands pass their signal unchanged.
  return path.bypass || unheard || listening.scListen != -1;
}

void SignalChain::processBands(std::span<BandRun> runs, int alignTo) noexcept {
  for (BandRun& run : runs) {
    fetchBand(run, alignTo);
    makeSidechain(run);
  }
  detect(runs);
  for (const BandRun& run : runs) {
    if (!run.isXover) {
      // The band itself is delayed as much by its oversampled product.
      delayPair(buffers->rest, DelayRings::kAlign, run.band, alignment(run, alignTo));
    }
    delayPair(run.signal, DelayRings::kLook, run.band, run.lookahead);
    applyGain(run);
    // All crossover bands are delayed as much as the one with the longest lookahead.
    if (run.isXover) {
      delayPair(run.signal, DelayRings::kAlign, run.band, alignment(run, alignTo));
    }
  }
}

/// Source of a channel of a band's sidechain.
const double* SignalChain::sidechainSource(const BandRun& run, std::size_t channel) const noexcept {
  if (run.heardPlace >= 0) {
    return buffers->bandCopy[channel][at(run.heardPlace)];
  }
  switch (run.settings->route.source) {
    case SidechainRoute::kWide:
      return buffers->wet[channel];
    case SidechainRoute::kExternal:
      return buffers->ext[channel];
    default:
      return run.signal[channel];
  }
}

void SignalChain::makeSidechain(BandRun& run) noexcept {
  SidechainFilters& sidechain = filters.sidechains[at(run.band)];
  const auto channels = static_cast<std::size_t>(block.channels);
  for (std::size_t c = 0; c < channels; ++c) {
    sidechain.process(c, run.settings->trim, sidechainSource(run, c), run.side[c], block.frames);
  }
  if (run.motion != nullptr && run.motion->moves(BandMotion::kSidechain)) {
    for (std::size_t c = 0; c < channels; ++c) mixSidechain(run, c);
  } else if (block.listening.scListen == run.band) {
    for (std::size_t c = 0; c < channels; ++c) {
      std::copy_n(run.side[c], block.frames, run.signal[c]);
    }
  }
  if (block.listening.scListen != run.band && channels == 2) {
    run.sameSide = run.settings->linkage.link(run.side[0], run.side[1], block.frames);
  }
}

/// Moves between a band and its sidechain.
void SignalChain::mixSidechain(const BandRun& run, std::size_t channel) noexcept {
  BandMotion::Ramp share;
  run.motion->fill(BandMotion::kSidechain, share.data(), block.frames);
  double* const signal = run.signal[channel];
  const double* const side = run.side[channel];
  for (int i = 0; i < block.frames; ++i) signal[i] += (side[i] - signal[i]) * share[at(i)];
}

void SignalChain::detect(std::span<BandRun> runs) noexcept {
  std::array<BandDetector::Job, kNumBands * WorkBuffers::kChannels> jobs{};
  std::size_t count = 0;
  for (BandRun& run : runs) {
    const auto band = static_cast<std::size_t>(run.band);
    BandMeters& meter = (*meters)[band];
    DetectorPair& detectors = detectorsOf(run.band);
    run.oneDetector = detectors.oneForBoth(run.sameSide);
    const bool moves = run.motion != nullptr && run.motion->detectorMotion() != nullptr;
    const int detecting = run.oneDetector ? 1 : block.channels;
    for (std::size_t c = 0; c < static_cast<std::size_t>(detecting); ++c) {
      jobs[count++] = {
          &detectors[c],      moves ? &run.motion->detector() : &run.settings->detector,
          run.side[c],        &meter.envPeak,
          &meter.dynPeak[c],  &meter.tranPeak[c],
          &meter.fastLamp,    &meter.slowLamp,
          block.lampFrames(), moves ? run.motion->detectorMotion() : nullptr,
          delays.isFixed()};
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
  if (weight.first == weight.second && (run.motion == nullptr || !run.motion->gainMoves())) {
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
      (*productsOf(run.band))[c].process(signal, gain, block.frames, buffers->upSignal,
                                         buffers->upGain, block.before);
    } else {
      for (int i = 0; i < block.frames; ++i) signal[i] *= gain[i];
    }
  }
  if (midSide) decodeMidSide(run.signal[0], run.signal[1], block.frames);
}

void SignalChain::finishGain(const BandRun& run) noexcept {
  const BandSettings& path = run.settings->path;
  if (run.motion == nullptr || !run.motion->gainMoves()) {
    const PositionWeights weight(path.position, block.channels);
    const GainStage first{path.gain, path.dry, weight.first};
    finishGain(run, first, {path.gain, path.dry, weight.second});
    return;
  }
  BandMotion::Ramp gain;
  BandMotion::Ramp dry;
  BandMotion::Ramp presence;
  std::array<BandMotion::Ramp, WorkBuffers::kChannels> weights;
  run.motion->fill(BandMotion::kGain, gain.data(), block.frames);
  run.motion->fill(BandMotion::kDry, dry.data(), block.frames);
  run.motion->fill(BandMotion::kPresence, presence.data(), block.frames);
  run.motion->fill(BandMotion::kFirstWeight, weights[0].data(), block.frames);
  run.motion->fill(BandMotion::kSecondWeight, weights[1].data(), block.frames);
  for (BandMotion::Ramp& weight : weights) {
    for (int i = 0; i < block.frames; ++i) weight[at(i)] *= presence[at(i)];
  }
  const MovingGainStage first{gain.data(), dry.data(), weights[0].data()};
  finishGain(run, first, {gain.data(), dry.data(), weights[1].data()});
}

template <typename Stage>
void SignalChain::finishGain(const BandRun& run, const Stage& first, const Stage& second) noexcept {
  const auto& [left, right] = buffers->reduction;
  if (block.channels == 1) {
    apply<1>(first, run.side[0], {left}, block.frames);
  } else if (run.side[0] == run.side[1]) {
    apply<2>(first, run.side[0], {left, right}, block.frames);
  } else if (run.settings->path.leftRight) {
    apply<1>(first, run.side[0], {left}, block.frames);
    apply<1>(second, run.side[1], {right}, block.frames);
  } else {  // both meters of a mid/side band show its mid
    apply<2>(first, run.side[0], {left, right}, block.frames);
    apply<0>(second, run.side[1], {}, block.frames);
  }
}

/// The delay of a crossover band after its gain, or of the signal outside a dynamic EQ band.
int SignalChain::alignment(const BandRun& run, int alignTo) const noexcept {
  return run.isXover ? alignTo - run.lookahead : run.lookahead + settings.oversampleLatency;
}

/// Starts to load what a band keeps, while the filters before it run.
void SignalChain::fetchBand(const BandRun& run, int alignTo) const noexcept {
  detectorsOf(run.band).fetch(block.frames, block.channels);
  fetchPair(DelayRings::kLook, run.band, run.lookahead);
  fetchPair(DelayRings::kAlign, run.band, alignment(run, alignTo));
}

void SignalChain::fetchPair(DelayRings::Ring ring, int owner, int samples) const noexcept {
  for (int c = 0; c < block.channels; ++c) delays.fetch(ring + c, owner, block.frames, samples);
}

void SignalChain::delaySidechain(DelayRings::Ring ring, int owner, int samples) noexcept {
  // Without a sidechain, the buffers and all their rings hold silence.
  if (sidechainLeft > 0) delayPair(buffers->ext, ring, owner, samples);
}

void SignalChain::delayPair(const WorkBuffers::Pair& pair, DelayRings::Ring ring, int owner,
                            int samples) noexcept {
  for (int c = 0; c < block.channels; ++c) {
    delays.delayLine(pair[static_cast<std::size_t>(c)], ring + c, owner, block.frames, samples);
  }
}
