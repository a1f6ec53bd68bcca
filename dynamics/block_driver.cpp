// The path of a block through the engine.

#include <algorithm>
#include <cstddef>

#include "dynamics/compressor.h"
#include "platform/index.h"

template <typename Sample>
void compressor::processBlock(Sample* const* inputs, Sample* const* outputs, int frames,
                              int mainChannels, int sideChannels) {
  if (frames <= 0) return;
  const int channels = std::clamp(mainChannels, 1, WorkBuffers::kChannels);
  const int side = std::clamp(sideChannels, 0, WorkBuffers::kChannels);
  scrub(inputs, channels + side, frames);
  beginBlock();
  played.store(true, std::memory_order_relaxed);
  analyser.beginBlock();
  const SignalChain::HostPart part = nextPart(frames);
  for (SignalChain* const chain : {playing, rising}) {
    if (chain != nullptr) chain->beginBlock(part, channels, rules);
  }
  for (int done = 0; done < frames;) {
    const int most = std::min(frames - done, playing->mostFrames());
    Slice<Sample> slice{{}, {}, most, channels, side, done, frames};
    if (rising != nullptr) slice.frames = std::min({most, rising->mostFrames(), fade.left()});
    const auto from = [done](Sample* signal) { return signal == nullptr ? signal : signal + done; };
    for (int c = 0; c < channels + side; ++c) slice.inputs[at(c)] = from(inputs[c]);
    for (int c = 0; c < channels; ++c) slice.outputs[at(c)] = from(outputs[c]);
    runSlice(slice);
    done += slice.frames;
  }
  publishMeters(channels, frames);
  for (SignalChain* const chain : {playing, rising}) {
    if (chain != nullptr) chain->endBlock();
  }
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

SignalChain::HostPart compressor::nextPart(int frames) noexcept {
  const SignalChain::HostPart part =
      hostPart.left < frames ? SignalChain::HostPart{frames} : hostPart;
  hostPart = {part.left - frames, true};
  return part;
}

void compressor::beginBlock() noexcept {
  const LiveValues::Replaced replaced = takeSettings();
  const auto mustEnd = [this] {
    return !realtime || playing->isSilent() || rising->now().endsChange;
  };
  if (rising != nullptr && mustEnd()) endChange();
  SignalChain& latest = rising != nullptr ? *rising : *playing;
  if (live != nullptr) live->takeLive(latest, replaced);
}

LiveValues::Replaced compressor::takeSettings() noexcept {
  if (!published.waiting()) return {};
  published.take();
  const EngineSettings& newest = published.active();
  SignalChain* const latest = rising != nullptr ? rising : playing;
  if (newest.chain == latest->number()) {
    return {true, latest->take(newest)};
  }
  // None, if the control side has meanwhile replaced it: then other settings follow.
  SignalChain* const next = offered.exchange(nullptr, std::memory_order_acquire);
  if (next == nullptr) return {};
  rising = next;
  // They may be newer than what the chain was offered with, or those of a chain that it has
  // replaced at this moment.
  if (newest.chain == rising->number()) rising->take(newest);
  fade.start(sampleRate, rising->now().latency);
  return {true, ~std::uint32_t{0}};
}

/// The chain that meters show.
const SignalChain& compressor::heard() const noexcept {
  return rising != nullptr && fade.phase() == ChainFade::Phase::kFade ? *rising : *playing;
}

template <typename Sample>
void compressor::runSlice(const Slice<Sample>& slice) noexcept {
  const auto [inputs, outputs, frames, channels, side, before, whole] = slice;
  const SignalChain& source = heard();
  for (SignalChain* const chain : {playing, rising}) {
    if (chain != nullptr) chain->begin(inputs.data(), frames, channels, side, before, whole);
  }
  for (int c = 0; c < WorkBuffers::kChannels; ++c) {
    meters.writeInput(c, c < channels ? source.work().wet[at(c)] : nullptr, frames);
  }
  for (SignalChain* const chain : {playing, rising}) {
    if (chain != nullptr) chain->runStages();
  }
  storeMeters(source.work(), channels, frames);
  for (SignalChain* const chain : {playing, rising}) {
    if (chain != nullptr) chain->mix();
  }
  const WorkBuffers::Pair& wet = playing->work().wet;
  const bool hasPhaseEnded =
      rising != nullptr && fade.mix(wet, rising->work().wet, channels, frames);
  for (int c = 0; c < channels; ++c) {
    Sample* const output = outputs[at(c)];
    if (output == nullptr) continue;
    for (int i = 0; i < frames; ++i) output[i] = static_cast<Sample>(wet[at(c)][i]);
  }
  feedEditor(slice, source);
  // Last, since at its end the control side may free the older chain.
  if (hasPhaseEnded) moveChange();
}

/// A phase of the fade has ended.
void compressor::moveChange() noexcept {
  using Phase = ChainFade::Phase;
  // What the newer chain has heard so far began in silence.
  if (fade.phase() == Phase::kCompare) rising->adoptLevels(*playing);
  if (fade.phase() == Phase::kFade) {
    rising->showOn(bandMeters);
    playing->showOnNothing();
    heardChain.store(rising->number(), std::memory_order_relaxed);
  }
  if (fade.phase() == Phase::kDone) endChange();
}

void compressor::endChange() noexcept {
  if (playing != rising) playing->endBlock();
  playing = rising;
  rising = nullptr;
  playing->showOn(bandMeters);
  heardChain.store(playing->number(), std::memory_order_relaxed);
  // Release: the control side frees the other chain.
  settledChain.store(playing->number(), std::memory_order_release);
}

void compressor::storeMeters(const WorkBuffers& work, int channels, int frames) noexcept {
  for (int c = 0; c < WorkBuffers::kChannels; ++c) {
    meters.writeReduction(c, work.reduction[at(c)], frames);
  }
  for (int c = 0; c < WorkBuffers::kChannels; ++c) {
    meters.writeOutput(c, c < channels ? work.wet[at(c)] : nullptr, frames);
  }
  meters.endBlock();
  loudness.measure(work.dry[0], work.dry[1], true, frames, channels);
  loudness.measure(work.wet[0], work.wet[1], false, frames, channels);
}

template <typename Sample>
void compressor::feedEditor(const Slice<Sample>& slice, const SignalChain& chain) noexcept {
  for (int c = 0; c < slice.channels; ++c) {
    const auto dryTrace = static_cast<AnalyserFeed::Trace>(AnalyserFeed::kDryLeft + c);
    analyser.write(dryTrace, chain.work().dry[at(c)], slice.frames, chain.now().analyserGain);
    const Sample* const output = slice.outputs[at(c)];
    if (output == nullptr) continue;
    analyser.write(static_cast<AnalyserFeed::Trace>(c), output, slice.frames, 1.0);
  }
  analyser.endBlock(slice.frames);
  outputPeak.follow(slice.outputs.data(), slice.channels, slice.frames);
  levels.write(slice.outputs.data(), slice.channels, slice.frames);
}

void compressor::publishMeters(int channels, int frames) noexcept {
  const EngineSettings& now = heard().now();
  const double decay = 1.0 - meterDecay.over(now.meterDecay, frames);
  for (int band = 0; band < kNumBands; ++band) {
    const double position = now.bands[at(band)].path.position;
    const double left = channels == 1 ? 1.0 : std::min(1.0, 1.0 - position);
    bandMeters[at(band)].endBlock({left, std::min(1.0, 1.0 + position)}, decay);
  }
}
