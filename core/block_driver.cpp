// The way of a block through the engine, and the plan of stages that it follows.

#include <algorithm>
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

constexpr std::uint32_t bandBit(int band) noexcept { return 1U << band; }

}  // namespace

void compressor::makeStagePlan() {
  BandLayout::List stages;
  BandLayout::List crossover;
  {
    const BandLayout::Scope lock(layout);
    stages = layout.pre;
    if (!layout.xover.empty()) stages.push_back(kCrossoverStage);
    stages.insert(stages.end(), layout.post.begin(), layout.post.end());
    crossover = layout.xover;
  }
  std::uint32_t plan = 0;
  for (std::size_t slot = 0; slot < stages.size(); ++slot) {
    plan |= static_cast<std::uint32_t>(stages[slot] + 2) << (4 * slot);
  }
  auto bandPlan = static_cast<std::uint32_t>(crossover.size()) << kXoverLengthShift;
  for (std::size_t place = 0; place < crossover.size(); ++place) {
    bandPlan |= static_cast<std::uint32_t>(crossover[place]) << (3 * place);
  }
  stagePlan.store(plan, std::memory_order_relaxed);
  xoverPlan.store(bandPlan, std::memory_order_relaxed);
}

template <typename Sample>
void compressor::processBlock(Sample* const* inputs, Sample* const* outputs, int frames,
                              int mainChannels, int sideChannels) {
  if (frames <= 0) return;
  const int channels = std::clamp(mainChannels, 1, WorkBuffers::kChannels);
  ensureBuffers(frames);
  scrub(inputs, channels + sideChannels, frames);
  copySidechain(inputs + channels, sideChannels, frames);

  const Block block = readSettings(frames, channels);
  takeInput(inputs, block);
  resetChangedBands(block);
  for (float* const reduction : buffers->reduction) std::fill_n(reduction, frames, 1.0F);
  runStages(block);
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
  for (int c = 0; c < usable; ++c) {
    std::copy_n(side[c], frames, buffers->ext[static_cast<std::size_t>(c)]);
  }
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
  listening.listen = listenActive.load(kAlone);
  listening.passband = !listening.listen && autolistenPassband.load(kAlone);
  block.stagePlan = stagePlan.load(kAlone);
  block.xoverPlan = xoverPlan.load(kAlone);
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
}

void compressor::resetChangedBands(const Block& block) noexcept {
  std::uint32_t mask = 0;
  forEachStage(block.stagePlan, [&mask](int stage) {
    if (stage != kCrossoverStage) mask |= bandBit(stage);
  });
  for (int place = 0; place < xoverLength(block.xoverPlan); ++place) {
    mask |= bandBit(xoverBand(block.xoverPlan, place));
  }
  for (int band = 0; band < kBands; ++band) {
    // A band that joins or leaves the chain starts from silence.
    if (((mask ^ activeMask) & bandBit(band)) != 0) resetBandState(band);
  }
  activeMask = mask;
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
  for (int c = 0; c < block.channels; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    double* const wet = buffers->wet[channel];
    double* const lifted = buffers->band[channel][0];
    double* const rest = buffers->rest[channel];
    // The band takes the whole signal with it and leaves silence beside it.
    std::copy_n(wet, block.frames, lifted);
    std::fill_n(rest, block.frames, 0.0);
    for (int i = 0; i < block.frames; ++i) {
      wet[i] = weights.rest * rest[i] + weights.band * lifted[i];
    }
  }
}

void compressor::runCrossoverStage(const Block& block) noexcept {
  const int length = xoverLength(block.xoverPlan);
  if (length == 0) return;  // the list emptied between the two words: the signal passes
  std::array<SoloBand, kBands> listed{};
  for (int place = 0; place < length; ++place) {
    const int band = xoverBand(block.xoverPlan, place);
    listed[static_cast<std::size_t>(place)] = {band, at(band).solo.load(std::memory_order_relaxed)};
  }
  const auto weights =
      crossoverWeights({listed.data(), static_cast<std::size_t>(length)}, block.listening);
  for (int c = 0; c < block.channels; ++c) {
    const auto channel = static_cast<std::size_t>(c);
    double* const wet = buffers->wet[channel];
    // The lowest band carries the whole spectrum, the ones above it silence.
    std::copy_n(wet, block.frames, buffers->band[channel][0]);
    for (std::size_t i = 1; i < static_cast<std::size_t>(length); ++i) {
      std::fill_n(buffers->band[channel][i], block.frames, 0.0);
    }
    for (std::size_t i = 0; i < static_cast<std::size_t>(length); ++i) {
      std::copy_n(buffers->band[channel][i], block.frames, buffers->bandCopy[channel][i]);
    }
    std::fill_n(wet, block.frames, 0.0);
    for (std::size_t place = 0; place < static_cast<std::size_t>(length); ++place) {
      const double* const part = buffers->band[channel][place];
      for (int i = 0; i < block.frames; ++i) wet[i] += weights[place] * part[i];
    }
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
  for (int c = 0; c < block.channels; ++c) {
    meters.writeOutput(c, buffers->wet[static_cast<std::size_t>(c)], block.frames);
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
