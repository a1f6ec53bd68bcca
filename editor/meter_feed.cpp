#include "editor/meter_feed.h"

#include <algorithm>
#include <cmath>

#include "core/plug.h"
#include "editor/band_panel.h"
#include "editor/controls/band_tabs.h"
#include "editor/controls/control_block.h"
#include "editor/layout/tag_table.h"
#include "graphs/meters/meter_scale.h"
#include "graphs/meters/meter_settings.h"
#include "graphs/meters/meter_texts.h"
#include "graphs/meters/vu.h"

namespace {

constexpr double kLeastGain = 0.004;         // dB that are seen
constexpr float kLeastWay = 1.0F / 4096.0F;  // of a fader
/// The share of a lamp's light above which it is on: it fades with the release.
constexpr double kLampOn = 0.5;

/// The follower of the peaks comes near to 0 after a sound, and stays there.
double withoutRest(double peak) {
  constexpr double kSilence = 1e-10;
  return peak < kSilence ? 0.0 : peak;
}

double linear(double dB) { return std::pow(10.0, dB * 0.05); }

template <typename Control>
void collect(CControl& control, std::vector<Control*>& found) {
  if (auto* const own = dynamic_cast<Control*>(&control)) found.push_back(own);
}

}  // namespace

MeterFeed::MeterFeed(const ControlIndex& controls, const ValueSource& source, Plug& shown)
    : values(source),
      effect(shown),
      levels(shown.getEngine().outputFeed()),
      reduction(shown.getEngine().meterPeaks()),
      tabs(findBandTabs(controls)) {
  for (int i = 0; i < controls.getControlCount(); ++i) {
    CControl& control = *controls.getControl(i);
    collect(control, outputs);
    collect(control, loudnesses);
    collect(control, lamps);
  }
  for (int band = 0; band < kBands; ++band) find(controls, band);
  applySettings();
}

void MeterFeed::find(const ControlIndex& controls, int band) {
  Band& own = bands[static_cast<std::size_t>(band)];
  own.meter = dynamic_cast<miniPPMmeter*>(controls.find(kGUIBandPPM + band));
  controls.forEach(kGUIBandGR + band,
                   [&own](CControl& control) { collect(control, own.reductions); });
  controls.forEach(bandParameterId(band, kB1Threshold), [&own](CControl& control) {
    if (auto* const fader = dynamic_cast<LineFader*>(&control)) own.threshold = fader;
  });
  controls.forEach(bandParameterId(band, kB1RelFast), [&own](CControl& control) {
    auto* const block = dynamic_cast<ValueBlock*>(control.getParentView());
    if (block != nullptr) own.fastRelease = block;
  });
}

void MeterFeed::applySettings() {
  const EditorState& state = effect.editorState();
  const MeterSettings wanted = MeterSettings::read(values);
  for (nVU* const meter : outputs) {
    meter->setSettings(wanted);
    meter->setZoomed(state.zoomState != 0);
  }
  choice = BandMeterChoice::of(state.meterChannel, state.meterShow, state.meterZoom);
  for (const Band& own : bands) {
    if (own.meter == nullptr) continue;
    own.meter->setHoldMode(wanted.hold);
    own.meter->setChoice(choice);
  }
  flashes = effect.uiSettings().getUiValue("Release", "Flash Labels") != 0.0;
}

void MeterFeed::show() {
  showOutput();
  for (int band = 0; band < kBands; ++band) showBand(band);
  const int current = effect.editorState().currentBand;
  for (ReleaseLED* const lamp : lamps) {
    const int band = isBandParameter(lamp->getTag()) ? bandOf(lamp->getTag()) : current;
    const bool isOn = flashes && effect.getBandLamp(band, true) > kLampOn;
    lamp->setValue(isOn ? 1.0F : 0.0F);
  }
}

void MeterFeed::showOutput() {
  if (outputs.empty() && loudnesses.empty()) return;
  levels.update();
  const auto peak = [this](int c) {
    return static_cast<float>(withoutRest(effect.getOutputPeak(c)));
  };
  const auto rms = [this](int c) { return static_cast<float>(levels.rms(c)); };
  const auto gain = [this](int c) { return static_cast<float>(reduction.getGainReduction(c)); };
  if (!outputs.empty()) {
    const float left = gain(0);
    const float right = gain(1);
    for (nVU* const meter : outputs) {
      meter->setLevels(peak(0), peak(1), rms(0), rms(1), left, right);
    }
  }
  for (loudnessMeterView* const view : loudnesses) {
    view->setValue(static_cast<float>(levels.momentaryLufs()));
  }
}

void MeterFeed::showBand(int band) {
  Band& own = bands[static_cast<std::size_t>(band)];
  const bool isActive = values.valueOf(bandParameterId(band, kB1State)) >= 0.5F;
  // What a band did last, before it was taken out, is no longer so.
  const auto gain = [&](int parts, int channel) {
    return isActive ? effect.getBandGain(band, parts, channel) : 0.0;
  };
  if (own.meter != nullptr) {
    own.meter->setDisabled(!isActive);
    const int parts = choice.parts();
    own.meter->setLevel(linear(choice.pick(gain(parts, 0), gain(parts, 1))));
  }
  BandMeterChoice all;
  all.channel = BandMeterChoice::kMaximum;
  all.show = BandMeterChoice::kBoth;
  const double furthest = all.pick(gain(all.parts(), 0), gain(all.parts(), 1));
  for (miniGRmeter* const meter : own.reductions) {
    meter->setValue(static_cast<float>(linear(furthest)));
  }
  showGain(own, band, furthest);
  showLevel(own, band, isActive);
}

void MeterFeed::showGain(Band& own, int band, double dB) {
  const bool differs = dB == 0.0 ? own.shownGain != 0.0 : std::abs(dB - own.shownGain) > kLeastGain;
  if (tabs == nullptr || !differs) return;
  own.shownGain = dB;
  tabs->setGainChange(band, static_cast<float>(dB));
}

void MeterFeed::showLevel(Band& own, int band, bool isActive) {
  const double envelope = isActive ? effect.getBandEnvelope(band) : 0.0;
  if (own.threshold != nullptr) {
    float place = -1.0F;
    if (envelope > 0.0) {
      place = values.normalisedOf(bandParameterId(band, kB1Threshold),
                                  static_cast<float>(decibelsOf(envelope)));
      place = std::clamp(place, 0.0F, 1.0F);
    }
    if (std::abs(place - own.shownLevel) > kLeastWay) {
      own.shownLevel = place;
      own.threshold->setLevel(place);
    }
  }
  if (own.fastRelease != nullptr) {
    own.fastRelease->setAlert(flashes && isActive && effect.getBandLamp(band, true) > kLampOn);
  }
}
