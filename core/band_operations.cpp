#include "core/band_operations.h"

#include "core/plug.h"

namespace {

constexpr double kRoom = 1.1;  // two crossover bands never stand at the same frequency

constexpr int kBands = BandLayout::kBands;

}  // namespace

// Frequencies from the start, since crossover bands move when others do.
BandOperations::Step::Step(Plug& effect) : plug(effect) {
  plug.beginHistoryGroup();
  for (int band = 0; band < kBands; ++band) {
    plug.beginRecording(bandParameterId(band, kB1Frequency));
  }
}

BandOperations::Step::~Step() {
  for (int band = 0; band < kBands; ++band) {
    plug.endRecording(bandParameterId(band, kB1Frequency));
  }
  plug.endHistoryGroup();
}

void BandOperations::set(int index, float normalised) {
  const bool isFrequency = isBandParameter(index) && bandOneIdOf(index) == kB1Frequency;
  if (isFrequency) {
    plug.setParameterAutomated(index, normalised);
    return;
  }
  plug.linkedEdits.beginRecording(index);
  plug.beginRecording(index);
  plug.setParameterAutomated(index, normalised);
  plug.endRecording(index);
  plug.linkedEdits.endRecording(index);
}

void BandOperations::automate(int index, double plain) {
  set(index, plug.plainToNormalised(index, static_cast<float>(plain)));
}

void BandOperations::automateOrder(float orderValue) {
  set(kBandOrder, plug.plainToNormalised(kBandOrder, orderValue));
}

void BandOperations::makeRoomAt(double frequency) {
  BandLayout& layout = plug.getEngine().layout;
  for (const int band : layout.copyOf(layout.xover)) {
    const int id = bandParameterId(band, kB1Frequency);
    if (static_cast<double>(plug.getPlainValue(id)) == frequency) automate(id, kRoom * frequency);
  }
}

void BandOperations::addBand(int list, double wanted) {
  if (list < kPreList || list > kPostList) return;
  BandLayout& layout = plug.getEngine().layout;
  const BandLayout::List off = layout.copyOf(layout.off);
  if (off.empty()) return;
  const int band = off.front();
  // As the parameter will hold it.
  const float normalised = plug.plainToNormalised(kB1Frequency, static_cast<float>(wanted));
  const auto frequency = static_cast<double>(plug.normalisedToPlain(kB1Frequency, normalised));
  const Step step(plug);
  if (list == kXoverList) makeRoomAt(frequency);

  const Plug::UpdateHold hold(plug);
  const float order = plug.moveBand(band, list, frequency);
  plug.clearBandFlags(band);
  automate(bandParameterId(band, kB1State), 1.0);
  automate(bandParameterId(band, kB1Type), list == kXoverList ? 0.0 : 1.0);
  set(bandParameterId(band, kB1Frequency), normalised);
  automateOrder(order);
  for (int id = kB1State; id <= kB1SCHFType; ++id) {
    if (id == kB1State || id == kB1Type || id == kB1Frequency) continue;
    const int index = bandParameterId(band, id);
    set(index, plug.getParameterDefault(index));
  }
}

void BandOperations::setBandPosition(int band, int list) {
  if (list == kOffList) {
    deleteBand(band);
    return;
  }
  if (band < 0 || band >= kBands || list < kPreList || list > kOffList) return;
  const Step step(plug);
  plug.clearBandFlags(band);
  {
    const Plug::UpdateHold hold(plug);
    const float order = plug.moveBand(band, list, 0.0);
    automate(bandParameterId(band, kB1State), 1.0);
    automate(bandParameterId(band, kB1Type), list == kXoverList ? 0.0 : 1.0);
    automateOrder(order);
    checkSidechainSources();
  }
  if (list != kXoverList) return;
  // Once the chain stands, so that the other crossover bands make room.
  const int frequency = bandParameterId(band, kB1Frequency);
  set(frequency, plug.getParameter(frequency));
}

void BandOperations::deleteBand(int band) {
  if (band < 0 || band >= kBands) return;
  const Step step(plug);
  plug.clearBandFlags(band);
  const Plug::UpdateHold hold(plug);
  const float order = plug.moveBand(band, kOffList, 0.0);
  automate(bandParameterId(band, kB1State), 0.0);
  automateOrder(order);
  checkSidechainSources();
}

void BandOperations::checkSidechainSources() {
  plug.beginHistoryGroup();
  for (int band = 0; band < kBands; ++band) {
    const int id = bandParameterId(band, kB1SCSBand);
    const int source = static_cast<int>(plug.getPlainValue(id));
    if (source == -1 || plug.getEngine().layout.crossoverIndex(source) != -1) continue;
    automate(id, -1.0);
    automate(bandParameterId(band, kB1SCSrc), SidechainRoute::kBand);
  }
  plug.endHistoryGroup();
}
