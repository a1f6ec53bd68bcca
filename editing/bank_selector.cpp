#include "editing/bank_selector.h"

#include "editing/edited_parameters.h"
#include "editing/parameter_ids.h"
#include "host/editor_state.h"
#include "host/parameter_store.h"

namespace {

std::uint32_t bit(std::int32_t number) noexcept { return 1U << static_cast<std::uint32_t>(number); }

}  // namespace

bool BankSelector::choose(std::int32_t bank) {
  if (!ParameterStore::isBank(bank)) return false;
  editor.visitedBanks = editor.visitedBanks | bit(bank);
  editor.lastAB = parameters.currentBank();
  apply(bank);
  return showActiveBand();
}

void BankSelector::toggle(AbToggleMode mode) {
  if (mode == AbToggleMode::kMidiLearn) return;
  const std::int32_t target =
      mode == AbToggleMode::kVisited ? nextVisited() : std::int32_t{editor.lastAB};
  // The last bank may be any number, since documents store it.
  if (!ParameterStore::isBank(target)) return;
  const std::int32_t current = parameters.currentBank();
  apply(target);
  editor.lastAB = current;
}

void BankSelector::copyTo(std::int32_t bank) { parameters.copyToBank(bank); }

void BankSelector::apply(std::int32_t bank) {
  editPlain(parameters, kABBank, static_cast<float>(bank));
  editor.bankStale = true;
  parameters.markChanged();
}

std::int32_t BankSelector::nextVisited() {
  std::int32_t bank = parameters.currentBank();
  const std::uint32_t visited = editor.visitedBanks | bit(bank);
  editor.visitedBanks = visited;
  do bank = (bank + 1) % ParameterStore::kNumBanks;
  while ((visited & bit(bank)) == 0);
  return bank;
}

bool BankSelector::isActive(int band) const {
  return parameters.getPlain(bandParameterId(band, kB1State)) != 0.0F;
}

bool BankSelector::showActiveBand() {
  if (isActive(editor.currentBand)) return false;
  for (int band = 0; band < kNumBands; ++band) {
    if (!isActive(band)) continue;
    editor.currentBand = band;
    editor.selectedBands = bit(band);
    editor.shownBands = bit(band);
    return true;
  }
  return false;
}
