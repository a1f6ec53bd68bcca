#include "toolkit/menu_panel.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/look.h"
#include "toolkit/utf8.h"

namespace {

constexpr float kSeparatorHeight = 9.0F;
constexpr float kEntryLeft = 26.0F;
constexpr float kEntryRight = 26.0F;
constexpr float kLeastWidth = 128.0F;
constexpr float kArrowHeight = 16.0F;
constexpr BoxLook kMenuGround{4.0F, look::kBluePanel, look::kBlueBorder, 5, 0.16F, 2.0F};
constexpr BoxLook kHot{2.5F, look::kHotRow};

TextStyle rowStyle(CColor colour) { return look::regular(look::kTextSize, colour); }

}  // namespace

MenuPanel::MenuPanel(const std::vector<MenuEntry>& shown) : entries(&shown) {
  float top = 0.0F;
  tops.reserve(shown.size() + 1);
  for (const MenuEntry& row : shown) {
    tops.push_back(top);
    top += row.isSeparator ? kSeparatorHeight : look::kRowHeight;
  }
  tops.push_back(top);
}

void MenuPanel::fitInto(const CRect& room) {
  const TextStyle style = rowStyle(look::kText);
  float widest = 0.0F;
  for (const MenuEntry& row : *entries) widest = std::max(widest, look::widthOf(style, row.text));
  const float wanted = std::max(kLeastWidth, std::ceil(kEntryLeft + widest + kEntryRight));
  const float height = std::max(tops.back(), kInside) + 2.0F * kInside;
  rect = {rect.left, rect.top, rect.left + std::min(wanted, std::max(1.0F, room.width())),
          rect.top + std::min(height, std::max(1.0F, room.height()))};
  content = rect.height() - 2.0F * kInside;
  if (scrolls()) {
    // Whole rows, at least one: what is left over belongs to no row.
    const float rows = std::floor((content - 2.0F * kArrowHeight) / look::kRowHeight);
    const float spare = content - 2.0F * kArrowHeight - rows * look::kRowHeight;
    content = std::max(1.0F, rows) * look::kRowHeight;
    if (rows >= 1.0F) rect.bottom -= spare;
  }
  scroll(0);
}

const MenuEntry* MenuPanel::entry(int row) const noexcept {
  const auto index = static_cast<std::size_t>(row);
  return row >= 0 && index < entries->size() ? &(*entries)[index] : nullptr;
}

CRect MenuPanel::rowsPlace() const {
  const float arrowRoom = scrolls() ? kArrowHeight : 0.0F;
  return rect.inset(kInside, kInside + arrowRoom);
}

int MenuPanel::lastSeen() const {
  const float end = tops[static_cast<std::size_t>(first)] + content;
  const auto past = std::upper_bound(tops.begin(), tops.end(), end);
  return static_cast<int>(past - tops.begin()) - 2;  // the row that ends there
}

int MenuPanel::most() const {
  const auto found = std::lower_bound(tops.begin(), tops.end(), tops.back() - content);
  const auto last = std::max(static_cast<int>(entries->size()) - 1, 0);
  return std::min(static_cast<int>(found - tops.begin()), last);
}

CRect MenuPanel::rowPlace(int row) const {
  if (row < first || row > lastSeen()) return {};
  const CRect rows = rowsPlace();
  const auto index = static_cast<std::size_t>(row);
  const float start = rows.top - tops[static_cast<std::size_t>(first)];
  return {rows.left, start + tops[index], rows.right, start + tops[index + 1]};
}

int MenuPanel::rowAt(CPoint where) const {
  if (!rect.contains(where)) return kNone;
  const CRect rows = rowsPlace();
  if (where.y < rows.top) return scrolls() ? kUpArrow : kNone;
  if (where.y >= rows.bottom) return scrolls() ? kDownArrow : kNone;
  const float inside = where.y - rows.top + tops[static_cast<std::size_t>(first)];
  const auto past = std::upper_bound(tops.begin(), tops.end(), inside);
  const int row = static_cast<int>(past - tops.begin()) - 1;
  return row <= lastSeen() ? row : kNone;
}

bool MenuPanel::setHot(int row) {
  const MenuEntry* const under = entry(row);
  const int wanted = under != nullptr && under->isOfUse() ? row : kNone;
  return std::exchange(hotRow, wanted) != wanted;
}

int MenuPanel::firstOfUse(int from, int direction) const {
  int row = from;
  while (entry(row) != nullptr && !entry(row)->isOfUse()) row += direction;
  return entry(row) != nullptr ? row : kNone;
}

int MenuPanel::neighbour(int from, int direction) const {
  const int last = static_cast<int>(entries->size()) - 1;
  const int start = direction > 0 ? 0 : last;
  if (from == kNone) return firstOfUse(start, direction);
  const int next = firstOfUse(from + direction, direction);
  return next != kNone ? next : firstOfUse(start, direction);
}

int MenuPanel::find(std::string_view prefix, int from) const {
  const int count = static_cast<int>(entries->size());
  for (int i = 0; i < count; ++i) {
    const int row = (std::max(from, 0) + i) % count;
    const MenuEntry& candidate = *entry(row);
    // Longer than the wanted one by what small letters may take more.
    const std::string_view start =
        std::string_view(candidate.text).substr(0, 2 * prefix.size() + 4);
    if (candidate.isOfUse() && lowerCase(start).starts_with(prefix)) return row;
  }
  return kNone;
}

bool MenuPanel::scroll(int byRows) {
  const int wanted = std::clamp(first + byRows, 0, scrolls() ? most() : 0);
  return std::exchange(first, wanted) != wanted;
}

void MenuPanel::reveal(int row) {
  if (entry(row) == nullptr) return;
  if (row < first) scroll(row - first);
  while (row > lastSeen() && scroll(1)) {
  }
}

int MenuPanel::pageRows() const { return std::max(1, lastSeen() - first); }

void MenuPanel::draw(CDrawContext& context) {
  ground.draw(context, rect, kMenuGround);
  for (int row = first, last = lastSeen(); row <= last; ++row) {
    drawRow(context, row, rowPlace(row));
  }
  if (scrolls()) drawArrows(context);
}

void MenuPanel::drawRow(CDrawContext& context, int row, const CRect& place) {
  const MenuEntry& shown = *entry(row);
  const float middle = place.centre().y;
  if (shown.isSeparator) {
    const float top = context.snap(place.top + 4.0F);
    context.fillRect({rect.left + 10.0F, top, rect.right - 10.0F, top + context.hairline()},
                     look::kBlueBorder);
    return;
  }
  const bool isHot = row == hotRow;
  if (isHot) hotGround.draw(context, place, kHot);
  const CColor colour = !shown.isEnabled ? look::kOff : isHot ? kWhiteCColor : look::kText;
  const TextStyle style = rowStyle(colour);
  const float room = rect.width() - kEntryLeft - kInside - (shown.isSubmenu ? 18.0F : 4.0F);
  context.drawTextCached(look::cutTo(room, style, shown.text),
                         {rect.left + kEntryLeft, place.top, rect.right - kInside, place.bottom},
                         style);
  if (shown.isChecked) {
    check.draw(context, {rect.left + 15.0F, middle}, 14.0F, Icon::kCheck,
               shown.isEnabled ? look::kLit : look::kOff);
  }
  if (!shown.isSubmenu) return;
  IconPicture& leads = isHot ? hotArrow : arrow;
  leads.draw(context, {rect.right - 13.0F, middle}, 9.0F, Icon::kRight,
             isHot ? look::kText : (shown.isEnabled ? look::kLabel : look::kOff));
}

void MenuPanel::drawArrows(CDrawContext& context) {
  const float up = rect.top + kInside + 0.5F * kArrowHeight;
  const float down = rect.bottom - kInside - 0.5F * kArrowHeight;
  upArrow.draw(context, {rect.centre().x, up}, 11.0F, Icon::kUp,
               first > 0 ? look::kText : look::kOff);
  downArrow.draw(context, {rect.centre().x, down}, 11.0F, Icon::kDown,
                 first < most() ? look::kText : look::kOff);
}
