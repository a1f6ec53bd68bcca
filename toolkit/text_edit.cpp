#include "toolkit/text_edit.h"

#include <utility>

#include "toolkit/frame.h"
#include "toolkit/look.h"

CTextEdit::CTextEdit(const ControlSetup& setup, std::string text, std::int32_t bits)
    : CParamDisplay(setup, bits), written(std::move(text)) {}

CTextEdit::~CTextEdit() = default;

void CTextEdit::setText(std::string utf8) {
  if (written == utf8) return;
  written = std::move(utf8);
  setDirty();
}

void CTextEdit::openField() {
  CFrame* const shownIn = getFrame();
  if (shownIn == nullptr || !isShown() || field) return;
  TextStyle fieldStyle = getTextStyle();
  fieldStyle.colour = kWhiteCColor;
  auto* const opened =
      new TextField(localToFrame(fieldPlace()).cutTo(shownIn->getSize()), std::move(fieldStyle),
                    [this](TextField& /*ended*/, TextField::End how) {
                      // What is captured may go with the field.
                      const Held<CTextEdit> edit(this);
                      edit->closeField(how != TextField::End::kLeft);
                      if (edit->getFrame() != nullptr) edit->fieldClosed(how);
                    });
  field = Held<TextField>(opened);
  opened->setOwner(*this);
  opened->setMaxLength(mostCharacters);
  opened->setText(textToEdit());
  opened->selectAll();
  shownIn->addView(opened);
  shownIn->setFocusView(opened);
}

void CTextEdit::closeField(bool takes) {
  const Held<CTextEdit> stays(this);
  // From here on no end of the entry comes a second time.
  const Held<TextField> closing = std::exchange(field, {});
  if (!closing) return;
  const std::string text = closing->text();
  if (CFrame* const shownIn = closing->getFrame()) {
    shownIn->removeView(closing.get());
    setDirty();
  }
  if (takes) takeText(text);
}

void CTextEdit::takeText(const std::string& utf8) {
  if (utf8 == textToEdit()) return;
  beginEdit();
  setText(utf8);
  if (getFrame() != nullptr) valueChanged();
  endEdit();
}

void CTextEdit::removed() {
  closeField(false);
  CParamDisplay::removed();
}

CMouseEventResult CTextEdit::onMouseDown(CPoint /*where*/, CButtonState buttons) {
  if (!buttons.isLeft()) return kMouseEventNotHandled;
  if ((getStyle() & kDoubleClickStyle) != 0 && !buttons.isDouble()) return kMouseEventNotHandled;
  openField();
  return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool CTextEdit::onKeyDown(const KeyEvent& key) {
  if (key.key != Key::kReturn && key.key != Key::kEnter) return false;
  openField();
  return true;
}
