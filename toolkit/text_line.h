#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// A line of text under edit: caret, selection, undo. Places are bytes and lie between characters.
/// Threads: one at a time.
class TextLine {
 public:
  enum class Unit { kCharacter, kWord, kAll };

  /// The whole text, with the caret after it and no history.
  void setText(std::string_view utf8);
  [[nodiscard]] const std::string& text() const noexcept { return line; }
  /// In code points; what goes beyond it is not inserted.
  void setMaxLength(std::size_t characters) noexcept { mostCharacters = characters; }

  [[nodiscard]] std::size_t caret() const noexcept { return caretAt; }
  [[nodiscard]] std::size_t selectionStart() const noexcept;
  [[nodiscard]] std::size_t selectionEnd() const noexcept;
  [[nodiscard]] bool hasSelection() const noexcept { return caretAt != anchor; }
  [[nodiscard]] std::string selectedText() const;

  /// `extends`: the selection stays where it began and ends at the new place.
  void moveTo(std::size_t place, bool extends);
  void moveBack(Unit unit, bool extends);
  void moveOn(Unit unit, bool extends);
  void selectAll();
  /// The word, run of blanks or run of signs that a place lies in.
  void selectWord(std::size_t place);

  /// In place of the selection. `isTyped`: becomes one step of the history with what was typed
  /// right before it.
  void insert(std::string_view utf8, bool isTyped = false);
  /// The selection or, where there is none, up to the next place in that direction.
  void eraseBack(Unit unit);
  void eraseOn(Unit unit);
  bool undo();
  bool redo();

 private:
  struct Change {
    std::size_t at = 0;
    std::string removed;
    std::string inserted;
    std::size_t caretBefore = 0;
    std::size_t anchorBefore = 0;
  };

  [[nodiscard]] std::size_t before(Unit unit) const;
  [[nodiscard]] std::size_t after(Unit unit) const;
  void settle();
  void replace(std::size_t from, std::size_t to, const std::string& inserted, bool joins);

  std::string line;
  std::size_t caretAt = 0;
  std::size_t anchor = 0;
  std::size_t mostCharacters = 10'000;
  std::vector<Change> done;
  std::vector<Change> undone;
  bool isTyping = false;  // what is typed next belongs to the newest change
};
