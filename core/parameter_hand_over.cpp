#include "core/parameter_hand_over.h"

#include <cstddef>
#include <new>
#include <utility>

#include "core/band_parameters.h"
#include "core/value_text.h"
#include "platform/index.h"

namespace {

constexpr std::int64_t kStoppedMs = 1000;

// Work that may be due for a band.
enum : std::uint32_t {
  kPlace = 1,     // where it sits in the chain
  kFilter = 2,    // the filter of a dynamic EQ band
  kDynamics = 4,  // its detectors
  kPath = 8,      // gains, listening, position
  kLinkage = 16,  // how its sidechain's channels are linked
  kRoute = 32,    // where its sidechain comes from
  kTrim = 64,     // of its sidechain
  kAllOfBand = 127,
  kLive = kDynamics | kPath | kLinkage | kTrim,
};

// Work that may be due for the whole chain.
enum : std::uint32_t {
  kOrder = 1,  // of the bands in the chain
  kSplits = 2,
  kGlobals = 4,
  kPlan = 8,  // the sequence of stages that a block runs through
  kAllOfWhole = 15,
};

/// The work that a change of a band's row makes due.
constexpr std::uint32_t dependsOnRow(int row) noexcept {
  switch (row) {
    case kB1State:
      return kPlace | kFilter | kPath;
    case kB1Type:
    case kB1Frequency:
      return kPlace | kFilter;
    case kB1SubType:
    case kB1Slope:
    case kB1Slope2:
    case kB1Q:
      return kFilter;
    case kB1Bypass:
    case kB1Solo:
    case kB1LR:
    case kB1Position:
    case kB1Gain:
    case kB1DryGain:
      return kPath;
    case kB1SCSrc:
    case kB1SCSBand:
      return kRoute;
    case kB1SCLR:
    case kB1SCPos:
    case kB1SCLink:
      return kLinkage;
    case kB1SCTrim:
      return kTrim;
    default:
      // `redesign` sets the sidechain's filters, whenever the gate opens.
      return row < kB1SCSrc ? std::uint32_t{kDynamics} : 0U;
  }
}

constexpr std::uint32_t dependsOnGlobal(int id) noexcept {
  return id == kBandOrder ? kOrder : kGlobals;
}

}  // namespace

bool isLiveParameter(int id) noexcept {
  if (isBandParameter(id)) {
    const int row = bandOneIdOf(id);
    const std::uint32_t work = dependsOnRow(row);
    return row != kB1LR && row != kB1Lookahead && work != 0 && (work & ~kLive) == 0;
  }
  switch (id) {
    case kIpTrim:
    case kOpTrim:
    case kBypass:
    case kWetDry:
    case kListen:
    case kExtendedRanges:
    case kExtendedRatios:
      return true;
    default:
      return false;
  }
}

ParameterHandOver::ParameterHandOver(const ParameterStore& store, compressor& driven,
                                     const HostPace& hostPace, Clock whatTime,
                                     const ChainMarks& chainMarks)
    : values(store), engine(driven), pace(hostPace), clock(std::move(whatTime)), marks(chainMarks) {
  everythingChanged();
}

void ParameterHandOver::parameterChanged(std::int32_t index) noexcept {
  // Release: a thread that takes the mark also sees the value.
  if (isBandParameter(index)) {
    const int row = bandOneIdOf(index);
    const std::uint32_t work = dependsOnRow(row);
    changedBands[at(bandOf(index))].fetch_or(work, std::memory_order_release);
    const std::uint32_t live = work & kLive;
    if (live != 0) liveBands[at(bandOf(index))].fetch_or(live, std::memory_order_release);
    if (row == kB1State || row == kB1Type || row == kB1SubType) marks.kinds = true;
    if (row == kB1Slope) changedWhole.fetch_or(kSplits, std::memory_order_release);
    if (row == kB1Lookahead) changedWhole.fetch_or(kPlan, std::memory_order_release);
    return;
  }
  changedWhole.fetch_or(dependsOnGlobal(index), std::memory_order_release);
  if (index != kBandOrder) liveGains.store(true, std::memory_order_release);
  if (index != kExtendedRanges && index != kExtendedRatios) return;
  for (auto* const bands : {&changedBands, &liveBands}) {
    for (auto& band : *bands) band.fetch_or(kDynamics, std::memory_order_release);
  }
}

void ParameterHandOver::everythingChanged() noexcept {
  for (auto& band : changedBands) band.fetch_or(kAllOfBand, std::memory_order_release);
  changedWhole.fetch_or(kAllOfWhole, std::memory_order_release);
}

void ParameterHandOver::everythingReplaced() noexcept {
  replaced.store(true, std::memory_order_release);
}

void ParameterHandOver::collect() noexcept {
  if (replaced.load(std::memory_order_relaxed)) {
    setFrozen(true);  // before the mark goes
    // Acquire: a switch that has ended has made due what it replaced.
    replaced.exchange(false, std::memory_order_acq_rel);
    due.replaced = true;
  }
  for (std::size_t band = 0; band < kNumBands; ++band) {
    if (changedBands[band].load(std::memory_order_relaxed) == 0) continue;
    due.bands[band] |= changedBands[band].exchange(0, std::memory_order_acquire);
  }
  if (changedWhole.load(std::memory_order_relaxed) != 0)
    due.whole |= changedWhole.exchange(0, std::memory_order_acquire);
  // Of a switch that has begun meanwhile some may be due; the mark stays for the rest.
  if (replaced.load(std::memory_order_relaxed)) due.replaced = true;
}

void ParameterHandOver::update(bool force) {
  const PlugBaseMutex::Scope scope(lock);
  if (force) gate.force();  // also under a hold, for the update at its end
  if (holds == 0) handOver(false);
}

/// While frozen, the audio thread takes no values: they belong to a chain to come.
void ParameterHandOver::setFrozen(bool on) noexcept {
  if (on == frozen) return;
  frozen = on;
  freezes.fetch_add(1, std::memory_order_acq_rel);
}

void ParameterHandOver::hold() {
  const PlugBaseMutex::Scope scope(lock);
  ++holds;
  setFrozen(true);
}

void ParameterHandOver::release() {
  const PlugBaseMutex::Scope scope(lock);
  if (--holds == 0) handOver(true);
}

bool ParameterHandOver::isHeld() {
  const PlugBaseMutex::Scope scope(lock);
  return holds > 0;
}

float ParameterHandOver::moveBand(int band, int list, double frequency) {
  const PlugBaseMutex::Scope scope(lock);
  // The parameters follow. Should they not, the next update puts the band back.
  due.bands[at(band)] |= kPlace;
  marks.order = true;
  due.whole |= kOrder;
  engine.layout.moveBand(band, list, frequency);
  return static_cast<float>(engine.layout.bandOrderValue());
}

void ParameterHandOver::handOver(bool asOne) {
  collect();
  try {
    handOverDue(asOne);
    missing.store(false, std::memory_order_relaxed);
  } catch (const std::bad_alloc&) {
    engine.abandonChange();
    everythingChanged();  // what a chain that was given up had got
    gate.owe();
    missing.store(true, std::memory_order_relaxed);
  }
  setFrozen(holds > 0 || due.replaced || waiting.load(std::memory_order_relaxed));
}

template <typename Run>
void ParameterHandOver::forDueBands(std::uint32_t what, const Run& run) {
  for (int band = 0; band < kNumBands; ++band) {
    std::uint32_t& bandDue = due.bands[at(band)];
    if ((bandDue & what) == 0) continue;
    run(band);
    bandDue &= ~what;  // stays due if `run` throws
  }
}

template <typename Run>
void ParameterHandOver::ifDue(std::uint32_t what, const Run& run) {
  if ((due.whole & what) == 0) return;
  run();
  due.whole &= ~what;
}

void ParameterHandOver::handOverDue(bool asOne) {
  // With every update: an edit may have started a measurement that is no longer wanted.
  if (engine.measuring() && !isOn(kAutoGain)) engine.setMeasuring(false);
  forDueBands(kPlace, [this](int band) {
    updatePlace(band);
    due.whole |= kOrder;
  });
  ifDue(kOrder, [this] { arrange(); });
  waiting.store(false, std::memory_order_relaxed);
  if (changesChain() && !startChange()) {
    if (!hasStopped()) {
      waiting.store(true, std::memory_order_relaxed);
      return;
    }
    engine.endChangeAtOnce();
    gate.force();
  }
  forDueBands(kFilter, [this](int band) { updateFilter(band); });
  ifDue(kSplits, [this] { updateSplits(); });
  // When the chain changes under a hold, the filters of a new band must come with it.
  if (asOne && (due.whole & kPlan) != 0 && engine.planIsDue()) gate.force();
  const bool opens = gate.opens(clock(), pace.isOffline.load(std::memory_order_relaxed));
  if (opens) redesign();
  // With the filters, but never later than on the audio thread.
  if (opens || playsLive()) {
    forDueBands(kTrim, [this](int band) { engine.setSidechainTrim(band, trimOf(band)); });
  }
  ifDue(kGlobals, [this] { updateGlobals(); });
  forDueBands(kDynamics, [this](int band) { engine.setDynamics(band, dynamicsOf(band)); });
  forDueBands(kPath, [this](int band) { engine.setBand(band, bandSettings(values, band)); });
  forDueBands(kLinkage, [this](int band) { engine.setSidechainLinkage(band, linkageOf(band)); });
  forDueBands(kRoute, [this](int band) { updateRoute(band); });
  ifDue(kPlan, [this] { engine.makeStagePlan(); });
  engine.publish();
  due.replaced = false;
}

/// Whether what is due makes a new chain.
bool ParameterHandOver::changesChain() {
  const bool isFaded = seamless.load(std::memory_order_relaxed) && engine.hasPlayed() &&
                       pace.isRealtime.load(std::memory_order_relaxed);
  if (!isFaded) return false;
  if (due.replaced || changesStages()) return true;
  for (int band = 0; band < kNumBands; ++band) {
    if (isOn(bandParameterId(band, kB1State)) && changesBand(band)) return true;
  }
  return false;
}

bool ParameterHandOver::changesStages() {
  if ((due.whole & kPlan) != 0 && engine.planIsDue()) return true;
  if ((due.whole & kGlobals) == 0) return false;
  const EngineSettings& now = engine.getSettings();
  EngineSettings wanted;
  wanted.highQuality = now.highQuality;
  wanted.setOversampling(oversampling());
  return wanted.oversampleLatency != now.oversampleLatency || wanted.highQuality != now.highQuality;
}

/// Whether what is due of a band changes its latency, or what it cannot glide to.
bool ParameterHandOver::changesBand(int band) {
  const auto row = [this, band](int id) { return plain(bandParameterId(band, id)); };
  const EngineSettings::Band& now = engine.getSettings().bands[at(band)];
  const std::uint32_t what = due.bands[at(band)];
  if ((what & kDynamics) != 0 && engine.lookaheadOf(row(kB1Lookahead)) != now.detector.lookahead) {
    return true;
  }
  if ((what & kPath) != 0 && (row(kB1LR) != 0.0F) != now.path.leftRight) return true;
  if ((what & kFilter) == 0 || row(kB1Type) == 0.0F) return false;
  return static_cast<int>(row(kB1SubType)) != shapes[at(band)];
}

/// Makes a new chain, for which everything is due that a chain has of its own. False if an earlier
/// change is still under way.
bool ParameterHandOver::startChange() {
  if (!engine.startChange()) return false;
  for (std::uint32_t& band : due.bands) band |= kFilter;
  due.whole |= kSplits | kPlan;
  gate.force();
  return true;
}

/// Whether the host has given no samples for longer than any block lasts. Then nobody hears a
/// change, and one that is under way may never end.
bool ParameterHandOver::hasStopped() {
  const std::int64_t now = clock();
  if (hasRun.exchange(false, std::memory_order_relaxed)) lastRun = now;
  return now - lastRun >= kStoppedMs;
}

int ParameterHandOver::getLatency() {
  const PlugBaseMutex::Scope scope(lock);
  // A change that is under way ends with the next block that is not in real time.
  return pace.isRealtime.load(std::memory_order_relaxed) ? engine.getLatency()
                                                         : engine.plannedLatency();
}

void ParameterHandOver::takeLive(SignalChain& chain, const Replaced& published) noexcept {
  if (published.any) markReplaced(published.bands);
  if (!playsLive()) return;
  const unsigned before = freezes.load(std::memory_order_acquire);
  if (before % 2 != 0 || replaced.load(std::memory_order_acquire)) return;
  if (liveGains.load(std::memory_order_relaxed)) takeLiveGains(chain, before);
  for (int band = 0; band < kNumBands; ++band) {
    if (liveBands[at(band)].load(std::memory_order_relaxed) != 0) takeLiveBand(band, chain, before);
  }
}

/// Lets the audio thread set once more what published values have replaced.
void ParameterHandOver::markReplaced(std::uint32_t bands) noexcept {
  for (int band = 0; band < kNumBands; ++band) {
    if ((bands & stageBit(band)) == 0) continue;
    liveBands[at(band)].fetch_or(kLive, std::memory_order_relaxed);
  }
  liveGains.store(true, std::memory_order_relaxed);
}

/// Whether values read since `freezes` was `before` may be those of a chain to come.
bool ParameterHandOver::hasFrozenSince(unsigned before) noexcept {
  // An exchange, so that the values are read before it.
  return freezes.fetch_add(0, std::memory_order_acq_rel) != before ||
         replaced.load(std::memory_order_acquire);
}

void ParameterHandOver::takeLiveGains(SignalChain& chain, unsigned before) noexcept {
  liveGains.exchange(false, std::memory_order_acquire);
  EngineSettings fresh;
  setGains(fresh);
  if (hasFrozenSince(before)) {
    liveGains.store(true, std::memory_order_relaxed);
    return;
  }
  chain.live().gains = fresh.gains;
  chain.live().analyserGain = fresh.analyserGain;
}

void ParameterHandOver::takeLiveBand(int band, SignalChain& chain, unsigned before) noexcept {
  const std::uint32_t what = liveBands[at(band)].exchange(0, std::memory_order_acquire);
  EngineSettings::Band& present = chain.live().bands[at(band)];
  EngineSettings::Band fresh = present;
  readLive(band, what, chain.getSampleRate(), fresh);
  if (hasFrozenSince(before)) {
    liveBands[at(band)].fetch_or(what, std::memory_order_relaxed);
    return;
  }
  present = fresh;
}

/// Sets `fresh` to the present values of a band, but for those that change the chain.
void ParameterHandOver::readLive(int band, std::uint32_t what, double rate,
                                 EngineSettings::Band& fresh) const noexcept {
  if ((what & kPath) != 0) {
    BandSettings path = bandSettings(values, band);
    path.active = fresh.path.active;
    path.leftRight = fresh.path.leftRight;
    fresh.path = path;
  }
  if ((what & kDynamics) != 0) {
    DetectorSettings detector = designDetector(dynamicsOf(band), rate);
    detector.lookahead = fresh.detector.lookahead;
    detector.expandMode = fresh.detector.expandMode;
    fresh.detector = detector;
  }
  if ((what & kLinkage) != 0) fresh.linkage = linkageOf(band);
  if ((what & kTrim) != 0) fresh.setTrim(trimOf(band));
}

/// Sets a band's place in the chain.
void ParameterHandOver::updatePlace(int band) {
  BandLayout& layout = engine.layout;
  const BandLayout::Scope scope(layout);
  const auto index = static_cast<std::size_t>(band);
  layout.state[index] = isOn(bandParameterId(band, kB1State));
  layout.isXover[index] = !isOn(bandParameterId(band, kB1Type));
  layout.frequency[index] = static_cast<double>(plain(bandParameterId(band, kB1Frequency)));
}

/// Sets the filter of a dynamic EQ band; other bands have none.
void ParameterHandOver::updateFilter(int band) {
  const auto row = [this, band](int id) { return plain(bandParameterId(band, id)); };
  if (row(kB1State) == 0.0F || row(kB1Type) == 0.0F) return;
  const int shape = static_cast<int>(row(kB1SubType));
  engine.configureFilters(band, shape, row(kB1Frequency), row(kB1Slope), row(kB1Q), row(kB1Slope2));
  shapes[at(band)] = shape;
}

/// Applies the order of the bands.
void ParameterHandOver::arrange() {
  // An order that is no valid chain is ignored: the last valid one stays.
  const unsigned before = engine.layout.revision();
  engine.layout.applyBandOrder(static_cast<double>(plain(kBandOrder)));
  if (engine.layout.revision() != before) marks.order = true;
  due.whole |= kSplits | kPlan;
  for (std::uint32_t& band : due.bands) band |= kRoute;
}

void ParameterHandOver::updateSplits() {
  std::array<double, kNumBands> slopes{};
  for (int band = 0; band < kNumBands; ++band) {
    slopes[at(band)] = static_cast<double>(plain(bandParameterId(band, kB1Slope)));
  }
  engine.setSplits(slopes);
}

void ParameterHandOver::redesign() {
  // For all bands: a filter that is switched off starts anew each time.
  for (int band = 0; band < kNumBands; ++band) {
    engine.setSidechainFilters(band, bandSidechainFilters(values, band));
  }
  engine.rebuildKernels();
}

void ParameterHandOver::updateGlobals() {
  setGains(engine);
  engine.setOversampling(oversampling());
  engine.setScListen(static_cast<int>(plain(kSCListen)));
  engine.setExpandMode(isOn(kLogBehaviour));
}

/// Sets the gains around the chain of an engine or of its settings.
template <typename Target>
void ParameterHandOver::setGains(Target& target) const noexcept {
  target.setGains(static_cast<double>(plain(kIpTrim)), static_cast<double>(plain(kOpTrim)),
                  isOn(kBypass), isOn(kListen), static_cast<double>(values.normalised(kWetDry)));
}

Oversampling ParameterHandOver::oversampling() const noexcept {
  const int row = pace.isOffline.load(std::memory_order_relaxed) ? kOversampleOL : kOversample;
  return static_cast<Oversampling>(static_cast<int>(plain(row)));
}

BandDynamics ParameterHandOver::dynamicsOf(int band) const noexcept {
  return bandDynamics(values, band, rangeMultiplier(plain(kExtendedRanges)),
                      isOn(kExtendedRatios) ? 2.0 : 1.0);
}

SidechainLinkage ParameterHandOver::linkageOf(int band) const noexcept {
  const auto row = [this, band](int id) { return plain(bandParameterId(band, id)); };
  SidechainLinkage linkage;
  linkage.setPosition(row(kB1SCLR) != 0.0F, static_cast<int>(row(kB1SCPos)));
  linkage.unlink = 1.0 - static_cast<double>(row(kB1SCLink)) * 0.01;
  return linkage;
}

void ParameterHandOver::updateRoute(int band) {
  const auto row = [this, band](int id) {
    return static_cast<int>(plain(bandParameterId(band, id)));
  };
  engine.setSidechainRoute(band, {row(kB1SCSrc), engine.layout.crossoverIndex(row(kB1SCSBand))});
}
