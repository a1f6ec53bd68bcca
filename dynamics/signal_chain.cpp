#include "dynamics/signal_chain.h"

#include <algorithm>
#include <cstddef>

#include "platform/index.h"
#include "platform/prefetch.h"

namespace {

/// Adds up the weighted bands in order, two in a pass.
void sumBands(const std::array<double*, kNumBands>& bands,
              const std::array<double, kNumBands>& weights, std::size_t count, double* out,
              int frames) noexcept {
  std::fill_n(out, frames, 0.0);
  std::size_t place = 0;
  for (; place + 2 <= count; place += 2) {
    const double* const first = bands[place];
    const double* const second = bands[place + 1];
    for (int i = 0; i < frames; ++i) {
      out[i] = (out[i] + weights[place] * first[i]) + weights[place + 1] * second[i];
    }
  }
  if (place == count) return;
  for (int i = 0; i < frames; ++i) out[i] += weights[place] * bands[place][i];
}

}  // namespace

void ChainFilters::setSampleRate(double rate) noexcept {
  for (subband& filter : subbands) filter.setSampleRate(rate);
  for (SidechainFilters& each : sidechains) each.setSampleRate(static_cast<float>(rate));
  crossover.setSampleRate(rate);
}

SignalChain::SignalChain(double rate) : sampleRate(rate) { filters.setSampleRate(rate); }

void SignalChain::setSampleRate(double rate) noexcept {
  sampleRate = rate;
  filters.setSampleRate(rate);
}

std::uint32_t SignalChain::take(const EngineSettings& newest) noexcept {
  const bool sameParts = newest.parts == settings.parts;
  std::uint32_t changed = 0;
  for (int band = 0; band < kNumBands; ++band) {
    if (settings.bands[at(band)] != newest.bands[at(band)]) changed |= stageBit(band);
  }
  settings = newest;
  targetsDue = true;
  if (!sameParts && settings.parts != nullptr) takeParts();
  return changed;
}

void SignalChain::takeParts() noexcept {
  for (int band = 0; band < kNumBands; ++band) {
    BandParts* const own = partsOf(band);
    delays.use(band, own != nullptr ? &own->delays : nullptr);
  }
  delays.use(DelayRings::kCrossover, settings.parts->crossover.get());
  setQuality(qualitySeen);
}

void SignalChain::reset() noexcept {
  takeGains();
  jumpDue = true;
  for (GainRamp* ramp : {&inputRamp, &wetRamp, &dryRamp}) ramp->reset();
  for (BandMeters& meter : *meters) meter.reset();
  delays.clear();
  silent = true;
  sidechainLeft = 0;
  channelsSeen = WorkBuffers::kChannels;
  filters.crossover.reset();
  for (int band = 0; band < kNumBands; ++band) resetPath(band);
}

void SignalChain::warmUp(int frames) noexcept {
  const std::array<const float*, WorkBuffers::kChannels> silence{};
  for (int left = frames; left > 0; left -= kMostFrames) {
    beginBlock({kMostFrames}, WorkBuffers::kChannels, {.gliding = false, .fixedDelays = true});
    begin(silence.data(), kMostFrames, WorkBuffers::kChannels, 0, 0, kMostFrames);
    runStages();
    mix();
    endBlock();
  }
}

void SignalChain::showOn(MeterSet& shown) noexcept {
  meters = &shown;
  for (int band = 0; band < kNumBands; ++band) {
    if ((chainSeen.bands() & stageBit(band)) == 0) shown[at(band)].reset();
  }
}

void SignalChain::adoptLevels(const SignalChain& other) noexcept {
  const std::uint32_t both =
      (chainSeen.stages & other.chainSeen.stages) | (chainSeen.listed & other.chainSeen.listed);
  for (int band = 0; band < kNumBands; ++band) {
    if ((both & stageBit(band)) != 0) detectorsOf(band).adoptLevels(other.detectorsOf(band));
  }
}

template <typename Sample>
void SignalChain::begin(const Sample* const* inputs, int frames, int mainChannels, int sideChannels,
                        int before, int whole) noexcept {
  block = {frames, mainChannels, before, whole, listenState()};
  fetchParts();
  copySidechain(inputs + mainChannels, sideChannels, frames);
  takeGains();
  if (settings.highQuality != qualitySeen) setQuality(settings.highQuality);
  takeInput(inputs);
}

template void SignalChain::begin(const float* const*, int, int, int, int, int) noexcept;
template void SignalChain::begin(const double* const*, int, int, int, int, int) noexcept;

void SignalChain::mix() noexcept {
  double* const gain = buffers->ramp;
  wetRamp.fill(gain, block.frames);
  for (int c = 0; c < block.channels; ++c) {
    double* const wet = buffers->wet[at(c)];
    for (int i = 0; i < block.frames; ++i) wet[i] *= gain[i];
  }
  dryRamp.fill(gain, block.frames);
  for (int c = 0; c < block.channels; ++c) {
    double* const wet = buffers->wet[at(c)];
    const double* const dry = buffers->dry[at(c)];
    for (int i = 0; i < block.frames; ++i) wet[i] += gain[i] * dry[i];
  }
}

template <typename Sample>
void SignalChain::copySidechain(const Sample* const* side, int channels, int frames) noexcept {
  int usable = std::min(channels, WorkBuffers::kChannels);
  if (usable == 2 && side[1] == nullptr) usable = 1;
  if (usable >= 1 && side[0] == nullptr) usable = 0;
  for (int c = 0; c < WorkBuffers::kChannels; ++c) {
    double* const ext = buffers->ext[at(c)];
    if (c < usable) {
      std::copy_n(side[c], frames, ext);
    } else {
      std::fill_n(ext, frames, 0.0);
    }
  }
  // More than all the delays of a chain together, whose rings then hold silence.
  constexpr int kLongestWay = 4 * kNumBands * (DelayRings::kMaxDelay + 1);
  if (usable > 0) sidechainLeft = kLongestWay + frames;
}

template <typename Sample>
void SignalChain::takeInput(const Sample* const* inputs) noexcept {
  double* const gain = buffers->ramp;
  inputRamp.fill(gain, block.frames);
  for (int c = 0; c < block.channels; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    double* const wet = buffers->wet[channel];
    if (const Sample* const input = inputs[c]) {
      for (int i = 0; i < block.frames; ++i) wet[i] = static_cast<double>(input[i]) * gain[i];
    } else {
      std::fill_n(wet, block.frames, 0.0);
    }
    std::copy_n(wet, block.frames, buffers->dry[channel]);
  }
}

void SignalChain::setQuality(bool high) noexcept {
  qualitySeen = high;
  for (int band = 0; band < kNumBands; ++band) {
    OversampledPair* const products = productsOf(band);
    if (products == nullptr) continue;
    for (OversampledGain& product : *products) product.setHighQuality(high);
  }
}

/// A band that joins or leaves the chain, or changes its kind or place, starts from silence, since
/// its past signal belongs elsewhere. Crossover bands keep their past whatever their order.
void SignalChain::resetChangedBands() noexcept {
  const StagePlan& plan = settings.plan;
  ChainSeen chain{plan, 0, 0};
  plan.forEachStage([&chain](int stage) { chain.stages |= stageBit(stage); });
  const bool split = (chain.stages & stageBit(StagePlan::kCrossoverStage)) != 0;
  for (int place = 0; split && place < plan.xoverLength(); ++place) {
    chain.listed |= stageBit(plan.xoverBand(place));
  }
  std::uint32_t changed = chain.listed ^ chainSeen.listed;
  if (plan.stages != chainSeen.plan.stages) {
    changed |= (chain.stages | chainSeen.stages) & ~stagesInOrder(chainSeen.plan, plan);
  }
  for (int band = 0; band < kNumBands; ++band) {
    if ((changed & stageBit(band)) != 0) resetBandState(band);
  }
  // The crossover, too, must not come back with the signal of when it stopped.
  if (chain.listed != 0 && chainSeen.listed == 0) filters.crossover.reset();
  chainSeen = chain;
}

/// Resets what was inactive in the last block, so that it, too, starts from silence.
void SignalChain::resetReturning() noexcept {
  const bool oversampling = settings.oversampleLatency > 0;
  const bool channelReturns = block.channels > channelsSeen;
  const bool productReturns = oversampling && !oversampledSeen;
  channelsSeen = block.channels;
  oversampledSeen = oversampling;
  if (channelReturns) filters.crossover.resetRight();
  const std::uint32_t inUse = chainSeen.bands();
  for (int band = 0; band < kNumBands; ++band) {
    if ((inUse & stageBit(band)) == 0) continue;
    OversampledPair* const products = productsOf(band);
    if (channelReturns) {
      filters.sidechains[at(band)].resetRight();
      detectorsOf(band).resetRight();
      filters.subbands[at(band)].resetRight();
      if (products != nullptr) (*products)[1].reset();
    }
    if (productReturns) {
      for (OversampledGain& product : *products) product.reset();
    }
  }
}

/// Starts to load the objects of the bands, where what they keep is found.
void SignalChain::fetchParts() const noexcept {
  for (int place = 0; place < settings.plan.xoverLength(); ++place) {
    prefetch(partsOf(settings.plan.xoverBand(place)), 1);
  }
}

void SignalChain::runStages() noexcept {
  resetChangedBands();
  resetReturning();
  for (float* const reduction : buffers->reduction) std::fill_n(reduction, block.frames, 1.0F);
  settings.plan.forEachStage([this](int stage) {
    if (stage == StagePlan::kCrossoverStage) {
      runCrossoverStage();
    } else {
      runBandStage(stage);
    }
  });
  endMotions();
  silent = false;
  delays.advance(block.frames);
  sidechainLeft = std::max(0, sidechainLeft - block.frames);
}

void SignalChain::runBandStage(int band) noexcept {
  const SoloBand self{band, settings.bands[at(band)].path.solo};
  const StageWeights weights = dynamicEqWeights(self, block.listening);
  const WorkBuffers::Pair lifted = {buffers->band[0][0], buffers->band[1][0]};
  for (int c = 0; c < block.channels; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    std::copy_n(buffers->wet[channel], block.frames, lifted[channel]);
  }
  const int filterDelay = filters.subbands[at(band)].filter(lifted.data(), buffers->rest.data(),
                                                            block.frames, block.channels);
  delaySidechain(DelayRings::kExtBefore, band, filterDelay);
  delayPair(buffers->wet, DelayRings::kWetBefore, band, filterDelay);
  delayPair(buffers->dry, DelayRings::kDryBefore, band, filterDelay);
  BandRun run = beginBand(band, false, 0);
  processBands({&run, 1}, 0);
  const int bandDelay = run.lookahead + settings.oversampleLatency;
  mixStage(run, weights);
  delaySidechain(DelayRings::kExtAfter, band, bandDelay);
  delayPair(buffers->dry, DelayRings::kDryAfter, band, bandDelay);
}

void SignalChain::runCrossoverStage() noexcept {
  const int length = settings.plan.xoverLength();
  auto weights = listedWeights(block.listening);
  std::array<BandRun, kNumBands> bandRuns;
  const std::span<BandRun> runs(bandRuns.data(), static_cast<std::size_t>(length));
  for (std::size_t place = 0; place < runs.size(); ++place) {
    bandRuns[place] = beginBand(settings.plan.xoverBand(static_cast<int>(place)), true, place);
  }
  constexpr int kOwner = DelayRings::kCrossover;
  const int splitDelay = filters.crossover.latency();
  const int bandDelay = settings.xoverMaxLookahead + settings.oversampleLatency;
  fetchPair(DelayRings::kWetBefore, kOwner, splitDelay);
  fetchPair(DelayRings::kDryBefore, kOwner, splitDelay);
  fetchPair(DelayRings::kDryAfter, kOwner, bandDelay);
  splitIntoBands(runs);
  delaySidechain(DelayRings::kExtBefore, kOwner, splitDelay);
  delayPair(buffers->wet, DelayRings::kWetBefore, kOwner, splitDelay);
  delayPair(buffers->dry, DelayRings::kDryBefore, kOwner, splitDelay);
  processBands(runs, settings.xoverMaxLookahead);
  scaleMovingBands(runs, weights);
  for (int c = 0; c < block.channels; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    sumBands(buffers->band[channel], weights, runs.size(), buffers->wet[channel], block.frames);
  }
  delaySidechain(DelayRings::kExtAfter, kOwner, bandDelay);
  delayPair(buffers->dry, DelayRings::kDryAfter, kOwner, bandDelay);
}

/// Puts a dynamic EQ band and the rest of the signal together again.
void SignalChain::mixStage(const BandRun& run, const StageWeights& weights) noexcept {
  const bool moves = run.motion != nullptr && (run.motion->moves(BandMotion::kShare) ||
                                               run.motion->moves(BandMotion::kRest));
  BandMotion::Ramp bandShares;
  BandMotion::Ramp restShares;
  if (moves) {
    run.motion->fill(BandMotion::kShare, bandShares.data(), block.frames);
    run.motion->fill(BandMotion::kRest, restShares.data(), block.frames);
  }
  for (int c = 0; c < block.channels; ++c) {
    double* const wet = buffers->wet[at(c)];
    const double* const rest = buffers->rest[at(c)];
    const double* const in = run.signal[at(c)];
    if (moves) {
      for (int i = 0; i < block.frames; ++i) {
        wet[i] = restShares[at(i)] * rest[i] + bandShares[at(i)] * in[i];
      }
    } else {
      for (int i = 0; i < block.frames; ++i) wet[i] = weights.rest * rest[i] + weights.band * in[i];
    }
  }
}

void SignalChain::splitIntoBands(std::span<const BandRun> runs) noexcept {
  const bool stereo = block.channels == 2;
  const double* const inputs[] = {buffers->wet[0], stereo ? buffers->wet[1] : nullptr};
  filters.crossover.processBlock(inputs, buffers->band[0].data(), buffers->band[1].data(),
                                 static_cast<int>(runs.size()), block.frames);
  // Copies of the unprocessed bands, where another band listens to them.
  for (const BandRun& run : runs) {
    if (run.heardPlace < 0) continue;
    for (std::size_t c = 0; c < static_cast<std::size_t>(block.channels); ++c) {
      const auto place = static_cast<std::size_t>(run.heardPlace);
      std::copy_n(buffers->band[c][place], block.frames, buffers->bandCopy[c][place]);
    }
  }
}

void SignalChain::resetBandState(int band) noexcept {
  const auto index = static_cast<std::size_t>(band);
  (*meters)[index].reset();
  delays.forget(band);
  motions[index].jump();
  movingBands &= ~stageBit(band);
  resetPath(band);
}

void SignalChain::resetPath(int band) noexcept {
  const auto index = static_cast<std::size_t>(band);
  filters.sidechains[index].reset();
  if (OversampledPair* const products = productsOf(band)) {
    for (OversampledGain& product : *products) product.reset();
  }
  if (BandParts* const own = partsOf(band)) own->detectors.reset();
  // Phases by the engine's clock, so that the eight do the large part of their work in turn.
  constexpr int kTurn = PartitionedConvolver::kPhases / kNumBands;
  filters.subbands[index].reset(delays.position() + kTurn * band);
}

void SignalChain::takeGains() noexcept {
  const EngineSettings::Gains& gains = settings.gains;
  inputRamp.setTarget(gains.in);
  wetRamp.setTarget(gains.wet);
  dryRamp.setTarget(gains.dry);
}
