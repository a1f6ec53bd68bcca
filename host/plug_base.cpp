#include "host/plug_base.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "host/aeff_editor.h"
#include "platform/index.h"

namespace {

void copyText(std::span<const char> source, char* text) noexcept {
  const auto end = std::find(source.begin(), source.end(), '\0');
  *std::copy(source.begin(), end, text) = '\0';
}

VstPinProperties pin(const char* form, std::int32_t index, std::int32_t numOutputs,
                     std::int32_t channels) noexcept {
  VstPinProperties properties{};
  std::snprintf(properties.label, sizeof properties.label, form, index + 1);
  properties.flags = kVstPinActive | kVstPinUseSpeaker | (numOutputs == 2 ? kVstPinStereo : 0);
  properties.arrangementType = channels == 1 ? kVstArrangementMono : kVstArrangementStereo;
  return properties;
}

}  // namespace

PlugBase::PlugBase(AudioMasterCallback audioMaster, std::span<const ParameterRecord> table,
                   const ParameterKeys& keys, int numPrograms)
    : AudioEffectX(std::max(numPrograms, 1), static_cast<std::int32_t>(table.size())),
      values(table, keys, numPrograms),
      host(*getAeffect(), audioMaster, values, engineLink),
      history(values, engineLink),
      gestures(values, history, host, engineLink),
      input(values, host, engineLink, rules, editorSlot(), stateChanged) {
  canProcessReplacing();
  canDoubleReplacing();
}

PlugBase::~PlugBase() = default;

std::intptr_t PlugBase::dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                   void* ptr, float opt) {
  if (opcode == kEffectEditIdle) return 0;
  return AudioEffectX::dispatcher(opcode, index, value, ptr, opt);
}

void PlugBase::setParameterWithEdit(std::int32_t index, float plain) {
  if (!values.contains(index) || std::isnan(plain)) return;
  beginEdit(index);
  setParameterAutomated(index, values.toNormalised(index, plain));
  endEdit(index);
}

void PlugBase::beginEdit(std::int32_t index) {
  if (gestures.isOpen(index)) {
    gestures.end(index);
    gestures.expectLateEnd(index);
  }
  gestures.begin(index);
}

void PlugBase::endEdit(std::int32_t index) {
  if (!gestures.isLateEnd(index)) gestures.end(index);
}

void PlugBase::stepHistory(bool towardsRedo) {
  history.step(towardsRedo, {[this, towardsRedo](HistoryEntry entry) {
                               host.tellGesture(entry.id, true);
                               if (towardsRedo) {
                                 input.automate(entry.id, entry.value);
                                 host.expectEcho(entry.id);
                               } else {
                                 input.set(entry.id, entry.value);
                                 host.tellValue(entry.id);
                               }
                               host.tellGesture(entry.id, false);
                             },
                             [this, towardsRedo](std::int32_t marker) {
                               restoreLoadedState(marker, towardsRedo);
                             }});
}

void PlugBase::restoreLoadedState(std::int32_t marker, bool towardsRedo) {
  if (AEffEditor* const editor = getEditor()) {
    editor->setParameter(marker, towardsRedo ? 1.0F : 0.0F);
  }
}

void PlugBase::getParameterName(std::int32_t index, char* text) {
  if (values.contains(index) && text != nullptr) copyText(values.info(index).name, text);
}

void PlugBase::getParameterLabel(std::int32_t index, char* text) {
  if (values.contains(index) && text != nullptr) copyText(values.info(index).label, text);
}

void PlugBase::getParameterDisplay(std::int32_t index, char* text) {
  if (values.contains(index)) formatParameterValue(index, getParameter(index), text, false);
}

void PlugBase::formatParameterValue(std::int32_t index, float normalised, char* text,
                                    bool showNote) const {
  if (index < 0 || text == nullptr) return;
  *text = '\0';
  if (!values.contains(index)) return;
  const std::string shown = parameterText(index, normalised, showNote);
  text[shown.copy(text, kParameterTextCapacity - 1)] = '\0';
}

std::string PlugBase::parameterText(std::int32_t index, float normalised, bool /*showNote*/) const {
  // Not `printf`: the decimal point must not follow the locale of the host.
  std::array<char, kParameterTextCapacity> number{};  // longer than any
  const float plain = values.toPlain(index, normalised);
  std::to_chars(number.begin(), number.end(), plain, std::chars_format::fixed, 2);
  return std::string(number.data()) + values.info(index).label;
}

float PlugBase::getParameterDefault(std::int32_t index) const noexcept {
  return values.contains(index) ? values.defaults().values[at(index)] : 0.0F;
}

void PlugBase::setProgramName(const char* name) {
  if (name == nullptr) return;
  const HostLink::StateScope scope(host);
  values.program().setName(name);
  stateChanged.store(true, std::memory_order_release);
}

void PlugBase::getProgramName(char* name) {
  if (name == nullptr) return;
  const HostLink::StateScope scope(host);
  copyText(values.program().name, name);
}

bool PlugBase::getProgramNameIndexed(std::int32_t /*category*/, std::int32_t index, char* text) {
  if (text == nullptr || !values.isProgram(index)) return false;
  const HostLink::StateScope scope(host);
  copyText(values.programs()[at(index)].name, text);
  return true;
}

bool PlugBase::hostShowsPinsAsSpeakers() {
  const auto vendor = host.vendor();
  const std::string_view name = vendor.data();
  return name != "Ableton" && name != "Cakewalk, Inc";
}

bool PlugBase::getInputProperties(std::int32_t index, VstPinProperties* properties) {
  if (properties == nullptr || index < 0 || index >= cEffect.numInputs) return false;
  *properties = pin("Input %d", index, cEffect.numOutputs, cEffect.numInputs);
  if (!hostShowsPinsAsSpeakers()) properties->flags &= ~kVstPinUseSpeaker;
  return true;
}

bool PlugBase::getOutputProperties(std::int32_t index, VstPinProperties* properties) {
  if (properties == nullptr || index < 0 || index >= cEffect.numOutputs) return false;
  *properties = pin("Output %d", index, cEffect.numOutputs, cEffect.numOutputs);
  return true;
}

std::int32_t PlugBase::canDo(const char* text) {
  static constexpr std::array<std::string_view, 4> kAbilities = {
      "bypass", "receiveVstEvents", "receiveVstMidiEvent", "supportsViewDpiScaling"};
  if (text != nullptr && std::ranges::find(kAbilities, text) != kAbilities.end()) return 1;
  return AudioEffectX::canDo(text);
}

std::int32_t PlugBase::processEvents(const VstEvents* events) {
  if (events == nullptr) return 0;
  VstEvent* const* const list = events->events;  // longer than declared
  for (std::int32_t i = 0; i < events->numEvents; ++i) {
    const VstEvent* const event = list[i];
    if (event == nullptr || event->type != kVstMidiType) continue;
    // Copied, since the host's memory need not hold an object of this type.
    VstMidiEvent midi;
    std::memcpy(&midi, event, sizeof midi);
    processMidi(midi);
  }
  return 1;
}

void PlugBase::processMidi(const VstMidiEvent& /*event*/) noexcept {}

void PlugBase::checkProcessLevel() {
  const std::intptr_t level = host.processLevel();
  isRealtime.store(level == kProcessLevelRealtime, std::memory_order_relaxed);
  const bool offline = level == kProcessLevelOffline;
  if (isOffline.exchange(offline) != offline) offlineChanged(offline);
}

void PlugBase::offlineChanged(bool /*offline*/) { updateDsp(true); }

void PlugBase::onEditorIdle() {
  if (AEffEditor* const editor = getEditor()) editor->idle();
}
