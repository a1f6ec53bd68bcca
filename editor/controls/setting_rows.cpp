#include "editor/controls/setting_rows.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <utility>

#include "editor/controls/action_menu.h"
#include "editor/controls/glyph_buttons.h"
#include "toolkit/frame.h"
#include "toolkit/look.h"

namespace {

constexpr CColor kRowName = CColor::rgb(0x9A9A9A);
constexpr CColor kHotRowGround = CColor::rgb(0xFFFFFF, 13);
constexpr CColor kKeyRing = CColor::rgb(0x4E9ACC, 217);
constexpr float kRowMargin = 8.0F;  // that is lit, and pressed, beside a row
constexpr float kRowArrowRoom = 11.0F;
constexpr float kRowArrowSize = 9.0F;
constexpr float kSwatchRoom = 22.0F;
constexpr float kNameGap = 6.0F;  // between name and value
constexpr float kMostValue = 0.6F;
constexpr float kMenuWidth = 110.0F;
constexpr float kTabsLeft = 18.0F;
constexpr float kTabPadding = 24.0F;
constexpr float kButtonLeft = 314.0F;
constexpr float kButtonWidth = 118.0F;
constexpr double kDragPixels = 200.0;  // from one end of a number to the other
constexpr double kFineRowDrag = 0.1;

/// So many that a step of a two-hundredth shows.
int decimalsOf(double range) {
  if (range >= 20.0) return 0;
  return range >= 2.0 ? 1 : 2;
}

std::string numberText(double number, int decimals, const std::string& unit) {
  std::array<char, 64> text{};
  std::snprintf(text.data(), text.size(), "%.*f", decimals, number);
  return unit.empty() ? text.data() : std::string(text.data()) + " " + unit;
}

}  // namespace

double SettingRow::nearest(double wanted) const {
  if (isColour) return std::clamp(std::trunc(wanted), 0.0, 16777215.0);
  const double least = choices.empty() ? min : 0.0;
  const double most =
      choices.empty() ? std::max(min, max) : static_cast<double>(choices.size()) - 1.0;
  const double inside = wanted >= least ? std::min(wanted, most) : least;
  if (!choices.empty()) return std::trunc(inside);
  const double perUnit = std::pow(10.0, decimalsOf(most - least));
  return std::round(inside * perUnit) / perUnit;
}

std::string SettingRow::text() const {
  const double shown = nearest(value);
  if (isColour) {
    std::array<char, 16> code{};
    std::snprintf(code.data(), code.size(), "#%06X", static_cast<unsigned>(shown));
    return code.data();
  }
  if (!choices.empty()) return choices[static_cast<std::size_t>(shown)];
  return numberText(shown, decimalsOf(max - min), unit);
}

SettingRows::SettingRows(const ControlSetup& setup) : CControl(setup) { setMax(1e6F); }

CRect SettingRows::buttonPlace() const {
  return {kButtonLeft, kFootTop, kButtonLeft + kButtonWidth, kFootTop + look::kButtonHeight};
}

void SettingRows::change(const SettingRow& row, double number) {
  const double stored = row.nearest(number);
  if (stored == row.value) return;
  const Held<SettingRows> stays(this);
  write(row, stored);
  setDirty();
  const std::vector<SettingRow> rows = page().rows;
  const auto found = std::ranges::find_if(rows, [&row](const SettingRow& other) {
    return other.group == row.group && other.name == row.name;
  });
  setValue(found == rows.end() ? -1.0F : static_cast<float>(found - rows.begin()));
  valueChanged();
}

void SettingRows::changedAll() {
  const Held<SettingRows> stays(this);
  setDirty();
  setValue(-1.0F);
  valueChanged();
}

std::vector<SettingRows::Spot> SettingRows::spotsOf(const SettingPage& shown) const {
  std::vector<Spot> spots;
  spots.reserve(shown.rows.size() + shown.tabs.size() + 1);
  for (std::size_t i = 0; i < shown.rows.size(); ++i) {
    spots.push_back({Part::kRow, i, placed(shown.rows[i].place).inset(-kRowMargin, 0.0F)});
  }
  float left = kTabsLeft;
  for (std::size_t i = 0; i < shown.tabs.size(); ++i) {
    const float width =
        std::ceil(look::widthOf(look::bold(look::kSmallTextSize, look::kLabel), shown.tabs[i])) +
        kTabPadding;
    spots.push_back(
        {Part::kTab, i, placed({left, kFootTop, left + width, kFootTop + look::kButtonHeight})});
    left += width;
  }
  if (!shown.button.empty()) spots.push_back({Part::kButton, 0, placed(buttonPlace())});
  return spots;
}

int SettingRows::spotAt(const std::vector<Spot>& spots, CPoint where) {
  const auto found =
      std::ranges::find_if(spots, [where](const Spot& spot) { return spot.place.contains(where); });
  return found == spots.end() ? kNone : static_cast<int>(found - spots.begin());
}

void SettingRows::draw(CDrawContext& context) {
  setDirty(false);
  const SettingPage shown = page();
  const TextStyle headingStyle = look::bold(look::kTextSize, look::kText);
  for (const SettingPage::Heading& heading : shown.headings) {
    const CRect place = placed(heading.place);
    context.drawTextCached(look::cutTo(place.width(), headingStyle, heading.text), place,
                           headingStyle);
    const float top = context.snap(place.bottom + 1.0F);
    context.fillRect({place.left, top, place.right, top + context.hairline()}, look::kBorder);
  }
  const std::vector<Spot> spots = spotsOf(shown);
  for (std::size_t i = 0; i < spots.size(); ++i) {
    const Spot& spot = spots[i];
    const bool isHot = static_cast<int>(i) == hot;
    if (spot.part == Part::kRow) {
      drawRow(context, shown.rows[spot.index], isHot);
    } else if (spot.part == Part::kTab) {
      const bool isShown = static_cast<int>(spot.index) == shown.tab;
      drawTab(context, spot.place, shown.tabs[spot.index], isShown, isHot);
    } else {
      button.draw(context, spot.place, shown.button,
                  {isHot ? 1.0F : 0.0F, isPressed, false, false});
    }
    if (isFocused && static_cast<int>(i) == keyed) {
      ring.draw(context, spot.place, {3.0F, kTransparentCColor, kKeyRing});
    }
  }
}

void SettingRows::drawRow(CDrawContext& context, const SettingRow& row, bool isHot) {
  const CRect place = placed(row.place);
  if (isHot) hotRow.draw(context, place.inset(-kRowMargin, 0.0F), {2.5F, kHotRowGround});
  const CColor valueColour = isHot ? look::kHotValue : look::kValue;
  const TextStyle style = look::bold(look::kTextSize, valueColour, kRightText);
  const bool hasMenu = !row.choices.empty();
  CRect room = place;
  if (hasMenu) room.right -= kRowArrowRoom;
  if (row.isColour) {
    const CRect box{room.right - 16.0F, place.top + 5.0F, room.right, place.bottom - 5.0F};
    const auto code = static_cast<std::uint32_t>(row.nearest(row.value));
    swatch.draw(context, box, {2.5F, CColor::rgb(code), look::kBlueBorder});
    room.right -= kSwatchRoom;
  }
  const std::string written = look::cutTo(kMostValue * row.place.width(), style, row.text());
  context.drawTextCached(written, room, style);
  room.right -= look::widthOf(style, written) + kNameGap;
  const TextStyle nameStyle = look::regular(look::kTextSize, isHot ? look::kQuietText : kRowName);
  context.drawTextCached(look::cutTo(room.width(), nameStyle, row.name), room, nameStyle);
  if (!hasMenu) return;
  (isHot ? hotArrow : arrow)
      .draw(context, {place.right - 4.0F, place.centre().y + 0.5F}, kRowArrowSize, Icon::kDown,
            valueColour);
}

void SettingRows::drawTab(CDrawContext& context, const CRect& place, const std::string& text,
                          bool isShown, bool isHot) const {
  CColor colour = isHot ? look::kText : look::kLabel;
  if (isShown) {
    colour = look::kText;
    context.fillRect(place, look::kChosenRow);
    context.fillRect({place.left, place.bottom - 2.0F, place.right, place.bottom}, look::kLit);
  }
  context.drawTextCached(text, place, look::bold(look::kSmallTextSize, colour, kCenterText));
}

void SettingRows::openRow(const SettingRow& row, bool withMore, bool held) {
  if (row.isColour && !withMore) {
    openColour(row);
    return;
  }
  Menu menu;
  for (std::size_t i = 0; i < row.choices.size(); ++i) {
    const auto number = static_cast<double>(i);
    menu.addChecked(row.choices[i], row.nearest(row.value) == number,
                    [this, row, number] { change(row, number); });
  }
  if (withMore || row.choices.empty()) {
    Menu more;
    addMore(more, row);
    if (!menu.entries.empty() && !more.entries.empty()) menu.addSeparator();
    for (Menu::Entry& entry : more.entries) menu.entries.push_back(std::move(entry));
  }
  CRect place = placed(row.place);
  place.left = std::max(place.left, place.right - kMenuWidth);
  openActionMenu(*this, std::move(menu), place, held);
}

void SettingRows::stepRow(const SettingRow& row, double by) {
  if (row.isColour) return;
  const double least = row.choices.empty() ? std::pow(10.0, -decimalsOf(row.max - row.min)) : 1.0;
  const double whole = row.nearest(row.value);
  change(row, whole + by * least);
}

void SettingRows::act(const Spot& spot, const SettingPage& shown) {
  const Held<SettingRows> stays(this);
  if (spot.part == Part::kRow) {
    openRow(shown.rows[spot.index], false, false);
  } else if (spot.part == Part::kTab) {
    showTab(static_cast<int>(spot.index));
    // Another page has other rows before the tabs.
    const std::vector<Spot> spots = spotsOf(page());
    const auto same = std::ranges::find_if(spots, [&spot](const Spot& other) {
      return other.part == spot.part && other.index == spot.index;
    });
    hot = std::exchange(keyed, static_cast<int>(same - spots.begin())) == hot ? keyed : kNone;
  } else {
    pressButton();
  }
  setDirty();
}

CMouseEventResult SettingRows::onMouseDown(CPoint where, CButtonState buttons) {
  const SettingPage shown = page();
  const std::vector<Spot> spots = spotsOf(shown);
  const int found = spotAt(spots, where);
  if (found == kNone) return kMouseEventNotHandled;
  const Spot& spot = spots[static_cast<std::size_t>(found)];
  keyed = found;
  getFrame()->setFocusView(this);
  setDirty();
  if (spot.part == Part::kRow && (buttons.isLeft() || buttons.isRight())) {
    const SettingRow& row = shown.rows[spot.index];
    if (buttons.isLeft() && row.choices.empty() && !row.isColour) {
      drag = Drag{row, where};
      return kMouseEventHandled;
    }
    openRow(row, buttons.isRight(), true);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  if (spot.part == Part::kButton) {
    isPressed = true;
    return kMouseEventHandled;
  }
  act(spot, shown);
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

CMouseEventResult SettingRows::onMouseMoved(CPoint where, CButtonState buttons) {
  if (drag) {
    SettingRow now = drag->row;
    const double way = double{where.x} - drag->from.x - (double{where.y} - drag->from.y);
    const double share = way / kDragPixels * (buttons.has(kShift) ? kFineRowDrag : 1.0);
    for (const SettingRow& row : page().rows) {
      if (row.group == now.group && row.name == now.name) now.value = row.value;
    }
    change(now, drag->row.nearest(drag->row.value) + share * (now.max - now.min));
    return kMouseEventHandled;
  }
  const int found = spotAt(spotsOf(page()), where);
  if (std::exchange(hot, found) != found) setDirty();
  return isPressed ? kMouseEventHandled : kMouseEventNotHandled;
}

CMouseEventResult SettingRows::onMouseUp(CPoint where, CButtonState /*buttons*/) {
  drag.reset();
  if (!std::exchange(isPressed, false)) return kMouseEventHandled;
  const Held<SettingRows> stays(this);
  setDirty();
  if (placed(buttonPlace()).contains(where)) pressButton();
  return kMouseEventHandled;
}

void SettingRows::onMouseExited() {
  if (std::exchange(hot, kNone) != kNone) setDirty();
}

void SettingRows::onMouseCancel() {
  drag.reset();
  if (std::exchange(isPressed, false)) setDirty();
}

bool SettingRows::onWheel(CPoint where, float steps, CButtonState /*buttons*/) {
  const SettingPage shown = page();
  const std::vector<Spot> spots = spotsOf(shown);
  const int found = spotAt(spots, where);
  if (found == kNone || spots[static_cast<std::size_t>(found)].part != Part::kRow) return false;
  wheelRest += steps;
  const float whole = std::trunc(wheelRest);
  wheelRest -= whole;
  const SettingRow& row = shown.rows[spots[static_cast<std::size_t>(found)].index];
  if (whole != 0.0F) stepRow(row, double{whole} * (row.choices.empty() ? 1.0 : -1.0));
  return true;
}

bool SettingRows::onKeyDown(const KeyEvent& key) {
  const SettingPage shown = page();
  const std::vector<Spot> spots = spotsOf(shown);
  if (spots.empty()) return false;
  const int last = static_cast<int>(spots.size()) - 1;
  const int here = std::clamp(keyed, 0, last);
  const auto go = [this, last](int to) {
    keyed = std::clamp(to, 0, last);
    setDirty();
    return true;
  };
  switch (key.key) {
    case Key::kUp:
      return go(here - 1);
    case Key::kDown:
      return go(keyed == kNone ? 0 : here + 1);
    case Key::kHome:
      return go(0);
    case Key::kEnd:
      return go(last);
    default:
      return keyAt(key, spots[static_cast<std::size_t>(here)], shown);
  }
}

bool SettingRows::keyAt(const KeyEvent& key, const Spot& spot, const SettingPage& shown) {
  const bool isRow = spot.part == Part::kRow;
  switch (key.key) {
    case Key::kReturn:
    case Key::kEnter:
    case Key::kSpace:
      if (isRow && key.modifiers.has(kShift)) {
        openRow(shown.rows[spot.index], true, false);
      } else {
        act(spot, shown);
      }
      return true;
    case Key::kLeft:
    case Key::kRight: {
      const double by = key.key == Key::kLeft ? -1.0 : 1.0;
      if (isRow) stepRow(shown.rows[spot.index], by);
      return isRow;
    }
    default:
      return false;
  }
}

void SettingRows::takeFocus() {
  isFocused = true;
  if (keyed == kNone) keyed = 0;
  setDirty();
}

void SettingRows::looseFocus() {
  isFocused = false;
  setDirty();
}
