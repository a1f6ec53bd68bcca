#include "core/plug.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <exception>
#include <new>
#include <utility>

#include "core/chain_repair.h"
#include "core/parameter_table.h"
#include "host/aeff_editor.h"
#include "host/alerts.h"
#include "platform/resources.h"
#include "platform/whole_file.h"

namespace {

constexpr int kMainChannels = 2;
constexpr int kSidechainChannels = 2;
constexpr std::int32_t kLongestAnnounced = 1 << 20;  // frames
constexpr std::int32_t kUniqueId = 0x43766e50;       // "CvnP"

void copyName(char* text, const char* name) { std::strcpy(text, name); }

}  // namespace

Plug::Plug(AudioMasterCallback audioMaster, Idle whoIdles, Clock whatTime, Machine& whose)
    : PlugBaseJSON(audioMaster, kParameterTable, parameterKeyTable(), 1),
      memory(whoIdles == Idle::kTimer),  // programs end, or soon need it again
      ownMachine(whose),
      uiOptions(findResource("json", "uisettings").data()),
      bandTemplate(defaultValues),
      clock(std::move(whatTime)),
      idle(whoIdles) {
  setNumInputs(kMainChannels + kSidechainChannels);
  setNumOutputs(kMainChannels);
  setUniqueID(kUniqueId);
  abParameter = kABBank;
  chunkCacheEnabled = true;
  ownMachine.globals().initGlobals(findResource("json", "defaults").data());
  Plug::applyGlobalPreferences();
  Plug::updateDsp(false);
  bandFiles.loadBandTemplate();
  Plug::loadDefaultBanks();
  // Where there is no such folder, saving tells.
  static_cast<void>(makeFolders(ownMachine.folders().install));
  Plug::resume();
  if (idle == Idle::kTimer) IdleTimer::instance().add(*this);
}

Plug::~Plug() {
  if (idle == Idle::kTimer) IdleTimer::instance().remove(*this);
  setEditor(nullptr);  // before what it shows
}

void Plug::processReplacing(float** inputs, float** outputs, std::int32_t frames) {
  process(inputs, outputs, frames);
}

void Plug::processDoubleReplacing(double** inputs, double** outputs, std::int32_t frames) {
  process(inputs, outputs, frames);
}

template <typename Sample>
void Plug::process(Sample** inputs, Sample** outputs, std::int32_t frames) noexcept {
  if (inputs == nullptr || outputs == nullptr || frames <= 0) return;
  try {
    checkProcessLevel();
    const int absent = outputs[kMainChannels - 1] == nullptr ? 1 : 0;
    const int channels = kMainChannels - absent;
    analyser.beginBlock();
    engine.processBlock(inputs, outputs, frames, channels, kSidechainChannels - absent);
    feedMeters(outputs, frames, channels);
  } catch (const std::exception&) {
    // Only a block longer than the buffers allocates, and only that can fail: silence, and go on.
    for (int c = 0; c < kMainChannels; ++c) {
      if (outputs[c] != nullptr) std::fill_n(outputs[c], frames, Sample{0});
    }
  }
  advanceSampleCount(frames);
  gate.addSamples(frames);
}

template <typename Sample>
void Plug::feedMeters(Sample* const* outputs, int frames, int channels) noexcept {
  const double dryGain = outTrimLinear.load(std::memory_order_relaxed);
  for (int c = 0; c < channels; ++c) {
    const auto dryTrace = static_cast<AnalyserFeed::Trace>(AnalyserFeed::kDryLeft + c);
    analyser.write(dryTrace, engine.dryBlock(c), frames, dryGain);
    if (outputs[c] == nullptr) continue;
    analyser.write(static_cast<AnalyserFeed::Trace>(c), outputs[c], frames, 1.0);
  }
  analyser.endBlock(frames);
  outputPeak.follow(outputs, channels, frames);
}

void Plug::resume() {
  wantEvents();
  applyGlobalPreferences();
  {
    const PlugBaseMutex::Scope lock(updateLock);
    analyser.reset();
    outputPeak.reset();
    engine.setSampleRate(getSampleRate());
  }
  engine.resetEngine();
  PlugBaseJSON::resume();
  checkProcessLevel();
  wantEvents();
  updateDsp(true);
  updateLatency();
}

void Plug::setSampleRate(float rate) {
  PlugBaseJSON::setSampleRate(rate);
  updateDsp(false);
}

void Plug::setBlockSize(std::int32_t frames) {
  PlugBaseJSON::setBlockSize(frames);
  // A host that names a length beyond reason gets its buffers when such a block really comes.
  if (frames <= 0 || frames > kLongestAnnounced) return;
  const PlugBaseMutex::Scope lock(updateLock);
  engine.announceBlockSize(frames);
}

bool Plug::setBypass(bool on) {
  setParameter(kBypass, on ? 1.0F : 0.0F);
  return true;
}

/// Calls `set` for every parameter that a change of `index` changes, itself last.
template <typename Set>
void Plug::spread(std::int32_t index, const Set& set) {
  if (locked.get(index)) return;
  if (linked.get(index) && isBandParameter(index) && !inHistoryStep.load()) {
    for (int band = 0; band < kNumBands; ++band) {
      const int other = bandParameterId(band, bandOneIdOf(index));
      if (other != index && linked.get(other) && !locked.get(other)) set(other);
    }
  }
  set(index);
}

void Plug::setParameter(std::int32_t index, float normalised) {
  // Links have done their part when the host gives back what it was told.
  if (!locked.get(index) && isEcho(index, normalised)) {
    PlugBaseJSON::setParameter(index, normalised);
    return;
  }
  spread(index, [this, normalised](int each) { PlugBaseJSON::setParameter(each, normalised); });
}

void Plug::setParameterFromAudio(std::int32_t index, float normalised) noexcept {
  spread(index,
         [this, normalised](int each) { PlugBaseJSON::setParameterFromAudio(each, normalised); });
}

void Plug::processMidi(const VstMidiEvent& event) noexcept {
  if (const auto move = ownMachine.midiMap().process(event.midiData)) {
    setParameterFromAudio(move->id, move->normalised);
  }
}

void Plug::setParameterAutomated(std::int32_t index, float normalised) {
  if (!locked.get(index)) crossoverEdits.automate(index, normalised);
}

void Plug::alignLinked(std::int32_t index) {
  const float normalised = getParameter(index);
  spread(index, [this, normalised](int each) { PlugBaseJSON::setParameter(each, normalised); });
}

/// Without memory for it a later call of `onIdle` does it.
void Plug::repairChain() noexcept {
  try {
    repairMissing.store(false, relaxed);
    const auto repair = chainRepair(*this);
    if (!repair) return;
    const UpdateHold together(*this);
    for (const auto& [id, normalised] : repair->frequencies) {
      PlugBaseJSON::setParameter(id, normalised);
    }
    PlugBaseJSON::setParameter(kBandOrder, repair->order);
  } catch (const std::bad_alloc&) {
    repairMissing.store(true, relaxed);
  }
}

/// All that the gesture may change is noted by the time it begins: the group for the history need
/// not wait for an end that may not come.
void Plug::beginEdit(std::int32_t index) {
  endLostGesture(index);
  crossoverEdits.endLostGesture(index);
  beginHistoryGroup();
  crossoverEdits.beginRecording(index);
  linkedEdits.beginRecording(index);
  PlugBaseJSON::beginEdit(index);
  endHistoryGroup();
  crossoverEdits.beginEdit(index);
  autoGain.beginEdit(index);
}

void Plug::endEdit(std::int32_t index) {
  if (isLateEnd(index)) return;
  PlugBaseJSON::endEdit(index);
  linkedEdits.endRecording(index);
  crossoverEdits.endEdit(index);
  autoGain.endEdit();
}

void Plug::offlineChanged(bool offline) {
  PlugBaseJSON::offlineChanged(offline);
  updateLatency();
}

void Plug::onIdle() {
  PlugBaseJSON::onIdle();
  ownMachine.midiMap().saveChanges();
  if (std::string notice = ownMachine.store().takeNotice(); !notice.empty()) {
    Alerts::instance().add("Halvekro : Settings Error", std::move(notice));
  }
  updateLatency();
  if (repairMissing.load(relaxed)) repairChain();
  if (gate.isOwed()) updateDsp(false);
  autoGain.onIdle();
}

bool Plug::getEffectName(char* text) {
  copyName(text, "Corvanthelis");
  return true;
}

bool Plug::getProductString(char* text) { return getEffectName(text); }

bool Plug::getVendorString(char* text) {
  copyName(text, "Halvekro");
  return true;
}

ValueTextContext Plug::textContext(int index) const {
  ValueTextContext context;
  context.extendedRanges = getPlainValue(kExtendedRanges);
  context.extendedRatios = isOn(kExtendedRatios);
  context.simpleNumbers = simpleNumbers.load(std::memory_order_relaxed);
  if (!isBandParameter(index)) return context;
  const int band = bandOf(index);
  context.ratioAbove = getPlainValue(bandParameterId(band, kB1Ratio));
  context.ratioBelow = getPlainValue(bandParameterId(band, kB1RatioB));
  context.dynamicEq = isOn(bandParameterId(band, kB1Type));
  context.leftRight = isOn(bandParameterId(band, kB1LR));
  context.scLeftRight = isOn(bandParameterId(band, kB1SCLR));
  return context;
}

void Plug::formatParameterValue(std::int32_t index, float normalised, char* text,
                                bool showNote) const {
  if (index < 0 || text == nullptr) return;
  text[0] = '\0';
  if (index >= parameterCount()) return;
  const std::string shown = valueText(index, normalisedToPlain(index, normalised),
                                      parameterInfo(index), textContext(index), showNote);
  text[shown.copy(text, kParameterTextCapacity - 1)] = '\0';
}

void Plug::applyPreferences(const Preferences& newPreferences) {
  const PlugBaseMutex::Scope lock(updateLock);
  preferences = newPreferences;
  takePreferences();
}

void Plug::takePreferences() {
  outputPeak.setBallistic(preferences.meterBallistic, getSampleRate());
  engine.setAutolistenPassband(preferences.autolistenPassband);
  engine.publish();
  simpleNumbers.store(preferences.simpleNumbers, std::memory_order_relaxed);
  gesturesOff.store(!preferences.gestures, std::memory_order_relaxed);
  notifyAllOnBankSwitch.store(preferences.automateBanks, std::memory_order_relaxed);
}

void Plug::setMeterDecay(double percent) {
  const double samples = (1.0 - percent * 0.01) * static_cast<double>(getSampleRate()) * 4.0;
  const PlugBaseMutex::Scope lock(updateLock);
  engine.setMeterDecay(std::exp(-2.0 / (samples + 0.02)));
  engine.publish();
}

double Plug::getGainReduction(int selector) noexcept { return engine.getGainReduction(selector); }

double Plug::getBandGain(int band, int parts, int channel) const noexcept {
  return engine.getBandGain(band, parts, channel);
}

double Plug::getBandEnvelope(int band) const noexcept { return engine.getBandEnvelope(band); }

double Plug::getBandLamp(int band, bool fast) const noexcept {
  return engine.getBandLamp(band, fast);
}

double Plug::getBandGraphGain(int band) const noexcept { return engine.getBandGraphGain(band); }
