#include "toolkit/text_line.h"

#include <algorithm>
#include <utility>

#include "toolkit/utf8.h"

namespace {

constexpr std::size_t kMostChanges = 200;

}  // namespace

void TextLine::setText(std::string_view utf8) {
  line = asOneLine(utf8, mostCharacters);
  caretAt = anchor = line.size();
  done.clear();
  undone.clear();
  isTyping = false;
}

std::size_t TextLine::selectionStart() const noexcept { return std::min(caretAt, anchor); }

std::size_t TextLine::selectionEnd() const noexcept { return std::max(caretAt, anchor); }

std::string TextLine::selectedText() const {
  return line.substr(selectionStart(), selectionEnd() - selectionStart());
}

void TextLine::moveTo(std::size_t place, bool extends) {
  isTyping = false;
  caretAt = std::min(place, line.size());
  if (!extends) anchor = caretAt;
}

std::size_t TextLine::before(Unit unit) const {
  if (unit == Unit::kAll) return 0;
  return unit == Unit::kWord ? previousWordEdge(line, caretAt) : previousEdge(line, caretAt);
}

std::size_t TextLine::after(Unit unit) const {
  if (unit == Unit::kAll) return line.size();
  return unit == Unit::kWord ? nextWordEdge(line, caretAt) : nextEdge(line, caretAt);
}

void TextLine::moveBack(Unit unit, bool extends) {
  const bool leaves = hasSelection() && !extends && unit == Unit::kCharacter;
  moveTo(leaves ? selectionStart() : before(unit), extends);
}

void TextLine::moveOn(Unit unit, bool extends) {
  const bool leaves = hasSelection() && !extends && unit == Unit::kCharacter;
  moveTo(leaves ? selectionEnd() : after(unit), extends);
}

void TextLine::selectAll() {
  moveTo(0, false);
  moveTo(line.size(), true);
}

void TextLine::selectWord(std::size_t place) {
  if (line.empty()) return;
  place = std::min(place, previousEdge(line, line.size()));
  const CharacterKind kind = kindAt(line, place);
  std::size_t from = place;
  while (from > 0 && kindAt(line, previousEdge(line, from)) == kind) {
    from = previousEdge(line, from);
  }
  while (place < line.size() && kindAt(line, place) == kind) place = nextEdge(line, place);
  moveTo(from, false);
  moveTo(place, true);
}

/// What an edit has brought together may be one character now.
void TextLine::settle() {
  if (!isEdge(line, caretAt)) caretAt = nextEdge(line, caretAt);
  if (!isEdge(line, anchor)) anchor = nextEdge(line, anchor);
}

void TextLine::replace(std::size_t from, std::size_t to, const std::string& inserted, bool joins) {
  if (from == to && inserted.empty()) return;
  const std::size_t end = from + inserted.size();
  undone.clear();
  const bool goesOn = joins && isTyping && from == to;
  if (goesOn && from == done.back().at + done.back().inserted.size()) {
    done.back().inserted += inserted;
  } else {
    if (done.size() == kMostChanges) done.erase(done.begin());
    done.push_back({from, line.substr(from, to - from), inserted, caretAt, anchor});
  }
  line.replace(from, to - from, inserted);
  moveTo(end, false);
  settle();
  isTyping = joins;
}

void TextLine::insert(std::string_view utf8, bool isTyped) {
  const std::size_t kept = countCharacters(line) - countCharacters(selectedText());
  const std::size_t room = mostCharacters - std::min(kept, mostCharacters);
  const std::string text = asOneLine(utf8, room);
  if (text.empty()) return;
  replace(selectionStart(), selectionEnd(), text, isTyped);
}

void TextLine::eraseBack(Unit unit) {
  if (!hasSelection()) {
    replace(before(unit), caretAt, {}, false);
  } else {
    replace(selectionStart(), selectionEnd(), {}, false);
  }
}

void TextLine::eraseOn(Unit unit) {
  if (!hasSelection()) {
    replace(caretAt, after(unit), {}, false);
  } else {
    replace(selectionStart(), selectionEnd(), {}, false);
  }
}

bool TextLine::undo() {
  if (done.empty()) return false;
  Change change = std::move(done.back());
  done.pop_back();
  line.replace(change.at, change.inserted.size(), change.removed);
  moveTo(change.anchorBefore, false);
  moveTo(change.caretBefore, true);
  settle();
  undone.push_back(std::move(change));
  return true;
}

bool TextLine::redo() {
  if (undone.empty()) return false;
  Change change = std::move(undone.back());
  undone.pop_back();
  line.replace(change.at, change.removed.size(), change.inserted);
  moveTo(change.at + change.inserted.size(), false);
  settle();
  done.push_back(std::move(change));
  return true;
}
