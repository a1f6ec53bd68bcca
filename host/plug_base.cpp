#include "host/plug_base.h"

#include <algorithm>
#include <cassert>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string_view>

#include "host/aeff_editor.h"
#include "host/curves.h"
#include "host/shared_value.h"

namespace {

std::size_t at(std::int32_t index) noexcept { return static_cast<std::size_t>(index); }

/// The band 1..9 that an identifier such as "kB3Ratio" belongs to; 0 for a global parameter.
std::int32_t groupOf(std::string_view identifier) noexcept {
  if (identifier.size() < 3 || !identifier.starts_with("kB")) return 0;
  const char digit = identifier[2];
  return digit >= '1' && digit <= '9' ? digit - '0' : 0;
}

/// Plain units per step of a stepped parameter; 0 for a continuous one.
std::int32_t stepWidth(std::int32_t curve) noexcept {
  switch (curve) {
    case kCurveWhole:
    case kCurveOctaves:
    case kCurveFloor:
      return 1;
    case kCurveMultipleOf6:
      return 6;
    case kCurveMultipleOf12:
      return 12;
    default:
      return 0;
  }
}

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
                   const ParameterKeys& parameterKeys, int numPrograms)
    : AudioEffectX(audioMaster, std::max(numPrograms, 1), static_cast<std::int32_t>(table.size())),
      parameters(table.begin(), table.end()),
      keys(parameterKeys),
      programs(at(std::max(numPrograms, 1))),
      audioChanged(table.size()),
      openGestures(table.size()),
      lateEnds(table.size()),
      echoes(table.size()) {
  assert(table.size() <= kMostParameters);
  canProcessReplacing();
  canDoubleReplacing();
  for (ParameterRecord& record : parameters) {
    record.normalised = ::plainToNormalised(record.value, record.min, record.max, record.curve);
  }
  takeGroups();
  fillProgram(defaultValues);
  for (ProgramRecord& program : programs) fillProgram(program);
  for (ProgramRecord& bank : banks) fillProgram(bank);
}

PlugBase::~PlugBase() = default;

void PlugBase::takeGroups() {
  for (std::size_t i = 0; i < parameters.size(); ++i) {
    const std::int32_t group = groupOf(keys.name(static_cast<std::int32_t>(i)));
    parameters[i].group = group;
    const std::string bandName = "Band " + std::to_string(group);
    if (group > 0 && std::ranges::find(bandNames, bandName) == bandNames.end()) {
      bandNames.push_back(bandName);
    }
  }
}

void PlugBase::fillProgram(ProgramRecord& target) const {
  target.values.clear();
  for (const ParameterRecord& record : parameters) target.values.push_back(record.normalised);
}

std::intptr_t PlugBase::dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                   void* ptr, float opt) {
  if (opcode == kEffectEditIdle) return 0;
  return AudioEffectX::dispatcher(opcode, index, value, ptr, opt);
}

bool PlugBase::isParameter(std::int32_t index) const noexcept {
  return index >= 0 && index < parameterCount();
}

std::int32_t PlugBase::parameterCount() const noexcept {
  return static_cast<std::int32_t>(parameters.size());
}

const ParameterRecord& PlugBase::parameterInfo(std::int32_t index) const {
  return parameters[at(index)];
}

void PlugBase::setParameter(std::int32_t index, float normalised) {
  if (!isParameter(index) || std::isnan(normalised)) return;
  const float clamped = std::clamp(normalised, 0.0F, 1.0F);
  if (isBankSwitch(index, clamped)) {
    switchBank(bankOf(clamped));
  } else {
    storeParameter(index, clamped);
    updateDsp(false);
  }
  if (AEffEditor* const editor = getEditor()) editor->setParameter(index, clamped);
}

void PlugBase::storeParameter(std::int32_t index, float normalised) noexcept {
  constexpr int kMostWriters = 4;
  float& shown = parameters[at(index)].normalised;
  storeShared(shown, normalised);
  // Another thread may set the same parameter meanwhile: all places end with the value of one.
  for (int turn = 0; turn < kMostWriters; ++turn) {
    storeShared(program().values[at(index)], normalised);
    storeShared(banks[at(curBank.load(relaxed))].values[at(index)], normalised);
    storeShared(parameters[at(index)].value, normalisedToPlain(index, normalised));
    const float newest = loadShared(shown);
    if (newest == normalised) return;
    normalised = newest;
  }
}

void PlugBase::setParameterFromAudio(std::int32_t index, float normalised) noexcept {
  if (!isParameter(index) || std::isnan(normalised)) return;
  const float clamped = std::clamp(normalised, 0.0F, 1.0F);
  if (isBankSwitch(index, clamped)) {
    switchBankFromAudio(bankOf(clamped));
  } else {
    storeParameter(index, clamped);
  }
  audioChanged[at(index)].store(true, relaxed);
  audioChangedValues.store(true, std::memory_order_release);
}

void PlugBase::makeUpForAudio() {
  if (!audioChangedValues.exchange(false, std::memory_order_acquire)) return;
  const bool bankSwitched = audioBankSwitch.exchange(-1) >= 0;
  {
    const UpdateBatch batch(*this);
    if (bankSwitched) valuesReplaced();
    updateDsp(bankSwitched);
  }
  const bool tellsHost = bankSwitched && notifyAllOnBankSwitch.load(relaxed);
  for (std::int32_t i = 0; i < parameterCount(); ++i) {
    if (!audioChanged[at(i)].exchange(false, relaxed)) continue;
    if (tellsHost && i != abParameter) tellInGesture(i);
    if (AEffEditor* const editor = getEditor()) editor->setParameter(i, getParameter(i));
  }
}

float PlugBase::getParameter(std::int32_t index) { return normalisedValue(index); }

float PlugBase::normalisedValue(std::int32_t index) const noexcept {
  return isParameter(index) ? loadShared(parameters[at(index)].normalised) : 0.0F;
}

void PlugBase::setParameterAutomated(std::int32_t index, float normalised) {
  // A write that is ignored is no news to the host either.
  if (!isParameter(index) || std::isnan(normalised)) return;
  AudioEffectX::setParameterAutomated(index, std::clamp(normalised, 0.0F, 1.0F));
}

void PlugBase::setParameterWithEdit(std::int32_t index, float plain) {
  if (!isParameter(index) || std::isnan(plain)) return;
  beginEdit(index);
  setParameterAutomated(index, plainToNormalised(index, plain));
  endEdit(index);
}

void PlugBase::beginEdit(std::int32_t index) {
  endLostGesture(index);
  if (isParameter(index)) openGestures[at(index)].store(true);
  beginRecording(index);
  endAwaitedGroup(index);
  tellGesture(index, true);
}

void PlugBase::endEdit(std::int32_t index) {
  if (isLateEnd(index)) return;
  if (isParameter(index)) openGestures[at(index)].store(false);
  endRecording(index);
  updateDsp(true);
  tellGesture(index, false);
}

void PlugBase::tellGesture(std::int32_t index, bool begins) {
  if (!isParameter(index) || gesturesOff.load(relaxed)) return;
  if (begins) {
    AudioEffectX::beginEdit(index);
  } else {
    AudioEffectX::endEdit(index);
  }
}

void PlugBase::tellValue(std::int32_t index) {
  expectEcho(index);
  tellHost(kHostAutomate, index, 0, nullptr, normalisedValue(index));
}

void PlugBase::tellInGesture(std::int32_t index) {
  tellGesture(index, true);
  tellValue(index);
  tellGesture(index, false);
}

void PlugBase::expectEcho(std::int32_t index) noexcept {
  if (isParameter(index)) echoes[at(index)].store({normalisedValue(index), 1});
}

bool PlugBase::isEcho(std::int32_t index, float normalised) noexcept {
  if (!isParameter(index)) return false;
  const Echo expected = echoes[at(index)].load();
  if (expected.isDue == 0) return false;
  // Hosts that count steps give a value back at its step.
  const bool isSame =
      normalised == expected.normalised ||
      (getStepCount(index) > 0 &&
       normalisedToPlain(index, normalised) == normalisedToPlain(index, expected.normalised));
  if (isSame && normalisedValue(index) == expected.normalised) return true;
  echoes[at(index)].store({});
  return false;
}

bool PlugBase::canParameterBeAutomated(std::int32_t index) { return isParameter(index); }

void PlugBase::getParameterName(std::int32_t index, char* text) {
  if (isParameter(index) && text != nullptr) copyText(parameters[at(index)].name, text);
}

void PlugBase::getParameterLabel(std::int32_t index, char* text) {
  if (isParameter(index) && text != nullptr) copyText(parameters[at(index)].label, text);
}

void PlugBase::getParameterDisplay(std::int32_t index, char* text) {
  if (isParameter(index)) formatParameterValue(index, getParameter(index), text, false);
}

float PlugBase::plainToNormalised(std::int32_t index, float plain) const {
  if (!isParameter(index)) return 0.0F;
  const ParameterRecord& record = parameters[at(index)];
  return ::plainToNormalised(plain, record.min, record.max, record.curve);
}

float PlugBase::normalisedToPlain(std::int32_t index, float normalised) const {
  if (!isParameter(index)) return 0.0F;
  const ParameterRecord& record = parameters[at(index)];
  return ::normalisedToPlain(normalised, record.min, record.max, record.curve);
}

float PlugBase::getPlainValue(std::int32_t index) const {
  return isParameter(index) ? loadShared(parameters[at(index)].value) : 0.0F;
}

std::int32_t PlugBase::getStepCount(std::int32_t index) const {
  if (!isParameter(index)) return 0;
  const ParameterRecord& record = parameters[at(index)];
  if (record.curve == kCurveSwitch) return 1;
  const std::int32_t width = stepWidth(record.curve);
  return width > 0 ? static_cast<std::int32_t>(record.max - record.min) / width + 1 : 0;
}

std::int32_t PlugBase::getStepSize(std::int32_t index) const {
  return isParameter(index) ? std::max(stepWidth(parameters[at(index)].curve), 1) : 1;
}

void PlugBase::formatParameterValue(std::int32_t index, float normalised, char* text,
                                    bool /*showNote*/) const {
  if (index < 0 || text == nullptr) return;
  *text = '\0';
  if (!isParameter(index)) return;
  const ParameterRecord& record = parameters[at(index)];
  // Not `printf`: the decimal point must not follow the locale of the host.
  char* const last = text + kParameterTextCapacity - 1 - std::strlen(record.label);
  const auto [end, error] =
      std::to_chars(text, last, normalisedToPlain(index, normalised), std::chars_format::fixed, 2);
  copyText(record.label, error == std::errc() ? end : text);
}

float PlugBase::hostStepValue(std::int32_t index, float value, bool toHost) const {
  if (!isParameter(index)) return value;
  const ParameterRecord& record = parameters[at(index)];
  if (record.curve != kCurveWhole && record.curve != kCurveMultipleOf6 &&
      record.curve != kCurveMultipleOf12) {
    return value;
  }
  const float range = record.max - record.min;
  if (toHost) return (normalisedToPlain(index, value) - record.min) / range;
  // In 32 bits: the product of a step's share rounds back to the whole step, where 64 bits would
  // keep the error of the share and the floor would lose a step.
  return plainToNormalised(index, std::floor(value * range + record.min));
}

float PlugBase::getParameterDefault(std::int32_t index) const noexcept {
  return isParameter(index) ? defaultValues.values[at(index)] : 0.0F;
}

std::int32_t PlugBase::getProgram() { return curProgram.load(relaxed); }

void PlugBase::setProgram(std::int32_t newProgram) {
  if (newProgram < 0 || at(newProgram) >= programs.size()) return;
  const StateScope scope(*this);
  const bool wasLoading = isLoading.exchange(true);
  curProgram.store(newProgram, relaxed);
  {
    const UpdateBatch batch(*this);
    for (std::int32_t i = 0; i < parameterCount(); ++i) {
      if (i == abParameter && !wasLoading) continue;
      setParameter(i, loadShared(program().values[at(i)]));
    }
    valuesReplaced();
  }
  isLoading.store(false);
  tellHostVendorSpecific(kProgramChanged, 0);
}

void PlugBase::setProgramName(const char* name) {
  if (name == nullptr) return;
  const StateScope scope(*this);
  program().setName(name);
}

void PlugBase::getProgramName(char* name) {
  if (name == nullptr) return;
  const StateScope scope(*this);
  copyText(program().name, name);
}

bool PlugBase::getProgramNameIndexed(std::int32_t /*category*/, std::int32_t index, char* text) {
  if (text == nullptr || index < 0 || at(index) >= programs.size()) return false;
  const StateScope scope(*this);
  copyText(programs[at(index)].name, text);
  return true;
}

bool PlugBase::hostShowsPinsAsSpeakers() {
  std::array<char, kTextCapacity> vendor{};
  getHostVendorString(vendor);
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
    // Copied, since the bytes are not declared as a MIDI event where they come from.
    VstMidiEvent midi;
    std::memcpy(&midi, event, sizeof midi);
    processMidi(midi);
  }
  return 1;
}

void PlugBase::processMidi(const VstMidiEvent& /*event*/) noexcept {}

void PlugBase::checkProcessLevel() {
  const bool offline = getProcessLevel() == kProcessLevelOffline;
  if (isOffline.exchange(offline) != offline) offlineChanged(offline);
}

void PlugBase::offlineChanged(bool /*offline*/) { updateDsp(true); }

void PlugBase::updateDsp(bool /*force*/) {}

void PlugBase::onIdle() { makeUpForAudio(); }

void PlugBase::onEditorIdle() {
  if (AEffEditor* const editor = getEditor()) editor->idle();
}

void PlugBase::declareLatency(std::int32_t samples) {
  if (setInitialDelay(samples) != samples) ioChanged();
}
