#include "host/audio_effect.h"

#include <limits>
#include <utility>

#include "host/aeff_editor.h"

namespace {

// The functions in the record: C calls that find their effect and let no exception out.

AudioEffect* effectOf(AEffect* record) noexcept {
  return record != nullptr ? static_cast<AudioEffect*>(record->object) : nullptr;
}

template <typename Result, typename Call>
Result guarded(AEffect* record, Result failure, const Call& call) noexcept {
  AudioEffect* const effect = effectOf(record);
  if (effect == nullptr) return failure;
  try {
    return call(*effect);
  } catch (...) {
    return failure;
  }
}

template <typename Call>
void guarded(AEffect* record, const Call& call) noexcept {
  guarded(record, 0, [&](AudioEffect& effect) {
    call(effect);
    return 0;
  });
}

std::intptr_t dispatchEntry(AEffect* record, std::int32_t opcode, std::int32_t index,
                            std::intptr_t value, void* ptr, float opt) noexcept {
  return guarded(record, std::intptr_t{0}, [&](AudioEffect& effect) {
    return effect.dispatcher(opcode, index, value, ptr, opt);
  });
}

void accumulateEntry(AEffect*, float**, float**, std::int32_t) noexcept {}

void processEntry(AEffect* record, float** inputs, float** outputs, std::int32_t frames) noexcept {
  guarded(record, [&](AudioEffect& effect) { effect.processReplacing(inputs, outputs, frames); });
}

void processDoubleEntry(AEffect* record, double** inputs, double** outputs,
                        std::int32_t frames) noexcept {
  guarded(record,
          [&](AudioEffect& effect) { effect.processDoubleReplacing(inputs, outputs, frames); });
}

void setParameterEntry(AEffect* record, std::int32_t index, float normalised) noexcept {
  guarded(record, [&](AudioEffect& effect) { effect.setParameter(index, normalised); });
}

float getParameterEntry(AEffect* record, std::int32_t index) noexcept {
  return guarded(record, 0.0f, [&](AudioEffect& effect) { return effect.getParameter(index); });
}

bool fitsInt32(std::intptr_t value) noexcept {
  return value >= std::numeric_limits<std::int32_t>::min() &&
         value <= std::numeric_limits<std::int32_t>::max();
}

/// The number as a byte; 0 if it does not fit.
template <typename Number>
std::uint8_t byteOf(Number number) noexcept {
  const bool fits = number >= Number{0} && number <= Number{255};
  return fits ? static_cast<std::uint8_t>(number) : std::uint8_t{0};
}

}  // namespace

AudioEffect::AudioEffect(std::int32_t numPrograms, std::int32_t numParams) {
  cEffect.magic = kEffectMagic;
  cEffect.dispatcher = dispatchEntry;
  cEffect.process = accumulateEntry;
  cEffect.setParameter = setParameterEntry;
  cEffect.getParameter = getParameterEntry;
  cEffect.processReplacing = processEntry;
  cEffect.processDoubleReplacing = processDoubleEntry;
  cEffect.numPrograms = numPrograms;
  cEffect.numParams = numParams;
  cEffect.numInputs = 1;
  cEffect.numOutputs = 1;
  cEffect.ioRatio = 1.0f;
  cEffect.version = 1;
  cEffect.object = this;
}

AudioEffect::~AudioEffect() {
  // A record that outlives its effect by mistake answers 0.
  cEffect.object = nullptr;
}

std::int32_t AudioEffect::getInitialDelay() const noexcept {
  return std::atomic_ref<std::int32_t>(const_cast<std::int32_t&>(cEffect.initialDelay))
      .load(std::memory_order_relaxed);
}

void AudioEffect::setSampleRate(float newRate) {
  if (isSampleRate(static_cast<double>(newRate)))
    sampleRate.store(newRate, std::memory_order_relaxed);
}

void AudioEffect::setBlockSize(std::int32_t newBlockSize) {
  if (newBlockSize > 0) blockSize.store(newBlockSize, std::memory_order_relaxed);
}

void AudioEffect::setFlag(std::int32_t flag, bool state) noexcept {
  cEffect.flags = state ? cEffect.flags | flag : cEffect.flags & ~flag;
}

void AudioEffect::setEditor(std::unique_ptr<AEffEditor> newEditor) {
  ownedEditor = std::move(newEditor);
  setFlag(kEffectHasEditor, ownedEditor != nullptr);
}

std::intptr_t AudioEffect::dispatcher(std::int32_t opcode, std::int32_t index, std::intptr_t value,
                                      void* ptr, float opt) {
  switch (opcode) {
    case kEffectOpen:
      open();
      return 0;
    case kEffectClose:
      close();
      return 0;
    case kEffectSetProgram:
      if (fitsInt32(value)) setProgram(static_cast<std::int32_t>(value));
      return 0;
    case kEffectGetProgram:
      return getProgram();
    case kEffectSetSampleRate:
      setSampleRate(opt);
      return 0;
    case kEffectSetBlockSize:
      if (fitsInt32(value)) setBlockSize(static_cast<std::int32_t>(value));
      return 0;
    case kEffectMainsChanged:
      value != 0 ? resume() : suspend();
      return 0;
    case kEffectGetChunk:
      return ptr != nullptr ? getChunk(static_cast<void**>(ptr), index != 0) : 0;
    case kEffectSetChunk:
      if (ptr == nullptr || value <= 0 || !fitsInt32(value)) return 0;
      return setChunk(ptr, static_cast<std::int32_t>(value), index != 0);
    case kEffectEditGetRect:
    case kEffectEditOpen:
    case kEffectEditClose:
    case kEffectEditIdle:
      return dispatchEditor(opcode, ptr);
    case kEffectEditKeyDown:
    case kEffectEditKeyUp:
      return dispatchKey(opcode, {index, byteOf(value), byteOf(opt)});
    default:
      return dispatchText(opcode, index, static_cast<char*>(ptr));
  }
}

std::intptr_t AudioEffect::dispatchEditor(std::int32_t opcode, void* ptr) {
  AEffEditor* const editor = getEditor();
  if (editor == nullptr) return 0;
  switch (opcode) {
    case kEffectEditGetRect:
      return ptr != nullptr && editor->getRect(static_cast<ERect**>(ptr)) ? 1 : 0;
    case kEffectEditOpen:
      return editor->open(ptr) ? 1 : 0;
    case kEffectEditClose:
      editor->close();
      return 0;
    default:
      editor->idle();
      return 0;
  }
}

std::intptr_t AudioEffect::dispatchKey(std::int32_t opcode, const VstKeyCode& key) {
  AEffEditor* const editor = getEditor();
  if (editor == nullptr) return 0;
  const bool taken = opcode == kEffectEditKeyDown ? editor->onKeyDown(key) : editor->onKeyUp(key);
  return taken ? 1 : 0;
}

std::intptr_t AudioEffect::dispatchText(std::int32_t opcode, std::int32_t index, char* text) {
  if (text == nullptr) return 0;
  switch (opcode) {
    case kEffectSetProgramName:
      setProgramName(text);
      break;
    case kEffectGetProgramName:
      getProgramName(text);
      break;
    case kEffectGetParameterLabel:
      getParameterLabel(index, text);
      break;
    case kEffectGetParameterDisplay:
      getParameterDisplay(index, text);
      break;
    case kEffectGetParameterName:
      getParameterName(index, text);
      break;
    default:
      break;
  }
  return 0;
}
