#include "host/parameter_input.h"

#include <algorithm>
#include <cmath>

#include "host/aeff_editor.h"
#include "host/shared_value.h"
#include "platform/index.h"

namespace {

float clamped(float normalised) noexcept { return std::clamp(normalised, 0.0F, 1.0F); }

/// A state is being applied while it lives; its end is that of any load around it, too.
class LoadScope {
 public:
  explicit LoadScope(std::atomic<bool>& loading) noexcept
      : mark(loading), wasLoading(mark.exchange(true)) {}
  ~LoadScope() { mark.store(false); }
  LoadScope(const LoadScope&) = delete;
  LoadScope& operator=(const LoadScope&) = delete;

 private:
  std::atomic<bool>& mark;

 public:
  const bool wasLoading;
};

}  // namespace

ParameterInput::ParameterInput(ParameterStore& store, HostLink& hostLink, EngineLink& engineLink,
                               const ParameterRules& whoFollows, const Editor& shownBy,
                               std::atomic<bool>& changeMark)
    : values(store),
      host(hostLink),
      engine(engineLink),
      rules(whoFollows),
      editor(shownBy),
      stateChanged(changeMark),
      audioChanged(at(store.count())) {}

void ParameterInput::set(std::int32_t index, float normalised) {
  const ParameterTargets targets = rules.targetsOf(index);
  // A value that the host merely sends back has already gone through the links.
  if (targets.count > 0 && host.isEcho(index, normalised)) {
    put(index, normalised);
    return;
  }
  for (const std::int32_t each : targets) put(each, normalised);
}

void ParameterInput::put(std::int32_t index, float normalised) {
  if (!values.contains(index) || std::isnan(normalised)) return;
  const float value = clamped(normalised);
  if (const std::int32_t bank = bankSwitchedTo(index, value); bank >= 0) {
    switchBank(bank);
  } else {
    values.store(index, value);
    engine.parameterChanged(index);
    engine.update(false);
  }
  show(index, value);
  // After the write: whoever clears the mark and then reads the values must not miss this one.
  markChanged();
}

void ParameterInput::show(std::int32_t index, float normalised) {
  if (editor != nullptr) editor->setParameter(index, normalised);
}

std::int32_t ParameterInput::bankSwitchedTo(std::int32_t index, float normalised) const noexcept {
  return isLoading.load() ? -1 : values.bankSwitchedTo(index, normalised);
}

void ParameterInput::automate(std::int32_t index, float normalised) {
  // A value that is ignored must not be told to the host either.
  if (!values.contains(index) || std::isnan(normalised)) return;
  if (rules.targetsOf(index).count == 0) return;
  const float value = clamped(normalised);
  set(index, value);
  host.tell(kHostAutomate, index, 0, nullptr, value);
}

void ParameterInput::align(std::int32_t index) {
  const float normalised = values.normalised(index);
  for (const std::int32_t each : rules.targetsOf(index)) put(each, normalised);
}

void ParameterInput::setFromAudio(std::int32_t index, float normalised) noexcept {
  for (const std::int32_t each : rules.targetsOf(index)) putFromAudio(each, normalised);
}

void ParameterInput::putFromAudio(std::int32_t index, float normalised) noexcept {
  if (!values.contains(index) || std::isnan(normalised)) return;
  const float value = clamped(normalised);
  if (const std::int32_t bank = bankSwitchedTo(index, value); bank >= 0) {
    switchBankFromAudio(bank);
  } else {
    values.store(index, value);
    engine.parameterChanged(index);
  }
  audioChanged[at(index)].store(true, std::memory_order_relaxed);
  audioChangedValues.store(true, std::memory_order_release);
  markChanged();
}

void ParameterInput::switchBankFromAudio(std::int32_t bank) noexcept {
  engine.everythingReplaced();
  values.selectBank(bank);
  values.snapBank(bank);
  for (std::int32_t i = 0; i < values.count(); ++i) {
    if (i != values.bankSelector()) setFromAudio(i, values.bankValue(bank, i));
  }
  engine.everythingReplaced();  // an update that came in between has taken some of them
  audioBankSwitch.store(bank);
}

void ParameterInput::makeUpForAudio() {
  if (!audioChangedValues.exchange(false, std::memory_order_acquire)) return;
  const bool bankSwitched = audioBankSwitch.exchange(-1) >= 0;
  if (bankSwitched) {
    const UpdateHold hold(engine);
    tellReplaced();
    engine.update(true);
  } else {
    engine.update(false);  // a hold would keep the next values from the audio thread
  }
  const bool tellsHost = bankSwitched && tellsBanks.load(std::memory_order_relaxed);
  for (std::int32_t i = 0; i < values.count(); ++i) {
    if (!audioChanged[at(i)].exchange(false, std::memory_order_relaxed)) continue;
    if (tellsHost && i != values.bankSelector()) host.tellInGesture(i);
    show(i, values.normalised(i));
  }
}

void ParameterInput::applyProgram(std::int32_t program) {
  if (!values.isProgram(program)) return;
  const HostLink::StateScope scope(host);
  {
    const LoadScope load(isLoading);  // not while the host, which may answer at once, is told
    values.selectProgram(program);
    const UpdateHold hold(engine);
    for (std::int32_t i = 0; i < values.count(); ++i) {
      if (i == values.bankSelector() && !load.wasLoading) continue;
      set(i, loadShared(values.program().values[at(i)]));
    }
    tellReplaced();
  }
  host.tellProgramChanged();
}

void ParameterInput::applyBank(std::int32_t bank, bool tellsHost) {
  if (!ParameterStore::isBank(bank)) return;
  const HostLink::StateScope scope(host);
  const LoadScope load(isLoading);
  values.selectBank(bank);
  values.snapBank(bank);
  const auto forEach = [this](const auto& each) {
    for (std::int32_t i = 0; i < values.count(); ++i) {
      if (i != values.bankSelector()) each(i);
    }
  };
  {
    const UpdateHold hold(engine);
    forEach([&](std::int32_t i) { set(i, values.bankValue(bank, i)); });
    tellReplaced();
    if (tellsHost) forEach([&](std::int32_t i) { host.tellInGesture(i); });
    engine.update(true);
  }
  forEach([&](std::int32_t i) { show(i, values.bankValue(bank, i)); });
  markChanged();
}

void ParameterInput::copyToBank(std::int32_t bank) {
  if (!ParameterStore::isBank(bank)) return;
  const HostLink::StateScope scope(host);
  values.copyToBank(bank);
  markChanged();
}
