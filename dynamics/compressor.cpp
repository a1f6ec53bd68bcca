#include "dynamics/compressor.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <new>
#include <utility>

#include "platform/index.h"

compressor::compressor() : built(std::make_unique<SignalChain>(sampleRate)), playing(built.get()) {
  wanted.bands[0].path.active = true;
  setMeterDecay(100.0, sampleRate);
  playing->showOn(bandMeters);
  publish();
  resetEngine();
}

compressor::~compressor() = default;

void compressor::setSampleRate(double rate) noexcept {
  settleChange();
  sampleRate = rate;
  loudness.setSampleRate(rate);
  levels.setSampleRate(rate);
  built->setSampleRate(rate);
}

void compressor::resetEngine() noexcept {
  settleChange();
  played.store(false, std::memory_order_relaxed);
  published.take();
  built->take(published.active());
  built->parts.taken();
  built->reset();
  meters.reset();
  levels.reset();
  analyser.reset();
  outputPeak.reset();
}

bool compressor::isChanging() noexcept {
  if (published.taken()) built->parts.taken();
  if (former == nullptr || preparing) return false;
  if (settledChain.load(std::memory_order_acquire) != wanted.chain) return true;
  former.reset();
  return false;
}

bool compressor::startChange() {
  if (preparing) return true;
  if (isChanging() && offered.load(std::memory_order_relaxed) == nullptr) return false;
  auto fresh = std::make_unique<SignalChain>(sampleRate);
  fresh->parts.provide(wanted.plan, wanted.oversampleLatency > 0, sampleRate);
  const bool isOffered = isChanging();
  // A chain that the audio thread has not seen yet is replaced.
  if (isOffered && offered.exchange(nullptr, std::memory_order_acquire) == nullptr) return false;
  {
    const PlugBaseMutex::Scope lock(chainLock);
    std::swap(built, fresh);
  }
  if (!isOffered) {
    former = std::move(fresh);
    formerChain = wanted.chain;
    formerLatency = publishedLatency;
  }
  ++lastChain;
  wanted.chain = lastChain;
  wanted.endsChange = false;
  preparing = true;
  return true;
}

void compressor::abandonChange() noexcept {
  if (!preparing) return;
  preparing = false;
  {
    const PlugBaseMutex::Scope lock(chainLock);
    std::swap(built, former);
  }
  former.reset();
  wanted.chain = formerChain;
  try {
    built->parts.provide(wanted.plan, wanted.oversampleLatency > 0, sampleRate);
  } catch (const std::bad_alloc&) {
    wanted.plan = built->parts.plan();
    if (!built->parts.oversampling()) wanted.oversampleLatency = 0;
  }
  publish();  // what was published last may be of a chain that is gone
}

/// Ends a change while nothing processes.
void compressor::settleChange() noexcept {
  abandonChange();
  offered.store(nullptr, std::memory_order_relaxed);
  rising = built.get();
  endChange();
  former.reset();
}

void compressor::setGains(double inDb, double outDb, bool bypass, bool listen,
                          double wetDry) noexcept {
  wanted.setGains(inDb, outDb, bypass, listen, wetDry);
}

bool compressor::setMeasuring(bool on) {
  const PlugBaseMutex::Scope lock(measuringLock);
  const bool was = loudness.measuring();
  loudness.setMeasuring(on);
  return was;
}

void compressor::setBand(int band, const BandSettings& path) noexcept {
  if (isBand(band)) wantedOf(band).path = path;
}

void compressor::setDynamics(int band, const BandDynamics& d) noexcept {
  if (!isBand(band)) return;
  const DetectorSettings designed = designDetector(d, sampleRate);
  const PlugBaseMutex::Scope lock(curveLock);
  DetectorSettings& detector = wantedOf(band).detector;
  const bool expandMode = detector.expandMode;
  detector = designed;
  detector.expandMode = expandMode;
}

void compressor::setExpandMode(bool on) noexcept {
  for (EngineSettings::Band& band : wanted.bands) band.detector.expandMode = on;
}

void compressor::setSidechainRoute(int band, const SidechainRoute& route) noexcept {
  if (isBand(band)) wantedOf(band).route = route;
}

void compressor::setSidechainLinkage(int band, const SidechainLinkage& linkage) noexcept {
  if (isBand(band)) wantedOf(band).linkage = linkage;
}

void compressor::setSidechainTrim(int band, double decibels) noexcept {
  if (isBand(band)) wantedOf(band).setTrim(decibels);
}

void compressor::setSidechainFilters(int band, const SidechainFilterSettings& settings) {
  if (isBand(band)) built->filters.sidechains[at(band)].set(settings);
}

void compressor::setOversampling(Oversampling mode) {
  built->parts.provide(wanted.plan, mode != Oversampling::kOff, sampleRate);
  wanted.setOversampling(mode);
}

void compressor::configureFilters(int band, int shape, float frequency, float slope, float q,
                                  float slope2) {
  if (!isBand(band)) return;
  built->filters.subbands[at(band)].configureFilters(shape, frequency, slope, q, slope2);
}

void compressor::setSplits(const std::array<double, kNumBands>& slopes) {
  std::vector<double> centres;
  std::vector<double> listedSlopes;
  {
    const BandLayout::Scope lock(layout);
    for (const std::int32_t band : layout.xover) {
      const auto index = static_cast<std::size_t>(band);
      centres.push_back(layout.frequency[index]);
      listedSlopes.push_back(slopes[index]);
    }
  }
  built->filters.crossover.setSplits(centres, listedSlopes);
}

void compressor::rebuildKernels() {
  for (subband& filter : built->filters.subbands) filter.rebuildKernel();
  built->filters.crossover.buildKernels();
}

void compressor::makeStagePlan() {
  const StagePlan plan = StagePlan::of(layout);
  built->parts.provide(plan, wanted.oversampleLatency > 0, sampleRate);
  wanted.plan = plan;
  wanted.xoverMaxLookahead = 0;
  for (int place = 0; place < wanted.plan.xoverLength(); ++place) {
    wanted.xoverMaxLookahead = std::max(wanted.xoverMaxLookahead,
                                        wantedOf(wanted.plan.xoverBand(place)).detector.lookahead);
  }
}

bool compressor::planIsDue() { return StagePlan::of(layout) != wanted.plan; }

void compressor::publish() noexcept {
  const bool anySolo = std::ranges::any_of(
      wanted.bands, [](const auto& band) { return band.path.solo && band.path.active; });
  for (std::size_t band = 0; band < kNumBands; ++band) {
    const BandSettings& path = wanted.bands[band].path;
    const bool isIdle = path.bypass || (anySolo && !path.solo);
    shown[band].gain.store(isIdle ? 1.0 : path.gain, std::memory_order_relaxed);
    shown[band].dry.store(isIdle ? 0.0 : path.dry, std::memory_order_relaxed);
  }
  shownStages.store(wanted.plan.stages, std::memory_order_relaxed);
  publishedLatency = wanted.latency = plannedLatency();
  wanted.parts = built->parts.latest();
  const bool isNew = std::exchange(preparing, false);
  if (isNew) {
    built->take(wanted);
    for (SidechainFilters& sidechain : built->filters.sidechains) sidechain.settle();
    built->warmUp(wanted.latency + SignalChain::kMostFrames);
    built->reset();
    // Release: the audio thread may find the chain before its settings are published.
    offered.store(built.get(), std::memory_order_release);
  }
  published.spare() = wanted;
  const bool hadTaken = published.publish();
  built->parts.published(hadTaken);
  if (!isNew) return;
  built->parts.taken();  // it came with them
  former->parts.superseded(hadTaken);
}

int compressor::getLatency() {
  const bool comes =
      heardChain.load(std::memory_order_relaxed) == wanted.chain || wanted.endsChange;
  return isChanging() && !comes ? formerLatency : plannedLatency();
}

int compressor::latencyUpTo(int band) {
  // Of the plan, since the layout may be ahead of it.
  int samples = 0;
  bool isReached = false;
  wanted.plan.forEachStage([&](int stage) {
    if (isReached) return;
    samples += latencyOf(stage);
    isReached =
        stage == StagePlan::kCrossoverStage ? wanted.plan.isInCrossover(band) : stage == band;
    if (isReached) samples -= wanted.oversampleLatency;  // delays the product of signal and gain
  });
  return samples;
}

int compressor::latencyOf(int stage) {
  return wanted.oversampleLatency +
         (stage == StagePlan::kCrossoverStage
              ? wanted.xoverMaxLookahead + built->filters.crossover.latency()
              : wantedOf(stage).detector.lookahead + built->filters.subbands[at(stage)].latency());
}

double compressor::getBandResponse(int band, double frequency) {
  const BandLayout::Place place = layout.placeOf(band);
  const PlugBaseMutex::Scope lock(chainLock);
  if (place.list == kOffList) return 1.0;
  return place.list == kXoverList
             ? built->filters.crossover.bandMagnitude(place.index, frequency)
             : built->filters.subbands[static_cast<std::size_t>(band)].bandMagnitude(frequency);
}

void compressor::getBandCurve(int band, const float* frequencies, int n, float* out) {
  const BandLayout::Place place = layout.placeOf(band);
  const PlugBaseMutex::Scope lock(chainLock);
  if (place.list == kOffList) {
    std::fill_n(out, n, 1.0F);
  } else if (place.list == kXoverList) {
    built->filters.crossover.crossoverCurve(frequencies, n, out, place.index);
  } else {
    built->filters.subbands[static_cast<std::size_t>(band)].bandCurve(frequencies, n, out);
  }
}

unsigned compressor::getBandKernel(int band, unsigned known, std::vector<double>& taps) {
  const BandLayout::Place place = layout.placeOf(band);
  const PlugBaseMutex::Scope lock(chainLock);
  if (place.list == kOffList) return 0;
  return place.list == kXoverList
             ? built->filters.crossover.copyKernel(place.index, known, taps)
             : built->filters.subbands[static_cast<std::size_t>(band)].copyKernel(known, taps);
}

double compressor::getSidechainResponse(int band, int filter, double frequency) const {
  if (!isBand(band)) return 1.0;
  const PlugBaseMutex::Scope lock(chainLock);
  return built->filters.sidechains[static_cast<std::size_t>(band)].response(filter, frequency);
}

unsigned compressor::getSidechainRevision(int band) const noexcept {
  if (!isBand(band)) return 0;
  const PlugBaseMutex::Scope lock(chainLock);
  return built->filters.sidechains[static_cast<std::size_t>(band)].revision();
}

StaticCurve compressor::getStaticCurve(int band) const {
  if (!isBand(band)) return {};
  const PlugBaseMutex::Scope lock(curveLock);
  return wanted.bands[static_cast<std::size_t>(band)].detector.curve;
}

void compressor::setScListen(int band) noexcept { wanted.scListen = isBand(band) ? band : -1; }

void compressor::setAutolistenPassband(bool passband) noexcept {
  wanted.autolistenPassband = passband;
}

void compressor::setMeterBallistic(int ballistic, double rate) noexcept {
  outputPeak.setBallistic(ballistic, rate);
}

void compressor::setMeterDecay(double percent, double rate) noexcept {
  const double samples = (1.0 - percent * 0.01) * rate * 4.0;
  wanted.meterDecay = std::clamp(std::exp(-2.0 / (samples + 0.02)), 0.0, 1.0);
}

double compressor::getBandGain(int band, int parts, int channel) const noexcept {
  if (!isBand(band) || channel < 0 || channel > 1) return 0.0;
  return bandMeters[at(band)].shownGain(parts, channel);
}

double compressor::getBandEnvelope(int band) const noexcept {
  return isBand(band) ? bandMeters[at(band)].shownEnv() : 0.0;
}

double compressor::getBandLamp(int band, bool fast) const noexcept {
  return isBand(band) ? bandMeters[at(band)].lamp(fast) : 0.0;
}

double compressor::getBandGraphGain(int band) const noexcept {
  if (!isBand(band)) return 1.0;
  const auto index = static_cast<std::size_t>(band);
  return bandMeters[index].graphGain() * shown[index].gain.load(std::memory_order_relaxed) +
         shown[index].dry.load(std::memory_order_relaxed);
}

double compressor::getBandSetGain(int band) const noexcept {
  if (!isBand(band)) return 1.0;
  const ShownBand& values = shown[static_cast<std::size_t>(band)];
  return values.gain.load(std::memory_order_relaxed) + values.dry.load(std::memory_order_relaxed);
}

std::uint32_t compressor::stagePlanWord() const noexcept {
  return shownStages.load(std::memory_order_relaxed);
}
