#include "core/bank_selector.h"

#include "core/plug.h"

namespace {

bool isBank(std::int32_t bank) noexcept { return bank >= 0 && bank < Plug::kNumBanks; }

std::uint32_t bit(std::int32_t number) noexcept { return 1U << static_cast<std::uint32_t>(number); }

}  // namespace

bool BankSelector::choose(std::int32_t bank) {
  if (!isBank(bank)) return false;
  EditorState& editor = plug.editorState();
  editor.visitedBanks |= bit(bank);
  editor.lastAB = plug.getCurrentBank();
  apply(bank);
  return showActiveBand();
}

void BankSelector::toggle(AbToggleMode mode) {
  if (mode == AbToggleMode::kMidiLearn) return;
  EditorState& editor = plug.editorState();
  const std::int32_t target =
      mode == AbToggleMode::kVisited ? nextVisited() : std::int32_t{editor.lastAB};
  // A document may name any bank as the last one.
  if (!isBank(target)) return;
  const std::int32_t current = plug.getCurrentBank();
  apply(target);
  editor.lastAB = current;
}

void BankSelector::copyTo(std::int32_t bank) { plug.copyToBank(bank); }

void BankSelector::apply(std::int32_t bank) {
  plug.setParameterWithEdit(kABBank, static_cast<float>(bank));
  plug.editorState().bankStale = true;
  plug.markChanged();
}

std::int32_t BankSelector::nextVisited() {
  std::uint32_t& visited = plug.editorState().visitedBanks;
  std::int32_t bank = plug.getCurrentBank();
  visited |= bit(bank);
  do bank = (bank + 1) % Plug::kNumBanks;
  while ((visited & bit(bank)) == 0);
  return bank;
}

bool BankSelector::isActive(int band) const {
  return plug.getPlainValue(bandParameterId(band, kB1State)) != 0.0F;
}

bool BankSelector::showActiveBand() {
  EditorState& editor = plug.editorState();
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
