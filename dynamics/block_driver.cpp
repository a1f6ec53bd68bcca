// The path of a block through the engine.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>

#include "dynamics/compressor.h"
#include "platform/index.h"

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

template <typename Sample>
void compressor::processBlock(Sample* const* inputs, Sample* const* outputs, int frames,
                              int mainChannels, int sideChannels) {
  if (frames <= 0) return;
  const int channels = std::clamp(mainChannels, 1, WorkBuffers::kChannels);
  ensureBuffers(frames);
  scrub(inputs, channels + sideChannels, frames);
  copySidechain(inputs + channels, sideChannels, frames);

  const Block block = beginBlock(frames, channels);
  analyser.beginBlock();
  takeInput(inputs, block);
  resetChangedBands(block);
  resetReturning(block);
  for (float* const reduction : buffers->reduction) std::fill_n(reduction, frames, 1.0F);
  runStages(block);
  delays.advance(frames);
  sidechainLeft = std::max(0, sidechainLeft - frames);
  storeMeters(block);
  loudness.measure(buffers->dry[0], buffers->dry[1], true, frames, channels);
  loudness.measure(buffers->wet[0], buffers->wet[1], false, frames, channels);
  mixOutput(outputs, block);
  publishMeters(block);
  feedEditor(outputs, block);
}

template void compressor::processBlock(float* const*, float* const*, int, int, int);
template void compressor::processBlock(double* const*, double* const*, int, int, int);

template <typename Sample>
void compressor::scrub(Sample* const* inputs, int channels, int frames) noexcept {
  for (int c = 0; c < channels; ++c) {
    Sample* const samples = inputs[c];
    if (samples == nullptr) continue;
    // Only NaN and infinities times 0 are not 0. Good buffers are read, not written.
    bool bad = false;
    for (int i = 0; i < frames; ++i) bad |= samples[i] * Sample{0} != Sample{0};
    if (!bad) continue;
    std::replace_if(
        samples, samples + frames, [](Sample x) { return x * Sample{0} != Sample{0}; }, Sample{0});
  }
}

template <typename Sample>
void compressor::copySidechain(Sample* const* side, int channels, int frames) noexcept {
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
  constexpr int kLongestWay = 4 * kNumBands * DelayRings::kSize;
  if (usable > 0) sidechainLeft = kLongestWay + frames;
}

compressor::Block compressor::beginBlock(int frames, int channels) noexcept {
  published.take();
  takeGains();
  const EngineSettings& now = published.active();
  if (now.highQuality != qualitySeen) setQuality(now.highQuality);
  const auto soloed = [](const EngineSettings::Band& band) {
    return band.path.solo && band.path.active;
  };
  ListenState listening;
  listening.soloCount = static_cast<int>(std::ranges::count_if(now.bands, soloed));
  listening.scListen = now.scListen;
  listening.listen = now.gains.listen;
  listening.passband = !now.gains.listen && now.autolistenPassband;
  return {frames, channels, now, listening};
}

template <typename Sample>
void compressor::takeInput(Sample* const* inputs, const Block& block) noexcept {
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
    meters.writeInput(c, wet, block.frames);
  }
  if (block.channels == 1) meters.writeInput(1, nullptr, block.frames);
}

void compressor::setQuality(bool high) noexcept {
  qualitySeen = high;
  for (auto& pair : oversampled) {
    for (OversampledGain& product : pair) product.setHighQuality(high);
  }
}

/// A band that joins or leaves the chain, or changes its kind or place, starts from silence, since
/// its past signal belongs elsewhere. Crossover bands keep their past whatever their order.
void compressor::resetChangedBands(const Block& block) noexcept {
  const StagePlan& plan = block.settings.plan;
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
  if (chain.listed != 0 && chainSeen.listed == 0) crossover.reset();
  chainSeen = chain;
}

/// Resets what was inactive in the last block, so that it, too, starts from silence.
void compressor::resetReturning(const Block& block) noexcept {
  const bool oversampling = block.settings.oversampleLatency > 0;
  const bool channelReturns = block.channels > channelsSeen;
  const bool productReturns = oversampling && !oversampledSeen;
  channelsSeen = block.channels;
  oversampledSeen = oversampling;
  if (channelReturns) crossover.resetRight();
  const std::uint32_t inUse = chainSeen.stages | chainSeen.listed;
  for (std::size_t band = 0; band < kNumBands; ++band) {
    if ((inUse & stageBit(static_cast<int>(band))) == 0) continue;
    if (channelReturns) {
      sidechains[band].resetRight();
      detectors[band].resetRight();
      subbands[band].resetRight();
      oversampled[band][1].reset();
    }
    if (productReturns) {
      for (OversampledGain& product : oversampled[band]) product.reset();
    }
  }
}

void compressor::runStages(const Block& block) noexcept {
  block.settings.plan.forEachStage([this, &block](int stage) {
    if (stage == StagePlan::kCrossoverStage) {
      runCrossoverStage(block);
    } else {
      runBandStage(stage, block);
    }
  });
}

void compressor::runBandStage(int band, const Block& block) noexcept {
  const SoloBand self{band, block.settings.bands[at(band)].path.solo};
  const StageWeights weights = dynamicEqWeights(self, block.listening);
  const WorkBuffers::Pair lifted = {buffers->band[0][0], buffers->band[1][0]};
  for (int c = 0; c < block.channels; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    std::copy_n(buffers->wet[channel], block.frames, lifted[channel]);
  }
  const int filterDelay =
      subbands[at(band)].filter(lifted.data(), buffers->rest.data(), block.frames, block.channels);
  delaySidechain(DelayRings::kExtBefore, band, block, filterDelay);
  delayPair(buffers->wet, DelayRings::kWetBefore, band, block, filterDelay);
  delayPair(buffers->dry, DelayRings::kDryBefore, band, block, filterDelay);
  BandRun run = beginBand(band, false, 0, block);
  processBands({&run, 1}, block, 0);
  const int bandDelay = run.lookahead + block.settings.oversampleLatency;
  for (int c = 0; c < block.channels; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    double* const wet = buffers->wet[channel];
    const double* const rest = buffers->rest[channel];
    const double* const in = lifted[channel];
    for (int i = 0; i < block.frames; ++i) wet[i] = weights.rest * rest[i] + weights.band * in[i];
  }
  delaySidechain(DelayRings::kExtAfter, band, block, bandDelay);
  delayPair(buffers->dry, DelayRings::kDryAfter, band, block, bandDelay);
}

void compressor::runCrossoverStage(const Block& block) noexcept {
  const int length = block.settings.plan.xoverLength();
  std::array<SoloBand, kNumBands> listed{};
  for (int place = 0; place < length; ++place) {
    const int band = block.settings.plan.xoverBand(place);
    listed[at(place)] = {band, block.settings.bands[at(band)].path.solo};
  }
  const auto weights =
      crossoverWeights({listed.data(), static_cast<std::size_t>(length)}, block.listening);
  std::array<BandRun, kNumBands> bandRuns;
  const std::span<BandRun> runs(bandRuns.data(), static_cast<std::size_t>(length));
  for (std::size_t place = 0; place < runs.size(); ++place) {
    bandRuns[place] = beginBand(listed[place].band, true, place, block);
  }
  splitIntoBands(runs, block);
  constexpr int kOwner = DelayRings::kCrossover;
  const int splitDelay = crossover.latency();
  delaySidechain(DelayRings::kExtBefore, kOwner, block, splitDelay);
  delayPair(buffers->wet, DelayRings::kWetBefore, kOwner, block, splitDelay);
  delayPair(buffers->dry, DelayRings::kDryBefore, kOwner, block, splitDelay);
  processBands(runs, block, block.settings.xoverMaxLookahead);
  for (int c = 0; c < block.channels; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    sumBands(buffers->band[channel], weights, runs.size(), buffers->wet[channel], block.frames);
  }
  const int bandDelay = block.settings.xoverMaxLookahead + block.settings.oversampleLatency;
  delaySidechain(DelayRings::kExtAfter, kOwner, block, bandDelay);
  delayPair(buffers->dry, DelayRings::kDryAfter, kOwner, block, bandDelay);
}

void compressor::splitIntoBands(std::span<const BandRun> runs, const Block& block) noexcept {
  const bool stereo = block.channels == 2;
  const double* const inputs[] = {buffers->wet[0], stereo ? buffers->wet[1] : nullptr};
  crossover.processBlock(inputs, buffers->band[0].data(), buffers->band[1].data(),
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

template <typename Sample>
void compressor::mixOutput(Sample* const* outputs, const Block& block) noexcept {
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
    if (Sample* const output = outputs[c]) {
      for (int i = 0; i < block.frames; ++i) output[i] = static_cast<Sample>(wet[i]);
    }
  }
}

template <typename Sample>
void compressor::feedEditor(Sample* const* outputs, const Block& block) noexcept {
  for (int c = 0; c < block.channels; ++c) {
    const auto dryTrace = static_cast<AnalyserFeed::Trace>(AnalyserFeed::kDryLeft + c);
    analyser.write(dryTrace, buffers->dry[at(c)], block.frames, block.settings.analyserGain);
    if (outputs[c] == nullptr) continue;
    analyser.write(static_cast<AnalyserFeed::Trace>(c), outputs[c], block.frames, 1.0);
  }
  analyser.endBlock(block.frames);
  outputPeak.follow(outputs, block.channels, block.frames);
  levels.write(outputs, block.channels, block.frames);
}

void compressor::storeMeters(const Block& block) noexcept {
  for (int c = 0; c < WorkBuffers::kChannels; ++c) {
    meters.writeReduction(c, buffers->reduction[at(c)], block.frames);
  }
  for (int c = 0; c < WorkBuffers::kChannels; ++c) {
    const double* const wet = buffers->wet[at(c)];
    meters.writeOutput(c, c < block.channels ? wet : nullptr, block.frames);
  }
  meters.endBlock(block.frames);
}

void compressor::publishMeters(const Block& block) noexcept {
  const EngineSettings& now = block.settings;
  const double decay = 1.0 - std::pow(now.meterDecay, static_cast<double>(block.frames));
  for (int band = 0; band < kNumBands; ++band) {
    const double position = now.bands[at(band)].path.position;
    const double left = block.channels == 1 ? 1.0 : std::min(1.0, 1.0 - position);
    bandMeters[at(band)].endBlock({left, std::min(1.0, 1.0 + position)}, decay);
  }
}
