#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "toolkit/device_picture.h"
#include "toolkit/draw_context.h"
#include "toolkit/text_line.h"
#include "toolkit/view.h"

/// A box in which a line of text is written: caret, selection by mouse and keys, undo, both
/// clipboards. A text that is longer than the box is moved along as the caret goes. Threads: as
/// `CView`.
class TextField : public CView {
 public:
  enum class End {
    kEntered,    ///< by the Return key
    kTabbed,     ///< by the Tab key
    kLeft,       ///< by the Escape key
    kFocusLost,  ///< something else has the keys now
  };
  /// From the edges of the field to its text.
  static constexpr float kPadding = 4.0F;

  /// May remove the field.
  using Ended = std::function<void(TextField& field, End how)>;

  TextField(const CRect& size, TextStyle style, Ended ended);

  void setText(std::string_view utf8);
  [[nodiscard]] const std::string& text() const noexcept { return line.text(); }
  void setMaxLength(std::size_t characters) noexcept { line.setMaxLength(characters); }
  /// The view whose text this is, which outlives it: the entry ends where that is hidden.
  void setOwner(const CView& view) noexcept { owner = &view; }
  void selectAll();
  [[nodiscard]] bool hasFocus() const noexcept { return focused; }
  /// What is selected, and the place of the caret in bytes.
  [[nodiscard]] std::string selectedText() const { return line.selectedText(); }
  [[nodiscard]] std::size_t caret() const noexcept { return line.caret(); }

  void draw(CDrawContext& context) override;
  void removed() override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseUp(CPoint where, CButtonState buttons) override;
  CMouseEventResult onMouseMoved(CPoint where, CButtonState buttons) override;
  void onMouseEntered(CPoint where, CButtonState buttons) override;
  void onMouseExited() override;
  void onMouseCancel() override;
  /// Nothing for what lies under the text.
  bool onWheel(CPoint /*where*/, float /*steps*/, CButtonState /*buttons*/) override {
    return true;
  }
  /// Also text that an input method has made. True for every key that writes or edits, and for
  /// those that end the entry.
  bool onKeyDown(const KeyEvent& key) override;
  bool onKeyUp(const KeyEvent& /*key*/) override { return true; }
  void takeFocus() override;
  void looseFocus() override;
  void onIdle() override;

 protected:
  ~TextField() override;

 private:
  void changed();
  void reveal();
  [[nodiscard]] float room() const { return size.width() - 2.0F * kPadding; }
  [[nodiscard]] float widthOf(std::size_t from, std::size_t to) const;
  [[nodiscard]] std::size_t fitting(std::size_t from) const;
  [[nodiscard]] float startX() const;
  [[nodiscard]] std::size_t placeAt(float x) const;
  void drawText(CDrawContext& context);
  void tellCaret();
  bool moveKey(const KeyEvent& key);
  bool editKey(const KeyEvent& key);
  bool command(const KeyEvent& key);
  void copy(bool cuts);
  void paste(bool primary);
  void offerSelection();
  void end(End how);

  TextLine line;
  TextStyle style;
  Ended ended;
  const CView* owner = nullptr;
  BoxPicture box;
  std::size_t first = 0;  // byte of the text that is seen at the left
  bool focused = false;
  bool selecting = false;  // by the mouse
  bool caretShown = true;
  std::uint64_t changedAt = 0;
  std::uint64_t doubleClickAt = 0;
};
