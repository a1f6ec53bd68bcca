#include "toolkit/text_field.h"

#include <algorithm>
#include <utility>

#include "toolkit/frame.h"
#include "toolkit/look.h"
#include "toolkit/utf8.h"

namespace {

using Unit = TextLine::Unit;

constexpr std::uint64_t kTripleClickMs = 500;
constexpr float kCaretRoom = 2.0F;    // after a text at the right edge
constexpr float kMarkHeight = 12.0F;  // of caret and selection
constexpr BoxLook kBox{2.0F, look::kGround, look::kLit};
constexpr BoxLook kQuietBox{2.0F, look::kGround, look::kBlueBorder};

Unit unitOf(CButtonState keys) { return keys.has(kControl) ? Unit::kWord : Unit::kCharacter; }

}  // namespace

TextField::TextField(const CRect& rect, TextStyle textStyle, Ended taker)
    : CView(rect), style(std::move(textStyle)), ended(std::move(taker)) {}

TextField::~TextField() = default;

void TextField::setText(std::string_view utf8) {
  line.setText(utf8);
  first = 0;
  changed();
}

void TextField::selectAll() {
  line.selectAll();
  changed();
}

void TextField::changed() {
  reveal();
  caretShown = true;
  if (getFrame() != nullptr) changedAt = getFrame()->now();
  tellCaret();
  invalid();
}

float TextField::widthOf(std::size_t from, std::size_t to) const {
  return look::widthOf(style, std::string_view(line.text()).substr(from, to - from));
}

/// The end of what can be seen of the text from a place on.
std::size_t TextField::fitting(std::size_t from) const {
  std::size_t end = from;
  for (float used = 0.0F; end < line.text().size();) {
    const std::size_t next = nextEdge(line.text(), end);
    used += widthOf(end, next);
    if (used > room()) break;
    end = next;
  }
  return end;
}

/// Moves the text so that the caret is seen, and no room stays empty that it could fill.
void TextField::reveal() {
  const std::string& text = line.text();
  first = std::min(first, line.caret());
  const auto leastFor = [&](std::size_t end) {
    std::size_t start = end;
    for (float used = 0.0F; start > 0;) {
      const std::size_t before = previousEdge(text, start);
      used += widthOf(before, start);
      if (used > room()) break;
      start = before;
    }
    return start;
  };
  first = std::max(first, leastFor(line.caret()));
  if (fitting(first) == text.size()) first = std::min(first, leastFor(text.size()));
}

float TextField::startX() const {
  const float left = size.left + kPadding;
  if (first > 0 || style.align == kLeftText) return left;
  const std::size_t end = fitting(0);
  if (end < line.text().size()) return left;
  const float spare = std::max(0.0F, room() - widthOf(0, end) - kCaretRoom);
  return left + (style.align == kCenterText ? 0.5F * spare : spare);
}

std::size_t TextField::placeAt(float x) const {
  const std::string& text = line.text();
  float edge = startX();
  if (x < edge) return previousEdge(text, first);
  const std::size_t end = fitting(first);
  for (std::size_t at = first; at < end;) {
    const std::size_t next = nextEdge(text, at);
    const float width = widthOf(at, next);
    if (x < edge + 0.5F * width) return at;
    edge += width;
    at = next;
  }
  return x < size.right - kPadding ? end : nextEdge(text, end);
}

void TextField::draw(CDrawContext& context) {
  box.draw(context, size, focused ? kBox : kQuietBox);
  drawText(context);
  setDirty(false);
}

void TextField::drawText(CDrawContext& context) {
  const std::size_t end = fitting(first);
  const float left = context.snap(startX());
  const float top = context.snap(size.centre().y - 0.5F * kMarkHeight);
  const auto xOf = [&](std::size_t place) {
    return left + widthOf(first, std::clamp(place, first, end));
  };
  if (focused && line.hasSelection()) {
    const CRect selected{xOf(line.selectionStart()), top, xOf(line.selectionEnd()),
                         top + kMarkHeight};
    if (!selected.isEmpty()) context.fillRect(selected, look::kSelection);
  }
  TextStyle shown = style;
  shown.align = kLeftText;
  if (end > first) {
    context.drawTextCached(std::string_view(line.text()).substr(first, end - first),
                           {left, size.top, size.right, size.bottom}, shown);
  }
  if (!focused || !caretShown) return;
  const float x = std::min(context.snap(xOf(line.caret())), size.right - 2.0F);
  context.fillRect({x, top, x + context.hairline(), top + kMarkHeight}, kWhiteCColor);
}

/// Where an input method is to show what it is about to write.
void TextField::tellCaret() {
  if (!focused || getFrame() == nullptr || getFrame()->window() == nullptr) return;
  const CPoint caret{startX() + widthOf(first, std::max(first, line.caret())), size.bottom};
  const CPoint inFrame = localToFrame(caret);
  const float scale = getFrame()->getScale();
  getFrame()->window()->setCaret(
      {static_cast<double>(inFrame.x * scale), static_cast<double>(inFrame.y * scale)});
}

void TextField::removed() {
  focused = selecting = false;
  ended = nullptr;
  CView::removed();
}

void TextField::takeFocus() {
  focused = true;
  if (getFrame() != nullptr) getFrame()->wantIdle(*this, true);
  changed();
}

void TextField::looseFocus() {
  if (!std::exchange(focused, false)) return;
  selecting = false;
  if (getFrame() != nullptr) getFrame()->wantIdle(*this, false);
  invalid();
  end(End::kFocusLost);
}

void TextField::onIdle() {
  if (owner != nullptr && !owner->isShown()) {
    end(End::kLeft);
    return;
  }
  if (selecting) onMouseMoved(frameToLocal(getFrame()->getCurrentMouseLocation()), kLButton);
  const bool shows = (getFrame()->now() - changedAt) / look::kBlinkMs % 2 == 0;
  if (std::exchange(caretShown, shows) != shows) invalid();
}

void TextField::end(End how) {
  const Held<TextField> stays(this);
  if (const Ended told = ended) told(*this, how);
}

CMouseEventResult TextField::onMouseDown(CPoint where, CButtonState buttons) {
  const CButtonState pressed = buttons.buttons();
  if (pressed == kMButton) {
    line.moveTo(placeAt(where.x), false);
    changed();
    paste(true);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
  }
  if (pressed != kLButton) return kMouseEventNotHandled;
  const std::uint64_t now = getFrame()->now();
  if (buttons.isDouble()) {
    line.selectWord(placeAt(where.x));
    doubleClickAt = now;
  } else if (doubleClickAt != 0 && now < doubleClickAt + kTripleClickMs) {
    line.selectAll();
    doubleClickAt = 0;
  } else {
    line.moveTo(placeAt(where.x), buttons.has(kShift));
    selecting = true;
  }
  changed();
  return kMouseEventHandled;
}

CMouseEventResult TextField::onMouseMoved(CPoint where, CButtonState buttons) {
  if (!selecting || !buttons.isLeft()) return kMouseEventNotHandled;
  const std::size_t place = placeAt(where.x);
  if (place != line.caret()) {
    line.moveTo(place, true);
    changed();
  }
  return kMouseEventHandled;
}

CMouseEventResult TextField::onMouseUp(CPoint /*where*/, CButtonState /*buttons*/) {
  selecting = false;
  offerSelection();
  return kMouseEventHandled;
}

void TextField::onMouseCancel() { selecting = false; }

void TextField::onMouseEntered(CPoint /*where*/, CButtonState /*buttons*/) {
  getFrame()->setCursor(Cursor::kText);
}

void TextField::onMouseExited() {
  if (getFrame() != nullptr) getFrame()->setCursor(Cursor::kArrow);
}

bool TextField::onKeyDown(const KeyEvent& key) {
  const Held<TextField> stays(this);
  switch (key.key) {
    case Key::kReturn:
    case Key::kEnter:
      end(End::kEntered);
      return true;
    case Key::kTab:
      end(End::kTabbed);
      return true;
    case Key::kEscape:
      end(End::kLeft);
      return true;
    default:
      break;
  }
  if (moveKey(key) || editKey(key) || command(key)) {
    changed();
    return true;
  }
  const bool isCommand = key.modifiers.has(kControl) || key.modifiers.has(kAlt);
  const std::string text = key.text.empty() && key.key == Key::kSpace ? " " : key.text;
  // The third level of a keyboard comes as Control and Alt together, with a text.
  const bool isThirdLevel = key.modifiers.has(kControl | kAlt);
  if (text.empty() || (isCommand && !isThirdLevel)) return false;
  line.insert(text, true);
  changed();
  return true;
}

bool TextField::moveKey(const KeyEvent& key) {
  const bool extends = key.modifiers.has(kShift);
  switch (key.key) {
    case Key::kLeft:
      line.moveBack(unitOf(key.modifiers), extends);
      break;
    case Key::kRight:
      line.moveOn(unitOf(key.modifiers), extends);
      break;
    case Key::kHome:
    case Key::kUp:
      line.moveBack(Unit::kAll, extends);
      break;
    case Key::kEnd:
    case Key::kDown:
      line.moveOn(Unit::kAll, extends);
      break;
    default:
      return false;
  }
  if (extends) offerSelection();
  return true;
}

bool TextField::editKey(const KeyEvent& key) {
  const bool shifted = key.modifiers.has(kShift);
  switch (key.key) {
    case Key::kBack:
      line.eraseBack(unitOf(key.modifiers));
      return true;
    case Key::kDelete:
      if (shifted) {
        copy(true);
      } else {
        line.eraseOn(unitOf(key.modifiers));
      }
      return true;
    case Key::kInsert:
      if (shifted) {
        paste(false);
      } else if (key.modifiers.has(kControl)) {
        copy(false);
      }
      return true;
    default:
      return false;
  }
}

bool TextField::command(const KeyEvent& key) {
  if (!key.modifiers.has(kControl) || key.modifiers.has(kAlt)) return false;
  switch (key.character) {
    case 'a':
      line.selectAll();
      offerSelection();
      return true;
    case 'c':
      copy(false);
      return true;
    case 'x':
      copy(true);
      return true;
    case 'v':
      paste(false);
      return true;
    case 'z':
      key.modifiers.has(kShift) ? line.redo() : line.undo();
      return true;
    case 'y':
      line.redo();
      return true;
    default:
      return false;
  }
}

void TextField::copy(bool cuts) {
  if (!line.hasSelection() || getFrame() == nullptr) return;
  getFrame()->putClipboard(Clipboard::kClipboard, line.selectedText());
  if (cuts) line.eraseBack(Unit::kCharacter);
}

void TextField::paste(bool primary) {
  if (getFrame() == nullptr) return;
  getFrame()->askClipboard(primary ? Clipboard::kPrimary : Clipboard::kClipboard, *this,
                           [this](std::string_view text) {
                             if (!focused) return;
                             line.insert(text);
                             changed();
                           });
}

void TextField::offerSelection() {
  if (!line.hasSelection() || getFrame() == nullptr) return;
  getFrame()->putClipboard(Clipboard::kPrimary, line.selectedText());
}
