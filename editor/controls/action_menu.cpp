#include "editor/controls/action_menu.h"

#include <memory>
#include <utility>
#include <vector>

#include "toolkit/frame.h"
#include "toolkit/popup_menu.h"

namespace {

std::vector<MenuEntry> shownRows(const std::vector<Menu::Entry>& entries) {
  std::vector<MenuEntry> shown;
  shown.reserve(entries.size());
  for (const Menu::Entry& entry : entries) {
    MenuEntry row{entry.text, entry.isSeparator(), entry.enabled, entry.checked, entry.isSubmenu};
    row.entries = shownRows(entry.submenu);
    shown.push_back(std::move(row));
  }
  return shown;
}

void choosePath(const std::vector<Menu::Entry>& entries, const PopupMenu::Path& path) {
  const std::vector<Menu::Entry>* level = &entries;
  for (std::size_t i = 0; i + 1 < path.size(); ++i) level = &(*level)[path[i]].submenu;
  (*level)[path.back()].choose();
}

void openIn(CFrame& frame, Held<CView> owner, Menu menu, const PopupMenu::Place& where) {
  if (menu.entries.empty()) return;
  std::vector<MenuEntry> shown = shownRows(menu.entries);
  PopupMenu::open(frame, std::move(shown), where,
                  [stays = std::move(owner), actions = std::make_shared<const Menu>(
                                                 std::move(menu))](const PopupMenu::Path& path) {
                    if (!path.empty() && stays->getFrame() != nullptr) {
                      choosePath(actions->entries, path);
                    }
                  });
}

}  // namespace

void openActionMenu(CView& owner, Menu menu, const CRect& place, bool isPressed) {
  CFrame* const frame = owner.getFrame();
  if (frame == nullptr) return;
  PopupMenu::Place where{owner.localToFrame(place)};
  where.isPressed = isPressed;
  openIn(*frame, Held<CView>(&owner), std::move(menu), where);
}

void openActionMenu(CFrame& frame, CPoint where, Menu menu) {
  const CRect place{where.x, where.y, where.x, where.y};
  openIn(frame, Held<CView>(&frame), std::move(menu), PopupMenu::Place{place});
}
