#include "editing/state_menus.h"

#include <cstddef>
#include <string>
#include <utility>

#include "editing/bank_selector.h"
#include "editing/edited_parameters.h"
#include "host/parameter_store.h"
#include "host/preset_files.h"

namespace {

std::string nameOfBank(int bank) { return {static_cast<char>('A' + bank)}; }

Menu menuOf(PresetFiles& files, const PresetMenu& folder, std::string title) {
  Menu menu{std::move(title)};
  for (std::size_t i = 0; i < folder.entries.size(); ++i) {
    const PresetMenu::Entry& entry = folder.entries[i];
    if (entry.submenu) {
      menu.addSubmenu(menuOf(files, *entry.submenu, entry.text));
    } else {
      // By its path: the folders may be read again while the menu is shown.
      menu.add(entry.text, [&files, path = folder.path, index = static_cast<int>(i)] {
        files.choosePreset(path, index);
      });
    }
  }
  return menu;
}

}  // namespace

Menu bankMenu(const EditedParameters& parameters, BankSelector& banks) {
  Menu menu;
  for (int bank = 0; bank < ParameterStore::kNumBanks; ++bank) {
    menu.addChecked(nameOfBank(bank), bank == parameters.currentBank(),
                    [&banks, bank] { banks.choose(bank); });
  }
  return menu;
}

Menu bankCopyMenu(BankSelector& banks) {
  Menu menu;
  for (int bank = 0; bank < ParameterStore::kNumBanks; ++bank) {
    menu.add(nameOfBank(bank), [&banks, bank] { banks.copyTo(bank); });
  }
  return menu;
}

Menu presetMenu(PresetFiles& files) {
  const PresetMenu* const root = files.presetMenu();
  return root != nullptr ? menuOf(files, *root, {}) : Menu{};
}
