#include "toolkit/popup_menu.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/frame.h"
#include "toolkit/look.h"
#include "toolkit/utf8.h"

namespace {

constexpr float kEdge = 2.0F;     // kept free at the window's edges
constexpr float kOverlap = 3.0F;  // of a submenu over the menu it belongs to
constexpr float kShadow = 8.0F;
constexpr float kDragDistance = 4.0F;
constexpr std::uint64_t kScrollMs = 40;

CRect grown(const CRect& rect) { return rect.inset(-kShadow, -kShadow); }

CRect windowOf(const CFrame& frame) {
  return CRect{0.0F, 0.0F, frame.getSize().width(), frame.getSize().height()}.inset(kEdge, kEdge);
}

/// The corner of a box of this size that keeps it in the window, if it can be.
CPoint keptInside(CPoint corner, const CRect& box, const CRect& window) {
  return {std::max(window.left, std::min(corner.x, window.right - box.width())),
          std::max(window.top, std::min(corner.y, window.bottom - box.height()))};
}

}  // namespace

PopupMenu::PopupMenu(std::vector<MenuEntry> shown, const Place& where, Answer taker)
    : CView({}), entries(std::move(shown)), place(where), answer(std::move(taker)) {}

PopupMenu::~PopupMenu() = default;

void PopupMenu::open(CFrame& frame, std::vector<MenuEntry> entries, const Place& place,
                     Answer answer) {
  if (!frame.isOpen() || entries.empty()) {
    if (answer) answer({});
    return;
  }
  const Held<PopupMenu> menu =
      Held<PopupMenu>::adopt(new PopupMenu(std::move(entries), place, std::move(answer)));
  menu->openedAt = menu->lastMouse = frame.getCurrentMouseLocation();
  menu->placeFirst(windowOf(frame));
  frame.pushModalView(menu.get());
}

void PopupMenu::placeFirst(const CRect& window) {
  panels.push_back(std::make_unique<MenuPanel>(entries));
  MenuPanel& panel = *panels.back();
  panel.fitInto(window);
  CPoint corner{place.anchor.left, place.anchor.bottom};
  if (panel.entry(place.over) != nullptr) {
    panel.reveal(place.over);
    const CRect row = panel.rowPlace(place.over);
    corner.y = place.anchor.centre().y - (row.centre().y - panel.place().top);
    panel.setHot(place.over);
  } else if (corner.y + panel.place().height() > window.bottom) {
    const float above = place.anchor.top - window.top;
    if (above > window.bottom - place.anchor.bottom) {
      corner.y = place.anchor.top - panel.place().height();
    }
  }
  panel.moveTo(keptInside(corner, panel.place(), window));
  fitSize();
}

void PopupMenu::attached(CViewContainer& holder) {
  CView::attached(holder);
  if (NativeWindow* const window = getFrame()->window()) window->grabMouse(true);
  getFrame()->wantIdle(*this, true);
}

void PopupMenu::removed() {
  const Held<PopupMenu> stays(this);
  if (getFrame() != nullptr && getFrame()->window() != nullptr) {
    getFrame()->window()->grabMouse(false);
  }
  CView::removed();
  if (const Answer told = std::exchange(answer, nullptr)) told({});
}

void PopupMenu::fitSize() {
  CRect whole = grown(panels.front()->place());
  for (const auto& panel : panels) {
    const CRect own = grown(panel->place());
    whole = {std::min(whole.left, own.left), std::min(whole.top, own.top),
             std::max(whole.right, own.right), std::max(whole.bottom, own.bottom)};
  }
  setViewSize(whole);
  setMouseableArea(whole);
}

void PopupMenu::changed() { invalid(); }

void PopupMenu::openSubmenu(std::size_t level, int row) {
  closeAfter(level);
  const MenuPanel& holder = *panels[level];
  const MenuEntry* const entry = holder.entry(row);
  if (entry == nullptr || !entry->isSubmenu || !entry->isEnabled || entry->entries.empty()) return;
  const CRect window = windowOf(*getFrame());
  auto panel = std::make_unique<MenuPanel>(entry->entries);
  panel->fitInto(window);
  const CRect from = holder.place();
  CPoint corner{from.right - kOverlap, holder.rowPlace(row).top - MenuPanel::kInside};
  if (corner.x + panel->place().width() > window.right) {
    const float flipped = from.left + kOverlap - panel->place().width();
    if (flipped >= window.left || from.left > window.right - from.right) corner.x = flipped;
  }
  panel->moveTo(keptInside(corner, panel->place(), window));
  panels.push_back(std::move(panel));
  fitSize();
}

void PopupMenu::closeAfter(std::size_t level) {
  if (panels.size() <= level + 1) return;
  panels.resize(level + 1);
  keyLevel = std::min(keyLevel, level);
  fitSize();
}

void PopupMenu::draw(CDrawContext& context) {
  for (const auto& panel : panels) panel->draw(context);
  setDirty(false);
}

int PopupMenu::levelAt(CPoint where) const {
  for (std::size_t i = panels.size(); i-- > 0;) {
    if (panels[i]->place().contains(where)) return static_cast<int>(i);
  }
  return MenuPanel::kNone;
}

void PopupMenu::pointAt(CPoint where) {
  lastMouse = where;
  const int found = levelAt(where);
  if (found == MenuPanel::kNone) {
    if (panels.back()->setHot(MenuPanel::kNone)) changed();
    return;
  }
  const auto level = static_cast<std::size_t>(found);
  MenuPanel& panel = *panels[level];
  const int row = panel.rowAt(where);
  keyLevel = level;
  for (std::size_t deeper = level + 1; deeper < panels.size(); ++deeper) {
    if (panels[deeper]->setHot(MenuPanel::kNone)) changed();
  }
  if (row < 0 || !panel.setHot(row)) return;
  openSubmenu(level, panel.hot());
  changed();
}

CMouseEventResult PopupMenu::onMouseMoved(CPoint where, CButtonState buttons) {
  const CPoint moved = where - openedAt;
  const bool drags = std::hypot(moved.x, moved.y) > kDragDistance;
  if (place.isPressed && buttons.buttons() != 0 && drags) canRelease = true;
  pointAt(where);
  return kMouseEventHandled;
}

CMouseEventResult PopupMenu::onMouseDown(CPoint where, CButtonState /*buttons*/) {
  const Held<PopupMenu> stays(this);
  place.isPressed = false;
  if (levelAt(where) == MenuPanel::kNone) {
    finish({});
    return kMouseEventHandled;
  }
  pointAt(where);
  canRelease = true;
  return kMouseEventHandled;
}

CMouseEventResult PopupMenu::onMouseUp(CPoint where, CButtonState /*buttons*/) {
  const Held<PopupMenu> stays(this);
  const bool chooses = std::exchange(canRelease, false);
  place.isPressed = false;
  if (!chooses) return kMouseEventHandled;
  const int level = levelAt(where);
  if (level == MenuPanel::kNone) {
    finish({});
  } else {
    pointAt(where);
    choose(static_cast<std::size_t>(level), panels[static_cast<std::size_t>(level)]->rowAt(where));
  }
  return kMouseEventHandled;
}

void PopupMenu::onMouseExited() {
  lastMouse = {-1.0F, -1.0F};
  if (panels.back()->setHot(MenuPanel::kNone)) changed();
}

bool PopupMenu::onWheel(CPoint where, float steps, CButtonState /*buttons*/) {
  const int level = levelAt(where);
  if (level == MenuPanel::kNone) return true;
  wheelRest -= steps * look::kRowsPerWheelStep;
  const float whole = std::trunc(wheelRest);
  wheelRest -= whole;
  if (!panels[static_cast<std::size_t>(level)]->scroll(static_cast<int>(whole))) return true;
  closeAfter(static_cast<std::size_t>(level));
  panels.back()->setHot(MenuPanel::kNone);
  pointAt(where);
  changed();
  return true;
}

void PopupMenu::onIdle() {
  const int level = levelAt(lastMouse);
  if (level == MenuPanel::kNone) return;
  MenuPanel& panel = *panels[static_cast<std::size_t>(level)];
  const int under = panel.rowAt(lastMouse);
  if (under != MenuPanel::kUpArrow && under != MenuPanel::kDownArrow) return;
  const std::uint64_t now = getFrame()->now();
  if (now < scrolledAt + kScrollMs) return;
  scrolledAt = now;
  if (!panel.scroll(under == MenuPanel::kUpArrow ? -1 : 1)) return;
  closeAfter(static_cast<std::size_t>(level));
  changed();
}

void PopupMenu::choose(std::size_t level, int row) {
  const MenuEntry* const entry = panels[level]->entry(row);
  if (entry == nullptr || !entry->isOfUse()) return;
  if (entry->isSubmenu) {
    openSubmenu(level, row);
    changed();
    return;
  }
  Path path;
  for (std::size_t i = 0; i < level; ++i)
    path.push_back(static_cast<std::size_t>(panels[i]->hot()));
  path.push_back(static_cast<std::size_t>(row));
  finish(path);
}

void PopupMenu::finish(const Path& path) {
  const Held<PopupMenu> stays(this);
  const Answer told = std::exchange(answer, nullptr);
  if (getFrame() != nullptr) getFrame()->popModalView(this);
  if (told) told(path);
}

bool PopupMenu::onKeyDown(const KeyEvent& key) {
  const Held<PopupMenu> stays(this);
  const bool isTyping = !typed.empty() && getFrame()->now() < typedAt + look::kTypeAheadMs;
  const bool isSpace = key.key == Key::kSpace || key.text == " ";
  if (key.key == Key::kReturn || key.key == Key::kEnter || (isSpace && !isTyping)) {
    enter();
  } else if (key.key == Key::kEscape) {
    finish({});
  } else if (isSpace) {
    typeAhead(" ");
  } else if (!moveKey(key.key) && !key.text.empty() && !key.modifiers.has(kControl) &&
             !key.modifiers.has(kAlt)) {
    typeAhead(key.text);
  }
  return true;
}

void PopupMenu::moveTo(int row) {
  if (row == MenuPanel::kNone) return;
  MenuPanel& panel = *panels[keyLevel];
  closeAfter(keyLevel);
  panel.reveal(row);
  panel.setHot(row);
  changed();
}

bool PopupMenu::moveKey(Key key) {
  MenuPanel& panel = *panels[keyLevel];
  const int last = static_cast<int>(panel.rows().size()) - 1;
  const int here = panel.hot();
  const auto page = [&](int by) {
    const int wanted = std::clamp(std::max(here, 0) + by, 0, last);
    const int forward = panel.firstOfUse(wanted, by);
    return forward != MenuPanel::kNone ? forward : panel.firstOfUse(wanted, -by);
  };
  switch (key) {
    case Key::kUp:
      moveTo(panel.neighbour(here, -1));
      return true;
    case Key::kDown:
      moveTo(panel.neighbour(here, 1));
      return true;
    case Key::kHome:
      moveTo(panel.firstOfUse(0, 1));
      return true;
    case Key::kEnd:
      moveTo(panel.firstOfUse(last, -1));
      return true;
    case Key::kPageUp:
      moveTo(page(-panel.pageRows()));
      return true;
    case Key::kPageDown:
      moveTo(page(panel.pageRows()));
      return true;
    case Key::kRight:
      if (panel.entry(here) != nullptr && panel.entry(here)->isSubmenu) enter();
      return true;
    case Key::kLeft:
      if (keyLevel > 0) closeAfter(--keyLevel);
      changed();
      return true;
    default:
      return false;
  }
}

/// Into a submenu, with its first row hot; else chooses.
void PopupMenu::enter() {
  const int row = panels[keyLevel]->hot();
  const MenuEntry* const entry = panels[keyLevel]->entry(row);
  if (entry == nullptr) return;
  if (!entry->isSubmenu) {
    choose(keyLevel, row);
    return;
  }
  openSubmenu(keyLevel, row);
  changed();
  if (panels.size() <= keyLevel + 1) return;
  ++keyLevel;
  moveTo(panels[keyLevel]->firstOfUse(0, 1));
}

void PopupMenu::typeAhead(const std::string& text) {
  const std::uint64_t now = getFrame()->now();
  if (now >= typedAt + look::kTypeAheadMs) typed.clear();
  typedAt = now;
  const std::string added = lowerCase(text);
  const MenuPanel& panel = *panels[keyLevel];
  // The same letter again goes to the next entry of that letter.
  const bool isRepeated = typed == added;
  if (!isRepeated) typed += added;
  const bool isNew = typed == added;
  moveTo(panel.find(typed, panel.hot() + (isNew || isRepeated ? 1 : 0)));
}
