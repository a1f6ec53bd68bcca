// The way of a block through the engine, and the plan of stages that it follows.

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>

#include "dynamics/compressor.h"

namespace {

constexpr int kSlots = 8;  // of the stage plan

constexpr std::uint32_t kXoverLengthShift = 24;

/// Decodes one slot of the stage plan to a stage: a band, or -1 for the crossover. -2: an empty
/// slot.
constexpr int stageInSlot(std::uint32_t plan, int slot) noexcept {
  return static_cast<int>((plan >> (4 * slot)) & 15U) - 2;
}
constexpr int kEmptySlot = -2;
constexpr int kEndOfPlan = 13;

constexpr int xoverLength(std::uint32_t plan) noexcept {
  return std::min(static_cast<int>((plan >> kXoverLengthShift) & 15U), compressor::kBands);
}

constexpr int xoverBand(std::uint32_t plan, int place) noexcept {
  return static_cast<int>((plan >> (3 * place)) & 7U);
}

/// Calls `run` with each stage of a plan in order.
template <typename Run>
void forEachStage(std::uint32_t plan, Run run) {
  for (int slot = 0; slot < kSlots; ++slot) {
    const int stage = stageInSlot(plan, slot);
    if (stage == kEndOfPlan) return;
    if (stage != kEmptySlot) run(stage);
  }
}

/// The weighted bands one after the other, two in a pass.
void sumBands(const std::array<double*, compressor::kBands>& bands,
              const std::array<double, compressor::kBands>& weights, std::size_t count, double* out,
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

constexpr std::uint32_t bandBit(int band) noexcept { return 1U << band; }

constexpr std::uint32_t stageBit(int stage) noexcept {
  return bandBit(stage < 0 ? compressor::kBands : stage);
}

/// The stages of both plans that stand in the same order in both, so many of them that the fewest
/// are left over. The crossover, with all its bands, is never left over.
std::uint32_t stagesInOrder(std::uint32_t before, std::uint32_t plan) noexcept {
  const auto isWorse = [](std::uint32_t a, std::uint32_t b) {
    const auto worth = [](std::uint32_t stages) {
      return std::popcount(stages) + ((stages & stageBit(-1)) != 0 ? kSlots : 0);
    };
    return worth(a) < worth(b);
  };
  // By the slot of before: the best choice so far whose last stage stood there.
  std::array<std::uint32_t, kSlots> choices{};
  forEachStage(plan, [&](int stage) {
    std::uint32_t best = 0;
    for (int slot = 0; slot < kSlots; ++slot) {
      std::uint32_t& choice = choices[static_cast<std::size_t>(slot)];
      if (stageInSlot(before, slot) == stage) {
        choice = best | stageBit(stage);
        return;
      }
      best = std::max(best, choice, isWorse);
    }
  });
  return *std::max_element(choices.begin(), choices.end(), isWorse);
}

}  // namespace

compressor::StagePlan compressor::planOfLayout() {
  BandLayout::List stages;
  BandLayout::List listed;
  {
    const BandLayout::Scope lock(layout);
    stages = layout.pre;
    if (!layout.xover.empty()) stages.push_back(kCrossoverStage);
    stages.insert(stages.end(), layout.post.begin(), layout.post.end());
    listed = layout.xover;
  }
  StagePlan made;
  for (std::size_t slot = 0; slot < stages.size(); ++slot) {
    made.stages |= static_cast<std::uint32_t>(stages[slot] + 2) << (4 * slot);
  }
  made.xover = static_cast<std::uint32_t>(listed.size()) << kXoverLengthShift;
  for (std::size_t place = 0; place < listed.size(); ++place) {
    made.xover |= static_cast<std::uint32_t>(listed[place]) << (3 * place);
  }
  return made;
}

void compressor::dropLeavingBands() {
  std::uint32_t leaving = 0;
  for (const std::int32_t band : layout.copyOf(layout.off)) leaving |= bandBit(band);
  const StagePlan seen = plan.load(std::memory_order_relaxed);
  StagePlan left;
  int length = 0;
  for (int place = 0; place < xoverLength(seen.xover); ++place) {
    const int band = xoverBand(seen.xover, place);
    if ((leaving & bandBit(band)) != 0) continue;
    left.xover |= static_cast<std::uint32_t>(band) << (3 * length++);
  }
  left.xover |= static_cast<std::uint32_t>(length) << kXoverLengthShift;
  // Where others take over from all crossover bands, the stage goes on with those until they do.
  if (length == 0 && !layout.copyOf(layout.xover).empty()) {
    left.xover = seen.xover;
    length = xoverLength(seen.xover);
  }
  int slot = 0;
  forEachStage(seen.stages, [&](int stage) {
    const bool stays = stage == kCrossoverStage ? length > 0 : (leaving & bandBit(stage)) == 0;
    if (stays) left.stages |= static_cast<std::uint32_t>(stage + 2) << (4 * slot++);
  });
  if (left != seen) plan.store(left, std::memory_order_release);
}

bool compressor::planIsDue() { return planOfLayout() != plan.load(std::memory_order_relaxed); }

void compressor::makeStagePlan() {
  const StagePlan made = planOfLayout();
  int longest = 0;
  for (int place = 0; place < xoverLength(made.xover); ++place) {
    longest = std::max(longest, lookahead(xoverBand(made.xover, place)));
  }
  xoverMaxLookahead.store(longest, std::memory_order_relaxed);
  // Release: what the bands are set to stands before they are seen in their places.
  plan.store(made, std::memory_order_release);
}

template <typename Sample>
void compressor::processBlock(Sample* const* inputs, Sample* const* outputs, int frames,
                              int mainChannels, int sideChannels) {
  if (frames <= 0) return;
  const int channels = std::clamp(mainChannels, 1, WorkBuffers::kChannels);
  ensureBuffers(frames);
  scrub(inputs, channels + sideChannels, frames);
  copySidechain(inputs + channels, sideChannels, frames);

  takeGains();
  const Block block = readSettings(frames, channels);
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
}

template void compressor::processBlock(float* const*, float* const*, int, int, int);
template void compressor::processBlock(double* const*, double* const*, int, int, int);

template <typename Sample>
void compressor::scrub(Sample* const* inputs, int channels, int frames) noexcept {
  for (int c = 0; c < channels; ++c) {
    Sample* const samples = inputs[c];
    if (samples == nullptr) continue;
    // Only a NaN or an infinity times 0 is not 0. Good buffers are read, not written.
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
    double* const ext = buffers->ext[static_cast<std::size_t>(c)];
    if (c < usable) {
      std::copy_n(side[c], frames, ext);
    } else {
      std::fill_n(ext, frames, 0.0);
    }
  }
  // More than all the delays of a chain together, whose rings then hold silence.
  constexpr int kLongestWay = 4 * kBands * DelayRings::kSize;
  if (usable > 0) sidechainLeft = kLongestWay + frames;
}

compressor::Block compressor::readSettings(int frames, int channels) const noexcept {
  constexpr auto kAlone = std::memory_order_relaxed;
  const auto soloed = [](const SharedBand& band) {
    return band.solo.load(kAlone) && band.active.load(kAlone);
  };
  Block block{};
  block.frames = frames;
  block.channels = channels;
  ListenState& listening = block.listening;
  listening.soloCount = static_cast<int>(std::count_if(bands.begin(), bands.end(), soloed));
  listening.scListen = scListen.load(kAlone);
  listening.listen = gainTargets.active().listen;
  listening.passband = !listening.listen && autolistenPassband.load(kAlone);
  const StagePlan seen = plan.load(std::memory_order_acquire);
  block.stagePlan = seen.stages;
  block.xoverPlan = seen.xover;
  block.xoverMaxLookahead = xoverMaxLookahead.load(kAlone);
  block.oversampleLatency = oversampleLatency.load(kAlone);
  return block;
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

/// A band that joins or leaves the chain, or changes its kind or its place, starts from silence:
/// what it holds belongs elsewhere. Crossover bands keep what they hold whatever their order.
void compressor::resetChangedBands(const Block& block) noexcept {
  ChainSeen chain{block.stagePlan, 0, 0};
  forEachStage(block.stagePlan, [&chain](int stage) { chain.stages |= stageBit(stage); });
  const bool split = (chain.stages & stageBit(kCrossoverStage)) != 0;
  for (int place = 0; split && place < xoverLength(block.xoverPlan); ++place) {
    chain.listed |= bandBit(xoverBand(block.xoverPlan, place));
  }
  std::uint32_t changed = chain.listed ^ chainSeen.listed;
  if (chain.stagePlan != chainSeen.stagePlan) {
    changed |=
        (chain.stages | chainSeen.stages) & ~stagesInOrder(chainSeen.stagePlan, chain.stagePlan);
  }
  for (int band = 0; band < kBands; ++band) {
    if ((changed & bandBit(band)) != 0) resetBandState(band);
  }
  // Nor does the crossover come back with what it held when it stopped.
  if (chain.listed != 0 && chainSeen.listed == 0) crossover.reset();
  chainSeen = chain;
}

/// What did nothing in the last block comes back from silence, too.
void compressor::resetReturning(const Block& block) noexcept {
  const bool oversampling = block.oversampleLatency > 0;
  const bool channelReturns = block.channels > channelsSeen;
  const bool productReturns = oversampling && !oversampledSeen;
  channelsSeen = block.channels;
  oversampledSeen = oversampling;
  if (channelReturns) crossover.resetRight();
  const std::uint32_t inUse = chainSeen.stages | chainSeen.listed;
  for (std::size_t band = 0; band < kBands; ++band) {
    if ((inUse & bandBit(static_cast<int>(band))) == 0) continue;
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
  forEachStage(block.stagePlan, [this, &block](int stage) {
    if (stage == kCrossoverStage) {
      runCrossoverStage(block);
    } else {
      runBandStage(stage, block);
    }
  });
}

void compressor::runBandStage(int band, const Block& block) noexcept {
  const SoloBand self{band, at(band).solo.load(std::memory_order_relaxed)};
  const StageWeights weights = dynamicEqWeights(self, block.listening);
  const WorkBuffers::Pair lifted = {buffers->band[0][0], buffers->band[1][0]};
  for (int c = 0; c < block.channels; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    std::copy_n(buffers->wet[channel], block.frames, lifted[channel]);
  }
  const int filterDelay = subbands[static_cast<std::size_t>(band)].filter(
      lifted.data(), buffers->rest.data(), block.frames, block.channels);
  delaySidechain(DelayRings::kExtBefore, band, block, filterDelay);
  delayPair(buffers->wet, DelayRings::kWetBefore, band, block, filterDelay);
  delayPair(buffers->dry, DelayRings::kDryBefore, band, block, filterDelay);
  BandRun run = beginBand(band, false, 0, block);
  processBands({&run, 1}, block, 0);
  const int bandDelay = run.lookahead + block.oversampleLatency;
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
  const int length = xoverLength(block.xoverPlan);
  std::array<SoloBand, kBands> listed{};
  for (int place = 0; place < length; ++place) {
    const int band = xoverBand(block.xoverPlan, place);
    listed[static_cast<std::size_t>(place)] = {band, at(band).solo.load(std::memory_order_relaxed)};
  }
  const auto weights =
      crossoverWeights({listed.data(), static_cast<std::size_t>(length)}, block.listening);
  std::array<BandRun, kBands> bandRuns;
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
  processBands(runs, block, block.xoverMaxLookahead);
  for (int c = 0; c < block.channels; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    sumBands(buffers->band[channel], weights, runs.size(), buffers->wet[channel], block.frames);
  }
  const int bandDelay = block.xoverMaxLookahead + block.oversampleLatency;
  delaySidechain(DelayRings::kExtAfter, kOwner, block, bandDelay);
  delayPair(buffers->dry, DelayRings::kDryAfter, kOwner, block, bandDelay);
}

void compressor::splitIntoBands(std::span<const BandRun> runs, const Block& block) noexcept {
  const bool stereo = block.channels == 2;
  const double* const inputs[] = {buffers->wet[0], stereo ? buffers->wet[1] : nullptr};
  crossover.processBlock(inputs, buffers->band[0].data(), buffers->band[1].data(),
                         static_cast<int>(runs.size()), block.frames);
  // The bands as they are now, where one of them is a sidechain.
  for (const BandRun& run : runs) {
    if (run.heardPlace < 0) continue;
    for (std::size_t c = 0; c < static_cast<std::size_t>(block.channels); ++c) {
      const auto place = static_cast<std::size_t>(run.heardPlace);
      std::copy_n(buffers->band[c][place], block.frames, buffers->bandCopy[c][place]);
    }
  }
}

void compressor::delaySidechain(DelayRings::Ring ring, int owner, const Block& block,
                                int samples) noexcept {
  // Without a sidechain there is silence in the buffers and in all their rings.
  if (sidechainLeft > 0) delayPair(buffers->ext, ring, owner, block, samples);
}

void compressor::delayPair(const WorkBuffers::Pair& pair, DelayRings::Ring ring, int owner,
                           const Block& block, int samples) noexcept {
  for (int c = 0; c < block.channels; ++c) {
    delays.delayLine(pair[static_cast<std::size_t>(c)], ring + c, owner, block.frames, samples);
  }
}

template <typename Sample>
void compressor::mixOutput(Sample* const* outputs, const Block& block) noexcept {
  double* const gain = buffers->ramp;
  wetRamp.fill(gain, block.frames);
  for (int c = 0; c < block.channels; ++c) {
    double* const wet = buffers->wet[static_cast<std::size_t>(c)];
    for (int i = 0; i < block.frames; ++i) wet[i] *= gain[i];
  }
  dryRamp.fill(gain, block.frames);
  for (int c = 0; c < block.channels; ++c) {
    double* const wet = buffers->wet[static_cast<std::size_t>(c)];
    const double* const dry = buffers->dry[static_cast<std::size_t>(c)];
    for (int i = 0; i < block.frames; ++i) wet[i] += gain[i] * dry[i];
    if (Sample* const output = outputs[c]) {
      for (int i = 0; i < block.frames; ++i) output[i] = static_cast<Sample>(wet[i]);
    }
  }
}

void compressor::storeMeters(const Block& block) noexcept {
  for (int c = 0; c < WorkBuffers::kChannels; ++c) {
    meters.writeReduction(c, buffers->reduction[static_cast<std::size_t>(c)], block.frames);
  }
  for (int c = 0; c < WorkBuffers::kChannels; ++c) {
    const double* const wet = buffers->wet[static_cast<std::size_t>(c)];
    meters.writeOutput(c, c < block.channels ? wet : nullptr, block.frames);
  }
  meters.endBlock(block.frames);
}

void compressor::publishMeters(const Block& block) noexcept {
  const double decay =
      1.0 - std::pow(meterDecay.load(std::memory_order_relaxed), static_cast<double>(block.frames));
  for (int band = 0; band < kBands; ++band) {
    const double position = at(band).position.load(std::memory_order_relaxed);
    const double left = block.channels == 1 ? 1.0 : std::min(1.0, 1.0 - position);
    bandMeters[static_cast<std::size_t>(band)].endBlock({left, std::min(1.0, 1.0 + position)},
                                                        decay);
  }
}
