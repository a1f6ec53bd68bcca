#include "editor/controls/setup_window.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "toolkit/look.h"

namespace {

constexpr std::array<const char*, 4> kPages = {"Processing", "UI Prefs", "Global Prefs", "About"};
constexpr int kLast = static_cast<int>(kPages.size()) - 1;
constexpr float kListTop = 8.0F;
constexpr float kPageRowHeight = 30.0F;
constexpr float kPageTextLeft = 15.0F;
constexpr float kVersionTop = 321.0F;
constexpr CColor kHotPage = CColor::rgb(0xFFFFFF, 13);

}  // namespace

SetupWindow::SetupWindow(const ControlSetup& setup, std::string shownVersion)
    : CControl(setup), version(std::move(shownVersion)) {
  setMax(static_cast<float>(kLast));
}

CRect SetupWindow::rowPlace(int row) const {
  const float top = size.top + kListTop + static_cast<float>(row) * kPageRowHeight;
  return {size.left + 1.0F, top, size.right, top + kPageRowHeight};
}

int SetupWindow::rowAt(CPoint where) const {
  for (int row = 0; row <= kLast; ++row) {
    if (rowPlace(row).contains(where)) return row;
  }
  return kNone;
}

void SetupWindow::draw(CDrawContext& context) {
  for (int row = 0; row <= kLast; ++row) {
    const CRect place = rowPlace(row);
    const bool isShown = static_cast<float>(row) == getValue();
    if (isShown) {
      context.fillRect(place, look::kChosenRow);
      const float width = isFocused ? 4.0F : 2.0F;
      context.fillRect({place.left, place.top, place.left + width, place.bottom}, look::kLit);
    } else if (row == hot) {
      context.fillRect(place, kHotPage);
    }
    const CColor colour = isShown || row == hot ? look::kText : look::kLabel;
    const TextStyle style = look::bold(look::kTextSize, colour);
    const CRect room{size.left + kPageTextLeft, place.top, place.right, place.bottom};
    const auto* const name = kPages[static_cast<std::size_t>(row)];
    context.drawTextCached(look::cutTo(room.width(), style, name), room, style);
  }
  context.drawTextCached(version,
                         {size.left + kPageTextLeft, size.top + kVersionTop, size.right,
                          size.top + kVersionTop + 16.0F},
                         look::regular(look::kSmallTextSize, look::kLabel));
  setDirty(false);
}

void SetupWindow::goTo(int page) { changeValue(static_cast<float>(std::clamp(page, 0, kLast))); }

CMouseEventResult SetupWindow::onMouseDown(CPoint where, CButtonState buttons) {
  const int row = rowAt(where);
  if (!buttons.isLeft() || row == kNone) return kMouseEventNotHandled;
  getFrame()->setFocusView(this);
  goTo(row);
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

CMouseEventResult SetupWindow::onMouseMoved(CPoint where, CButtonState /*buttons*/) {
  const int row = rowAt(where);
  if (std::exchange(hot, row) != row) setDirty();
  return kMouseEventNotHandled;
}

void SetupWindow::onMouseExited() {
  if (std::exchange(hot, kNone) != kNone) setDirty();
}

bool SetupWindow::onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) {
  return false;
}

bool SetupWindow::onKeyDown(const KeyEvent& key) {
  const int page = static_cast<int>(getValue());
  switch (key.key) {
    case Key::kUp:
      goTo(page - 1);
      return true;
    case Key::kDown:
      goTo(page + 1);
      return true;
    case Key::kHome:
      goTo(0);
      return true;
    case Key::kEnd:
      goTo(kLast);
      return true;
    default:
      return false;
  }
}

void SetupWindow::takeFocus() {
  isFocused = true;
  setDirty();
}

void SetupWindow::looseFocus() {
  isFocused = false;
  setDirty();
}
