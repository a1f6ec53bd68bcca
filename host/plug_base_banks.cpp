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
  const auto bank = static_cast<std::int32_t>(normalisedToPlain(index, normalised));
  return isBank(bank) && bank != curBank.load(relaxed);
}

/// Stores the bank selector at its step and returns that bank.
std::int32_t PlugBase::takeBankParameter(float normalised) noexcept {
  const auto bank = static_cast<std::int32_t>(normalisedToPlain(abParameter, normalised));
  const auto plain = static_cast<float>(bank);
  storeShared(parameters[at(abParameter)].value, plain);
  storeShared(parameters[at(abParameter)].normalised, plainToNormalised(abParameter, plain));
  return bank;
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
  if (!isBank(bank)) return;
  const StateScope scope(*this);
  isLoading.store(true);
  curBank.store(bank, relaxed);
  snapBank(bank);
  {
    const UpdateBatch batch(*this);
    const bool tellsHost = notifyAllOnBankSwitch.load(relaxed);
    for (std::int32_t i = 0; i < parameterCount(); ++i) {
      if (i == abParameter) continue;
      setParameter(i, bankValue(bank, i));
      if (tellsHost) tellAutomated(i);
    }
  }
  if (AEffEditor* const editor = getEditor()) {
    for (std::int32_t i = 0; i < parameterCount(); ++i) {
      if (i != abParameter) editor->setParameter(i, bankValue(bank, i));
    }
  }
  isLoading.store(false);
  updateDsp(true);
}

void PlugBase::switchBankFromAudio(std::int32_t bank) noexcept {
  curBank.store(bank, relaxed);
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
