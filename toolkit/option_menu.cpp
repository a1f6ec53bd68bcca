#include "toolkit/option_menu.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/frame.h"
#include "toolkit/look.h"
#include "toolkit/popup_menu.h"

COptionMenu::COptionMenu(const ControlSetup& setup, std::int32_t bits)
    : CParamDisplay(setup, bits) {
  setMax(0.0F);
}

CMenuItem* COptionMenu::put(CMenuItem item, int index) {
  if (index > getNbEntries()) return nullptr;
  const auto at = index < 0 ? items.end() : items.begin() + index;
  CMenuItem& added = *items.insert(at, std::move(item));
  setMax(static_cast<float>(std::max(0, getNbEntries() - 1)));
  return &added;
}

CMenuItem* COptionMenu::addEntry(std::string title, int index) {
  if (title.starts_with('-')) return addSeparator(index);
  return put({std::move(title)}, index);
}

CMenuItem* COptionMenu::addEntry(COptionMenu* submenu, std::string title, int index) {
  return put({std::move(title), Held<COptionMenu>::adopt(submenu)}, index);
}

CMenuItem* COptionMenu::addSeparator(int index) {
  CMenuItem separator;
  separator.isSeparator = true;
  return put(std::move(separator), index);
}

void COptionMenu::addEntries(std::string_view fillText) {
  std::string title;
  bool isOpenEnded =
      false;  // an end of the text ends the last entry, too, but makes no further one
  for (std::size_t i = 0; i < fillText.size(); ++i) {
    const bool isPair = fillText.substr(i, 2) == "\\n";
    isOpenEnded = !isPair && fillText[i] != '\n';
    if (isOpenEnded) {
      title += fillText[i];
      continue;
    }
    addEntry(std::exchange(title, {}));
    if (isPair) ++i;
  }
  if (isOpenEnded) addEntry(std::move(title));
}

bool COptionMenu::removeEntry(int index) {
  if (getEntry(index) == nullptr) return false;
  items.erase(items.begin() + index);
  setMax(static_cast<float>(std::max(0, getNbEntries() - 1)));
  return true;
}

void COptionMenu::removeAllEntry() {
  items.clear();
  setMax(0.0F);
}

CMenuItem* COptionMenu::getEntry(int index) noexcept {
  return index >= 0 && index < getNbEntries() ? &items[static_cast<std::size_t>(index)] : nullptr;
}

const CMenuItem* COptionMenu::getEntry(int index) const noexcept {
  return index >= 0 && index < getNbEntries() ? &items[static_cast<std::size_t>(index)] : nullptr;
}

COptionMenu* COptionMenu::getSubMenu(int index) noexcept {
  const CMenuItem* const item = getEntry(index);
  return item != nullptr ? item->submenu.get() : nullptr;
}

bool COptionMenu::checkEntry(int index, bool state) {
  CMenuItem* const item = getEntry(index);
  if (item == nullptr) return false;
  item->isChecked = state;
  return true;
}

bool COptionMenu::checkEntryAlone(int index) {
  for (CMenuItem& item : items) item.isChecked = false;
  return checkEntry(index, true);
}

bool COptionMenu::enableEntry(int index, bool state) {
  CMenuItem* const item = getEntry(index);
  if (item == nullptr) return false;
  item->isEnabled = state;
  return true;
}

bool COptionMenu::isCheckEntry(int index) const noexcept {
  return index >= 0 && index < getNbEntries() && items[static_cast<std::size_t>(index)].isChecked;
}

int COptionMenu::getCurrentIndex() const noexcept {
  return getValue() >= 0.0F && getValue() < static_cast<float>(getNbEntries())
             ? static_cast<int>(getValue())
             : -1;
}

bool COptionMenu::setCurrent(int index) {
  if (getEntry(index) == nullptr || getEntry(index)->isSeparator) return false;
  setValue(static_cast<float>(index));
  return true;
}

void COptionMenu::setValue(float index) {
  CParamDisplay::setValue(std::round(index));
  setDirty();
}

COptionMenu* COptionMenu::getLastItemMenu() noexcept {
  if (lastResult < 0) return nullptr;
  return lastMenu ? lastMenu.get() : this;
}

void COptionMenu::popup() {
  popupAt(getFrame(), localToFrame(getViewSize()), (getStyle() & kPopupStyle) != 0, false);
}

void COptionMenu::popup(CFrame& shownIn, CPoint where) {
  popupAt(&shownIn, {where.x, where.y, where.x, where.y}, false, false);
}

void COptionMenu::removed() {
  wasRemoved = true;
  CParamDisplay::removed();
}

std::vector<MenuEntry> COptionMenu::shownEntries(bool checksCurrent) const {
  std::vector<MenuEntry> shown;
  shown.reserve(items.size());
  for (const CMenuItem& item : items) {
    MenuEntry entry{item.title, item.isSeparator, item.isEnabled, item.isChecked};
    if (item.submenu) {
      entry.isSubmenu = true;
      const bool checks = (item.submenu->getStyle() & kCheckStyle) != 0;
      entry.entries = item.submenu->shownEntries(checks);
    }
    shown.push_back(std::move(entry));
  }
  if (const int current = getCurrentIndex(); checksCurrent && current >= 0) {
    shown[static_cast<std::size_t>(current)].isChecked = true;
  }
  return shown;
}

void COptionMenu::popupAt(CFrame* shownIn, const CRect& anchor, bool isOver, bool isPressed) {
  const Held<COptionMenu> stays(this);
  if (shownIn == nullptr || isOpen) return;
  lastResult = -1;
  lastMenu = {};
  wasRemoved = false;
  beforePopup();
  PopupMenu::Place place{anchor};
  place.over = isOver ? getCurrentIndex() : MenuPanel::kNone;
  place.isPressed = isPressed;
  isOpen = true;
  setDirty();
  PopupMenu::open(*shownIn, shownEntries((getStyle() & kCheckStyle) != 0), place,
                  [stays](const PopupMenu::Path& path) { stays->chosen(path); });
}

void COptionMenu::chosen(const std::vector<std::size_t>& path) {
  isOpen = false;
  setDirty();
  if (path.empty() || wasRemoved) return;
  // The entries may have been changed while the menu was open.
  COptionMenu* menu = this;
  for (std::size_t i = 0; i + 1 < path.size(); ++i) {
    menu = menu->getSubMenu(static_cast<int>(path[i]));
    if (menu == nullptr) return;
  }
  const auto index = static_cast<int>(path.back());
  if (menu->getEntry(index) == nullptr) return;
  if (menu != this) lastMenu = Held<COptionMenu>(menu);
  lastResult = index;
  beginEdit();
  menu->choose(index);
  if (!wasRemoved) valueChanged();
  endEdit();
}

CMouseEventResult COptionMenu::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (buttons.buttons() != kLButton && buttons.buttons() != kRButton) {
    return kMouseEventNotHandled;
  }
  lastButton = buttons;
  popupAt(getFrame(), localToFrame(getViewSize()), (getStyle() & kPopupStyle) != 0, true);
  // The release belongs to the menu.
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool COptionMenu::onKeyDown(const KeyEvent& key) {
  if (key.key != Key::kReturn && key.key != Key::kEnter && key.key != Key::kSpace) return false;
  lastButton = {};
  popup();
  return true;
}

void COptionMenu::draw(CDrawContext& context) {
  setDirty(false);
  if ((getStyle() & kNoDrawStyle) != 0) return;
  if (isOpen && clickedBackground) {
    context.drawBitmap(*clickedBackground, size);
  } else {
    drawBack(context);
  }
  const CMenuItem* const current = getCurrent();
  const CRect room{size.left, size.top, size.right - 11.0F, size.bottom};
  if ((getStyle() & kNoTextStyle) == 0) {
    if (current != nullptr) drawText(context, current->title, room);
    arrow.draw(context, {size.right - 4.0F, size.centre().y + 0.5F}, 9.0F, Icon::kDown,
               getFontColor());
  }
}
