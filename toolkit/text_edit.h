#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "toolkit/param_display.h"
#include "toolkit/text_field.h"

enum CTextEditStyle : std::int32_t {
  kDoubleClickStyle = 1 << 20,  ///< a double click opens it, else any press of the left button
};

/// A text that is edited where it stands: a field opens over it. Return takes what has been
/// written, and so does whatever else takes the keys; Escape leaves the text as it was. Threads: as
/// `CControl`.
class CTextEdit : public CParamDisplay {
 public:
  explicit CTextEdit(const ControlSetup& setup, std::string text = {}, std::int32_t style = 0);

  void setText(std::string utf8);
  [[nodiscard]] const std::string& getText() const noexcept { return written; }
  [[nodiscard]] std::string shownText() const override { return written; }
  void setMaxLength(std::size_t characters) noexcept { mostCharacters = characters; }

  /// Opens the field with all of the text selected; no effect outside of a frame.
  void openField();
  /// Closes it, and takes what has been written, if it `takes`.
  void closeField(bool takes);
  [[nodiscard]] bool isEditing() const noexcept { return static_cast<bool>(field); }

  void removed() override;
  CMouseEventResult onMouseDown(CPoint where, CButtonState buttons) override;
  bool onKeyDown(const KeyEvent& key) override;

 protected:
  ~CTextEdit() override;

  /// What the field begins with, and where it stands in the coordinates of the view's container: so
  /// that the text stays in its place.
  [[nodiscard]] virtual std::string textToEdit() const { return shownText(); }
  [[nodiscard]] virtual CRect fieldPlace() const {
    return getViewSize().inset(-TextField::kPadding, 0.0F);
  }
  /// The user has written this: the text becomes it, and if it is another one the listener hears.
  virtual void takeText(const std::string& utf8);
  /// The entry has ended, its text is taken or left; the view is still in its frame.
  virtual void fieldClosed(TextField::End /*how*/) {}

 private:
  std::string written;
  std::size_t mostCharacters = 1000;
  Held<TextField> field;
};
