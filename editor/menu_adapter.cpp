#include "editor/menu_adapter.h"

#include <cstddef>
#include <utility>

namespace {

using Entries = std::vector<Menu::Entry>;

void fill(COptionMenu& shown, const Entries& entries) {
  shown.removeAllEntry();
  for (const Menu::Entry& entry : entries) {
    CMenuItem* item = nullptr;
    if (entry.isSubmenu) {
      auto* const submenu = new COptionMenu(ControlSetup{});
      item = shown.addEntry(submenu, entry.text);
      fill(*submenu, entry.submenu);
    } else if (entry.isSeparator()) {
      item = shown.addSeparator();
    } else {
      item = shown.addEntry({});
      item->title = entry.text;  // apart: a text that begins with `-` makes no separator
    }
    item->isEnabled = entry.enabled;
    item->isChecked = entry.checked;
  }
}

/// What `menu`, which is `shown` or a menu in it, shows; null for none of them.
const Entries* entriesOf(COptionMenu& shown, const COptionMenu* menu, const Entries& entries) {
  if (&shown == menu) return &entries;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    COptionMenu* const submenu = shown.getSubMenu(static_cast<int>(i));
    if (submenu == nullptr) continue;
    if (const Entries* const found = entriesOf(*submenu, menu, entries[i].submenu)) return found;
  }
  return nullptr;
}

/// Lives while it is open.
class OpenMenu : public COptionMenu {
 public:
  explicit OpenMenu(Menu shown) : COptionMenu(ControlSetup{}), menu(std::move(shown)) {
    fillMenu(*this, menu);
  }

  void valueChanged() override {
    if (const Menu::Entry* const entry = chosenEntry(*this, menu)) entry->choose();
  }

 private:
  const Menu menu;
};

}  // namespace

void fillMenu(COptionMenu& shown, const Menu& menu) { fill(shown, menu.entries); }

const Menu::Entry* chosenEntry(COptionMenu& shown, const Menu& menu) {
  const Entries* const entries = entriesOf(shown, shown.getLastItemMenu(), menu.entries);
  const auto index = static_cast<std::size_t>(shown.getLastResult());
  return entries != nullptr && index < entries->size() ? &(*entries)[index] : nullptr;
}

void popupMenu(CFrame& frame, CPoint where, Menu menu) {
  if (menu.entries.empty()) return;
  Held<OpenMenu>::adopt(new OpenMenu(std::move(menu)))->popup(frame, where);
}
