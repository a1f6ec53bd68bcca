// How parameters reach the engine.

#include <array>
#include <cmath>
#include <cstddef>

#include "core/plug.h"

Plug::UpdateHold::UpdateHold(Plug& plug) : held(plug) {
  const PlugBaseMutex::Scope lock(held.updateLock);
  ++held.updateSuspended;
}

Plug::UpdateHold::~UpdateHold() {
  const PlugBaseMutex::Scope lock(held.updateLock);
  if (--held.updateSuspended == 0) held.handOver();
}

float Plug::moveBand(int band, int list, double frequency) {
  const PlugBaseMutex::Scope lock(updateLock);
  engine.layout.moveBand(band, list, frequency);
  engine.makeStagePlan();
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
  if (updateSuspended == 0) handOver();
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

void Plug::handOver() {
  updateGlobals();
  for (int band = 0; band < kNumBands; ++band) updateBand(band);
  // An order that breaks the chain keeps the last valid one.
  engine.layout.applyBandOrder(static_cast<double>(getPlainValue(kBandOrder)));
  engine.makeStagePlan();
  updateSplits();
  if (gate.opens(clock(), isOffline.load(relaxed))) redesign();
}

void Plug::redesign() { engine.rebuildKernels(); }

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
  engine.setScListen(static_cast<int>(getPlainValue(kSCListen)));
  outTrimLinear.store(std::pow(10.0, outTrim * 0.05), std::memory_order_relaxed);
}

void Plug::updateBand(int band) {
  const auto plain = [this, band](int row) {
    return static_cast<double>(getPlainValue(bandParameterId(band, row)));
  };
  const auto on = [this, band](int row) { return isOn(bandParameterId(band, row)); };
  BandSettings settings;
  settings.active = on(kB1State);
  settings.solo = on(kB1Solo);
  settings.bypass = on(kB1Bypass);
  settings.position = std::trunc(plain(kB1Position)) * 0.02 - 1.0;
  settings.gain = std::pow(10.0, plain(kB1Gain) * 0.05);
  settings.dry = plain(kB1DryGain) * 0.01;
  settings.lookaheadMs = getPlainValue(bandParameterId(band, kB1Lookahead));
  engine.setBand(band, settings);
  const bool dynamicEq = on(kB1Type);

  {
    BandLayout& layout = engine.layout;
    const BandLayout::Scope lock(layout);
    const auto index = static_cast<std::size_t>(band);
    layout.state[index] = settings.active;
    layout.isXover[index] = !dynamicEq;
    layout.frequency[index] = plain(kB1Frequency);
  }
  if (settings.active && dynamicEq) configureFilters(band);
}

void Plug::configureFilters(int band) {
  const auto plain = [this, band](int row) { return getPlainValue(bandParameterId(band, row)); };
  engine.configureFilters(band, static_cast<int>(plain(kB1SubType)), plain(kB1Frequency),
                          plain(kB1Slope), plain(kB1Q), plain(kB1Slope2));
}
