#include "core/parameter_hand_over.h"

#include <cstddef>
#include <new>
#include <utility>

#include "core/band_parameters.h"
#include "core/value_text.h"
#include "platform/index.h"

namespace {

// Work that may be due for a band.
enum : std::uint32_t {
  kPlace = 1,     // where it sits in the chain
  kFilter = 2,    // the filter of a dynamic EQ band
  kDynamics = 4,  // its detectors
  kPath = 8,      // gains, listening, position
  kLinkage = 16,  // how its sidechain's channels are linked
  kRoute = 32,    // where its sidechain comes from
  kAllOfBand = 63,
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
    default:
      // `redesign` sets the sidechain's filters, whenever the gate opens.
      return row < kB1SCSrc ? std::uint32_t{kDynamics} : 0U;
  }
}

constexpr std::uint32_t dependsOnGlobal(int id) noexcept {
  return id == kBandOrder ? kOrder : kGlobals;
}

}  // namespace

ParameterHandOver::ParameterHandOver(const ParameterStore& store, compressor& driven,
                                     const std::atomic<bool>& offline, Clock whatTime,
                                     const ChainMarks& chainMarks)
    : values(store),
      engine(driven),
      isOffline(offline),
      clock(std::move(whatTime)),
      marks(chainMarks) {
  everythingChanged();
}

void ParameterHandOver::parameterChanged(std::int32_t index) noexcept {
  // Release: a thread that takes the mark also sees the value.
  if (isBandParameter(index)) {
    const int row = bandOneIdOf(index);
    changedBands[at(bandOf(index))].fetch_or(dependsOnRow(row), std::memory_order_release);
    if (row == kB1State || row == kB1Type || row == kB1SubType) marks.kinds = true;
    if (row == kB1Slope) changedWhole.fetch_or(kSplits, std::memory_order_release);
    if (row == kB1Lookahead) changedWhole.fetch_or(kPlan, std::memory_order_release);
    return;
  }
  changedWhole.fetch_or(dependsOnGlobal(index), std::memory_order_release);
  if (index != kExtendedRanges && index != kExtendedRatios) return;
  for (auto& band : changedBands) band.fetch_or(kDynamics, std::memory_order_release);
}

void ParameterHandOver::everythingChanged() noexcept {
  for (auto& band : changedBands) band.fetch_or(kAllOfBand, std::memory_order_release);
  changedWhole.fetch_or(kAllOfWhole, std::memory_order_release);
}

void ParameterHandOver::collect() noexcept {
  for (std::size_t band = 0; band < kNumBands; ++band) {
    if (changedBands[band].load(std::memory_order_relaxed) == 0) continue;
    due.bands[band] |= changedBands[band].exchange(0, std::memory_order_acquire);
  }
  if (changedWhole.load(std::memory_order_relaxed) != 0)
    due.whole |= changedWhole.exchange(0, std::memory_order_acquire);
}

void ParameterHandOver::update(bool force) {
  const PlugBaseMutex::Scope scope(lock);
  if (force) gate.force();  // also under a hold, for the update at its end
  if (holds == 0) handOver(false);
}

void ParameterHandOver::hold() {
  const PlugBaseMutex::Scope scope(lock);
  ++holds;
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
    gate.owe();
    missing.store(true, std::memory_order_relaxed);
  }
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
  forDueBands(kFilter, [this](int band) { updateFilter(band); });
  ifDue(kOrder, [this] { arrange(); });
  ifDue(kSplits, [this] { updateSplits(); });
  // When the chain changes under a hold, the filters of a new band must come with it.
  if (asOne && (due.whole & kPlan) != 0 && engine.planIsDue()) gate.force();
  if (gate.opens(clock(), isOffline.load(std::memory_order_relaxed))) redesign();
  ifDue(kGlobals, [this] { updateGlobals(); });
  forDueBands(kDynamics, [this](int band) { updateDynamics(band); });
  forDueBands(kPath, [this](int band) { engine.setBand(band, bandSettings(values, band)); });
  forDueBands(kLinkage, [this](int band) { updateLinkage(band); });
  forDueBands(kRoute, [this](int band) { updateRoute(band); });
  ifDue(kPlan, [this] { engine.makeStagePlan(); });
  engine.publish();
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
  engine.configureFilters(band, static_cast<int>(row(kB1SubType)), row(kB1Frequency), row(kB1Slope),
                          row(kB1Q), row(kB1Slope2));
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
  engine.setGains(static_cast<double>(plain(kIpTrim)), static_cast<double>(plain(kOpTrim)),
                  isOn(kBypass), isOn(kListen), static_cast<double>(values.normalised(kWetDry)));
  const int row = isOffline.load(std::memory_order_relaxed) ? kOversampleOL : kOversample;
  engine.setOversampling(static_cast<Oversampling>(static_cast<int>(plain(row))));
  engine.setScListen(static_cast<int>(plain(kSCListen)));
  engine.setExpandMode(isOn(kLogBehaviour));
}

void ParameterHandOver::updateDynamics(int band) {
  engine.setDynamics(band, bandDynamics(values, band, rangeMultiplier(plain(kExtendedRanges)),
                                        isOn(kExtendedRatios) ? 2.0 : 1.0));
}

void ParameterHandOver::updateLinkage(int band) {
  const auto row = [this, band](int id) { return plain(bandParameterId(band, id)); };
  engine.setSidechainLinkage(band, row(kB1SCLR) != 0.0F, static_cast<int>(row(kB1SCPos)),
                             1.0 - static_cast<double>(row(kB1SCLink)) * 0.01);
}

void ParameterHandOver::updateRoute(int band) {
  const auto row = [this, band](int id) {
    return static_cast<int>(plain(bandParameterId(band, id)));
  };
  engine.setSidechainRoute(band, {row(kB1SCSrc), engine.layout.crossoverIndex(row(kB1SCSBand))});
}
