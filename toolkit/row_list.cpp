#include "toolkit/row_list.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "toolkit/frame.h"
#include "toolkit/look.h"
#include "toolkit/utf8.h"

namespace {

constexpr float kListEdge = 1.0F;
constexpr float kFileTextLeft = 10.0F;
constexpr float kFolderTextLeft = 28.0F;
constexpr float kGlyphSize = 15.0F;
constexpr float kBarWidth = 6.0F;
constexpr float kBarRoom = 12.0F;
constexpr float kLeastBar = 18.0F;
constexpr BoxLook kListGround{3.0F, look::kPanel, look::kBorder};
constexpr BoxLook kBar{3.0F, look::kOff};
constexpr const char* kFolderGlyph = "\xEF\x84\x94";  // U+F114

}  // namespace

RowList::RowList(const CRect& rect, Act select, Act open)
    : CView(rect), whenSelected(std::move(select)), whenOpened(std::move(open)) {}

RowList::~RowList() = default;

void RowList::setRows(std::vector<Row> shown) {
  list = std::move(shown);
  chosen = hot = kNone;
  first = 0;
  typed.clear();
  invalid();
}

int RowList::seen() const {
  return std::max(1, static_cast<int>((size.height() - 2.0F * kListEdge) / look::kRowHeight));
}

void RowList::scrollTo(int row) {
  const int wanted = std::clamp(row, 0, std::max(0, count() - seen()));
  if (std::exchange(first, wanted) != wanted) invalid();
}

void RowList::select(int row) {
  chosen = row >= 0 && row < count() ? row : kNone;
  if (chosen != kNone) scrollTo(std::clamp(first, chosen - seen() + 1, chosen));
  invalid();
}

void RowList::setFocused(bool on) {
  if (std::exchange(focused, on) != on) invalid();
}

CRect RowList::rowPlace(int row) const {
  const float top = size.top + kListEdge + static_cast<float>(row - first) * look::kRowHeight;
  const float right = size.right - (count() > seen() ? kBarRoom : kListEdge);
  return {size.left + kListEdge, top, right, top + look::kRowHeight};
}

int RowList::rowAt(CPoint where) const {
  if (!size.contains(where)) return kNone;
  const int row =
      first + static_cast<int>(std::floor((where.y - size.top - kListEdge) / look::kRowHeight));
  return row >= first && row < std::min(count(), first + seen()) ? row : kNone;
}

/// Empty where all rows are seen.
CRect RowList::barPlace() const {
  if (count() <= seen()) return {};
  const float room = size.height() - 4.0F;
  const float share = static_cast<float>(seen()) / static_cast<float>(count());
  const float length = std::max(std::min(kLeastBar, room), room * share);
  const float position = static_cast<float>(first) / static_cast<float>(count() - seen());
  const float top = size.top + 2.0F + (room - length) * position;
  const float right = size.right - 3.0F;
  return {right - kBarWidth, top, right, top + length};
}

void RowList::draw(CDrawContext& context) {
  ground.draw(context, size, kListGround);
  for (int row = first; row < std::min(count(), first + seen()); ++row) drawRow(context, row);
  if (const CRect place = barPlace(); !place.isEmpty()) bar.draw(context, place, kBar);
  setDirty(false);
}

void RowList::drawRow(CDrawContext& context, int row) {
  const CRect place = rowPlace(row);
  const Row& shown = list[static_cast<std::size_t>(row)];
  const bool isChosen = row == chosen;
  if (isChosen) {
    context.fillRect(place, focused ? look::kHotRow : look::kChosenRow);
  } else if (row == hot) {
    context.fillRect(place, CColor::rgb(0xFFFFFF, 13));
  }
  const TextStyle style = look::regular(look::kTextSize, isChosen ? kWhiteCColor : look::kText);
  const float left = place.left + (shown.isFolder ? kFolderTextLeft : kFileTextLeft);
  const float room = place.right - left - 4.0F;
  if (shown.isFolder) {
    context.drawTextCached(kFolderGlyph,
                           {place.left + 9.0F, place.top, place.left + 27.0F, place.bottom},
                           look::bold(kGlyphSize, look::kValue));
  }
  context.drawTextCached(look::cutTo(room, style, shown.text),
                         {left, place.top, place.right, place.bottom}, style);
}

void RowList::userSelects(int row) {
  const Held<RowList> stays(this);
  select(row);
  if (whenSelected && chosen != kNone) whenSelected(chosen);
}

CMouseEventResult RowList::onMouseDown(CPoint where, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  const Held<RowList> stays(this);
  const CRect place = barPlace();
  if (!place.isEmpty() && where.x >= size.right - kBarRoom) {
    const bool isOnBar = where.y >= place.top && where.y < place.bottom;
    dragsBar = true;
    barGrip = isOnBar ? where.y - place.top : 0.5F * place.height();
    onMouseMoved(where, buttons);
    return kMouseEventHandled;
  }
  const int row = rowAt(where);
  if (row == kNone) return kMouseEventHandled;
  const bool opens = buttons.isDouble() && row == chosen;
  if (!opens) {
    userSelects(row);
  } else if (whenOpened) {
    whenOpened(row);
  }
  return kMouseEventHandled;
}

CMouseEventResult RowList::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  dragsBar = false;
  return kMouseEventHandled;
}

CMouseEventResult RowList::onMouseMoved(CPoint where, CButtonState /*buttons*/) {
  if (dragsBar) {
    const float way = size.height() - 4.0F - barPlace().height();
    const float position = way > 0.0F ? (where.y - barGrip - size.top - 2.0F) / way : 0.0F;
    const auto rows = static_cast<float>(std::max(0, count() - seen()));
    scrollTo(static_cast<int>(std::lround(std::clamp(position, 0.0F, 1.0F) * rows)));
    return kMouseEventHandled;
  }
  const int row = rowAt(where);
  if (std::exchange(hot, row) != row) invalid();
  return kMouseEventHandled;
}

void RowList::onMouseExited() {
  if (std::exchange(hot, kNone) != kNone) invalid();
}

bool RowList::onWheel(CPoint where, float steps, CButtonState /*buttons*/) {
  wheelRest -= steps * look::kRowsPerWheelStep;
  const float whole = std::trunc(wheelRest);
  wheelRest -= whole;
  scrollTo(first + static_cast<int>(whole));
  hot = rowAt(where);
  return true;
}

bool RowList::onKeyDown(const KeyEvent& key) {
  const auto go = [this](int row) {
    if (count() > 0) userSelects(std::clamp(row, 0, count() - 1));
  };
  switch (key.key) {
    case Key::kUp:
      go(chosen - 1);
      return true;
    case Key::kDown:
      go(chosen + 1);
      return true;
    case Key::kPageUp:
      go(chosen - seen());
      return true;
    case Key::kPageDown:
      go(std::max(chosen, 0) + seen());
      return true;
    case Key::kHome:
      go(0);
      return true;
    case Key::kEnd:
      go(count() - 1);
      return true;
    default:
      break;
  }
  const bool isCommand = key.modifiers.has(kControl) || key.modifiers.has(kAlt);
  if (key.text.empty() || isCommand || getFrame() == nullptr) return false;
  const std::uint64_t now = getFrame()->now();
  if (now >= typedAt + look::kTypeAheadMs) typed.clear();
  typedAt = now;
  const std::string added = lowerCase(key.text);
  const bool goesOn = typed.empty() || typed == added;
  if (typed != added) typed += added;
  for (int i = 0; i < count(); ++i) {
    const int row = (std::max(chosen, 0) + (goesOn && chosen != kNone ? 1 : 0) + i) % count();
    const std::string& text = list[static_cast<std::size_t>(row)].text;
    if (!lowerCase(std::string_view(text).substr(0, 2 * typed.size() + 4)).starts_with(typed))
      continue;
    userSelects(row);
    break;
  }
  return true;
}
