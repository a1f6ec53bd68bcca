// How parameters reach the engine.

#include <array>
#include <cmath>
#include <cstddef>
#include <new>

#include "core/band_parameters.h"
#include "core/plug.h"

void Plug::holdUpdates() {
  const PlugBaseMutex::Scope lock(updateLock);
  ++updateSuspended;
}

void Plug::releaseUpdates() {
  const PlugBaseMutex::Scope lock(updateLock);
  if (--updateSuspended == 0) handOver(true);
}

float Plug::moveBand(int band, int list, double frequency) {
  const PlugBaseMutex::Scope lock(updateLock);
  engine.layout.moveBand(band, list, frequency);
  return static_cast<float>(engine.layout.bandOrderValue());
}

void Plug::startMeasuring() {
  const PlugBaseMutex::Scope lock(updateLock);
  engine.setMeasuring(true);
}

bool Plug::stopMeasuring() {
  const PlugBaseMutex::Scope lock(updateLock);
  const bool running = engine.measuring();
  engine.setMeasuring(false);
  return running;
}

void Plug::updateDsp(bool force) {
  const PlugBaseMutex::Scope lock(updateLock);
  if (force) gate.force();  // holds for the end of a hold, too
  if (updateSuspended == 0) handOver(false);
}

bool Plug::updatesHeld() {
  const PlugBaseMutex::Scope lock(updateLock);
  return updateSuspended > 0;
}

void Plug::updateLatency() {
  std::int32_t samples = 0;
  {
    const PlugBaseMutex::Scope lock(updateLock);
    samples = engine.getLatency();
  }
  declareLatency(samples);  // tells the host, which may call back
}

/// Where memory runs out the engine keeps what it has, whole in each of its parts, and the rest
/// comes with the next call.
void Plug::handOver(bool asOne) {
  try {
    handOverAll(asOne);
    updateMissing.store(false, relaxed);
  } catch (const std::bad_alloc&) {
    gate.owe();
    updateMissing.store(true, relaxed);
  }
}

void Plug::handOverAll(bool asOne) {
  for (int band = 0; band < kNumBands; ++band) updatePlace(band);
  // An order that breaks the chain keeps the last valid one.
  engine.layout.applyBandOrder(static_cast<double>(getPlainValue(kBandOrder)));
  updateSplits();
  // What changes as one with the chain includes the filters of a band that comes.
  if (asOne && engine.planIsDue()) gate.force();
  if (gate.opens(clock(), isOffline.load(relaxed))) redesign();
  updateGlobals();
  for (int band = 0; band < kNumBands; ++band) updateBand(band);
  engine.makeStagePlan();
  engine.publish();
}

void Plug::redesign() {
  for (int band = 0; band < kNumBands; ++band) {
    engine.setSidechainFilters(band, bandSidechainFilters(*this, band));
  }
  engine.rebuildKernels();
}

void Plug::updateSplits() {
  std::array<double, kNumBands> slopes{};
  for (int band = 0; band < kNumBands; ++band) {
    slopes[static_cast<std::size_t>(band)] =
        static_cast<double>(getPlainValue(bandParameterId(band, kB1Slope)));
  }
  engine.setSplits(slopes);
}

void Plug::updateGlobals() {
  if (!isOn(kAutoGain)) engine.setMeasuring(false);
  const auto outTrim = static_cast<double>(getPlainValue(kOpTrim));
  engine.setGains(static_cast<double>(getPlainValue(kIpTrim)), outTrim, isOn(kBypass),
                  isOn(kListen), static_cast<double>(getParameter(kWetDry)));
  updateOversampling();
  engine.setScListen(static_cast<int>(getPlainValue(kSCListen)));
  engine.setExpandMode(isOn(kLogBehaviour));
  outTrimLinear.store(std::pow(10.0, outTrim * 0.05), std::memory_order_relaxed);
}

/// Where a band sits in the chain, and the filter that lifts it out.
void Plug::updatePlace(int band) {
  const auto plain = [this, band](int row) { return getPlainValue(bandParameterId(band, row)); };
  const BandSettings settings = bandSettings(*this, band);
  {
    BandLayout& layout = engine.layout;
    const BandLayout::Scope lock(layout);
    const auto index = static_cast<std::size_t>(band);
    layout.state[index] = settings.active;
    layout.isXover[index] = settings.isXover;
    layout.frequency[index] = static_cast<double>(plain(kB1Frequency));
  }
  if (settings.active && !settings.isXover) {
    engine.configureFilters(band, static_cast<int>(plain(kB1SubType)), plain(kB1Frequency),
                            plain(kB1Slope), plain(kB1Q), plain(kB1Slope2));
  }
}

/// Behind the order of bands, which the places in the XOver list follow.
void Plug::updateBand(int band) {
  const auto plain = [this, band](int row) { return getPlainValue(bandParameterId(band, row)); };
  engine.setDynamics(band,
                     bandDynamics(*this, band, rangeMultiplier(getPlainValue(kExtendedRanges)),
                                  isOn(kExtendedRatios) ? 2.0 : 1.0));
  engine.setBand(band, bandSettings(*this, band));
  engine.setSidechainLinkage(band, plain(kB1SCLR) != 0.0F, static_cast<int>(plain(kB1SCPos)),
                             1.0 - static_cast<double>(plain(kB1SCLink)) * 0.01);
  const int heard = engine.layout.crossoverIndex(static_cast<int>(plain(kB1SCSBand)));
  engine.setSidechainRoute(band, {static_cast<int>(plain(kB1SCSrc)), heard});
}

void Plug::updateOversampling() {
  const int row = isOffline.load(relaxed) ? kOversampleOL : kOversample;
  engine.setOversampling(static_cast<Oversampling>(static_cast<int>(getPlainValue(row))));
}
