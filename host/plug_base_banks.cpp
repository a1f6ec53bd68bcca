// Banks A to H.

#include "host/aeff_editor.h"
#include "host/plug_base.h"
#include "host/shared_value.h"

namespace {

std::size_t at(std::int32_t index) noexcept { return static_cast<std::size_t>(index); }

bool isBank(std::int32_t bank) noexcept { return bank >= 0 && bank < PlugBase::kNumBanks; }

}  // namespace

bool PlugBase::isBankSwitch(std::int32_t index, float normalised) const noexcept {
  if (index != abParameter || isLoading.load()) return false;
  const std::int32_t bank = bankOf(normalised);
  return isBank(bank) && bank != curBank.load(relaxed);
}

/// The bank that a value of the selector means.
std::int32_t PlugBase::bankOf(float normalised) const noexcept {
  return static_cast<std::int32_t>(normalisedToPlain(abParameter, normalised));
}

void PlugBase::selectBank(std::int32_t bank) noexcept {
  curBank.store(bank, relaxed);
  if (!isParameter(abParameter)) return;
  const auto plain = static_cast<float>(bank);
  storeShared(parameters[at(abParameter)].value, plain);
  storeShared(parameters[at(abParameter)].normalised, plainToNormalised(abParameter, plain));
}

/// Brings stored values to where their curves would put them.
void PlugBase::snapBank(std::int32_t bank) noexcept {
  for (std::int32_t i = 0; i < parameterCount(); ++i) {
    float& stored = banks[at(bank)].values[at(i)];
    storeShared(stored, plainToNormalised(i, normalisedToPlain(i, loadShared(stored))));
  }
}

float PlugBase::bankValue(std::int32_t bank, std::int32_t index) const noexcept {
  return loadShared(banks[at(bank)].values[at(index)]);
}

void PlugBase::switchBank(std::int32_t bank) {
  applyBank(bank, notifyAllOnBankSwitch.load(relaxed));
}

void PlugBase::applyBank(std::int32_t bank, bool tellsHost) {
  if (!isBank(bank)) return;
  const StateScope scope(*this);
  isLoading.store(true);
  selectBank(bank);
  snapBank(bank);
  {
    const UpdateBatch batch(*this);
    for (std::int32_t i = 0; i < parameterCount(); ++i) {
      if (i != abParameter) setParameter(i, bankValue(bank, i));
    }
    valuesReplaced();
    for (std::int32_t i = 0; tellsHost && i < parameterCount(); ++i) {
      if (i != abParameter) tellInGesture(i);
    }
    updateDsp(true);
  }
  if (AEffEditor* const editor = getEditor()) {
    for (std::int32_t i = 0; i < parameterCount(); ++i) {
      if (i != abParameter) editor->setParameter(i, bankValue(bank, i));
    }
  }
  isLoading.store(false);
}

void PlugBase::switchBankFromAudio(std::int32_t bank) noexcept {
  selectBank(bank);
  snapBank(bank);
  for (std::int32_t i = 0; i < parameterCount(); ++i) {
    if (i != abParameter) setParameterFromAudio(i, bankValue(bank, i));
  }
  audioBankSwitch.store(bank);
}

void PlugBase::copyToBank(std::int32_t bank) {
  if (!isBank(bank)) return;
  const StateScope scope(*this);
  for (std::int32_t i = 0; i < parameterCount(); ++i) {
    storeShared(banks[at(bank)].values[at(i)], getParameter(i));
  }
}
