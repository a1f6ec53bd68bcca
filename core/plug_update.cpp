// How parameters reach the engine.

#include <cmath>
#include <cstddef>

#include "core/plug.h"

Plug::UpdateHold::UpdateHold(Plug& plug) : held(plug) {
  held.updateSuspended.fetch_add(1, std::memory_order_relaxed);
}

Plug::UpdateHold::~UpdateHold() {
  if (held.updateSuspended.fetch_sub(1, std::memory_order_relaxed) == 1) held.updateDsp(false);
}

void Plug::setMeasuring(bool on) {
  const PlugBaseMutex::Scope lock(updateLock);
  engine.setMeasuring(on);
}

void Plug::updateDsp(bool /*force*/) {
  if (updateSuspended.load(std::memory_order_relaxed) > 0) return;
  const PlugBaseMutex::Scope lock(updateLock);
  updateGlobals();
  for (int band = 0; band < kNumBands; ++band) updateBand(band);
  // An order that breaks the chain keeps the last valid one.
  engine.layout.applyBandOrder(static_cast<double>(getPlainValue(kBandOrder)));
  engine.makeStagePlan();
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
  settings.isXover = !on(kB1Type);
  settings.solo = on(kB1Solo);
  settings.bypass = on(kB1Bypass);
  settings.leftRight = on(kB1LR);
  settings.position = std::trunc(plain(kB1Position)) * 0.02 - 1.0;
  settings.gain = std::pow(10.0, plain(kB1Gain) * 0.05);
  settings.dry = plain(kB1DryGain) * 0.01;
  engine.setBand(band, settings);

  BandLayout& layout = engine.layout;
  const BandLayout::Scope lock(layout);
  const auto index = static_cast<std::size_t>(band);
  layout.state[index] = settings.active;
  layout.isXover[index] = settings.isXover;
  layout.frequency[index] = plain(kB1Frequency);
}
