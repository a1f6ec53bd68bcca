#include "core/plug.h"

#include <cstring>
#include <utility>

#include "core/default_banks.h"
#include "core/parameter_table.h"
#include "core/ui_defaults.h"
#include "host/aeff_editor.h"
#include "host/alerts.h"
#include "host/idle_timer.h"
#include "platform/index.h"
#include "platform/resources.h"
#include "platform/whole_file.h"

namespace {

constexpr std::int32_t kUniqueId = 0x43766e50;  // "CvnP"

void copyName(char* text, const char* name) { std::strcpy(text, name); }

}  // namespace

Plug::Plug(AudioMasterCallback audioMaster, Idle whoIdles, Clock whatTime, Machine& whose,
           const EditorFactory& makeEditor, float rate)
    : PlugBaseJSON(audioMaster, kParameterTable, parameterKeyTable(), 1, true),
      memory(whoIdles == Idle::kTimer),  // a program that idles by itself ends or reuses the memory
      ownMachine(whose),
      uiOptions(uiTable()),
      loadingFlags(whose.store()),
      handOver(values, engine, {isOffline, isRealtime}, std::move(whatTime),
               {editor.orderStale, editor.kindsStale}),
      bandRules(history),
      parameterEdits({values, input, host, history, gestures, bandRules, handOver, engine, editor,
                      stateChanged},
                     whose.folders()),
      state(codec, {editor, uiOptions, bandRules, input, values}, loadingFlags,
            parameterEdits.autoGain, handOver),
      presets(*this, editor, whose),
      idle(whoIdles) {
  engineLink.connect(handOver);
  engine.setLiveValues(&handOver);
  rules.connect(bandRules);
  connectModel(state);
  input.whenReplaced([this] { parameterEdits.chain.repair(); });
  setNumInputs(kMainChannels + kSidechainChannels);
  setNumOutputs(kMainChannels);
  setUniqueID(kUniqueId);
  setAbParameter(kABBank);
  if (makeEditor) setEditor(makeEditor(*this));
  ownMachine.globals().initGlobals(findResource("json", "defaults").data());
  start(rate);
  if (AEffEditor* const made = getEditor()) made->effectReady();
  if (idle == Idle::kTimer) IdleTimer::instance().add(*this);
}

Plug::~Plug() {
  if (idle == Idle::kTimer) IdleTimer::instance().remove(*this);
  if (AEffEditor* const shown = getEditor()) shown->effectClosed();
}

/// Brings a new instance to the state that `resume` leaves, with its filters designed only once.
void Plug::start(float rate) {
  PlugBaseJSON::setSampleRate(rate);
  host.wantMidi();
  handOver.hold();
  applyGlobalPreferences();
  handOver.askEngine([hz = getSampleRate()](compressor& it) { it.setSampleRate(hz); });
  files().loadBandTemplate();
  presets.setDefaultBankPath(loadDefaultBanks(ownMachine.folders(), chunks));  // no host listens
  updateDsp(true);
  handOver.release();  // may throw, unlike the end of a scope
  // If the folder cannot be made, saving reports it.
  static_cast<void>(makeFolders(ownMachine.folders().install));
  handOver.askEngine([](compressor& it) { it.resetEngine(); });
  PlugBaseJSON::resume();
  checkProcessLevel();  // not before: in real time a second chain would be faded in
  host.wantMidi();
  updateLatency();
}

void Plug::resume() {
  host.wantMidi();
  applyGlobalPreferences();
  handOver.withEngine([rate = getSampleRate()](compressor& it) { it.setSampleRate(rate); });
  handOver.askEngine([](compressor& it) { it.resetEngine(); });  // parameters may change meanwhile
  PlugBaseJSON::resume();
  checkProcessLevel();
  host.wantMidi();
  handOver.everythingChanged();
  updateDsp(true);
  updateLatency();
}

void Plug::setSampleRate(float rate) {
  PlugBaseJSON::setSampleRate(rate);
  updateDsp(false);
}

bool Plug::setBypass(bool on) {
  setParameter(kBypass, on ? 1.0F : 0.0F);
  return true;
}

void Plug::offlineChanged(bool offline) {
  handOver.everythingChanged();
  PlugBaseJSON::offlineChanged(offline);
  updateLatency();
}

void Plug::updateLatency() { host.declareLatency(handOver.getLatency()); }

void Plug::onIdle() {
  PlugBaseJSON::onIdle();
  ownMachine.midiMap().saveChanges();
  if (std::string notice = ownMachine.store().takeNotice(); !notice.empty()) {
    Alerts::instance().add("Halvekro : Settings Error", std::move(notice));
  }
  updateLatency();
  parameterEdits.chain.makeUp();
  if (handOver.isOwed()) updateDsp(false);
  parameterEdits.autoGain.onIdle(static_cast<double>(getSampleRate()));
}

bool Plug::getEffectName(char* text) {
  copyName(text, "Corvanthelis");
  return true;
}

bool Plug::getVendorString(char* text) {
  copyName(text, "Halvekro");
  return true;
}

std::string Plug::parameterText(std::int32_t index, float normalised, bool showNote) const {
  return valueText(index, values.toPlain(index, normalised), values.info(index), textContext(index),
                   showNote);
}

ValueTextContext Plug::textContext(std::int32_t index) const {
  ValueTextContext context = valueTextContext(values, index);
  context.simpleNumbers = simpleNumbers.load(std::memory_order_relaxed);
  return context;
}

std::int32_t Plug::setChunk(const void* data, std::int32_t byteSize, bool isPreset) {
  HostLink::ChangedValues changed(host);
  const std::int32_t taken = chunks.set(data, byteSize, isPreset);
  if (taken != 0 && !isPreset && !chunkRefused()) changed.tell();
  return taken;
}

void Plug::setDocument(const JsonNode* root, bool isPreset) {
  HostLink::ChangedValues changed(host);
  chunks.take(root, isPreset);
  if (!isPreset) changed.tell();
}

void Plug::restoreLoadedState(std::int32_t marker, bool towardsRedo) {
  presets.restoreSnapshot(marker == historyPresetLoad, towardsRedo);
}

void Plug::applyGlobalPreferences() {
  const AppliedPreferences wanted = AppliedPreferences::of(ownMachine.globals());
  handOver.withEngine([&wanted, rate = getSampleRate()](compressor& it) {
    it.setMeterBallistic(wanted.meterBallistic, static_cast<double>(rate));
    it.setAutolistenPassband(wanted.autolistenPassband);
  });
  handOver.setSeamless(wanted.seamless);
  simpleNumbers.store(wanted.simpleNumbers, std::memory_order_relaxed);
  if (host.setGesturesOff(!wanted.gestures)) editor.gesturesStale = true;
  input.setTellsBanks(wanted.automateBanks);
  setCompressionLevel(9);
  editor.preferencesStale = true;
}

void Plug::setLoadingFlags(std::int32_t flags) {
  loadingFlags.set(flags);
  editor.loadingFlagsStale = true;
  markChanged();
}

void Plug::setMeterDecay(double percent) {
  const auto rate = static_cast<double>(getSampleRate());
  handOver.withEngine([percent, rate](compressor& it) { it.setMeterDecay(percent, rate); });
}

Plug::EditorEnd::~EditorEnd() { plug.setEditor(nullptr); }
