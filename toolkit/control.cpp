#include "toolkit/control.h"

#include <algorithm>

#include "toolkit/frame.h"

CControl::CControl(const ControlSetup& setup)
    : CView(setup.size), listener(setup.listener), tag(setup.tag) {}

void CControl::setValue(float plain) {
  if (value == plain) return;
  value = plain;
  if (getRoot() != nullptr) getRoot()->markDirty();
}

void CControl::setOldValue(float last) {
  oldValue = last;
  if (last == -1.0F) CView::setDirty(true);
}

void CControl::valueChanged() {
  if (listener != nullptr) listener->valueChanged(*this);
}

void CControl::beginEdit() {
  if (edits++ > 0 || getFrame() == nullptr) return;
  if (VSTGUIEditorInterface* const editor = getFrame()->getEditor()) editor->beginEdit(tag);
}

void CControl::endEdit() {
  if (edits == 0 || --edits > 0 || getFrame() == nullptr) return;
  if (VSTGUIEditorInterface* const editor = getFrame()->getEditor()) editor->endEdit(tag);
}

void CControl::bounceValue() noexcept {
  if (!(value >= vmin)) value = vmin;  // also what is no number
  value = std::min(value, vmax);
}

bool CControl::isModifierClick(CButtonState buttons) {
  return listener != nullptr && buttons.modifiers() != 0 &&
         listener->controlModifierClicked(*this, buttons);
}

bool CControl::isMenuClick(CButtonState buttons) {
  return listener != nullptr && buttons.isRight() &&
         listener->controlModifierClicked(*this, buttons);
}

bool CControl::checkDefaultValue(CButtonState buttons) {
  if (!buttons.has(kLButton | kControl)) return false;
  beginEdit();
  changeValue(defaultValue);
  endEdit();
  return true;
}

void CControl::changeValue(float plain) {
  const float before = value;
  setValue(plain);
  bounceValue();
  if (value == before) return;
  valueChanged();
  setDirty();
}

bool CControl::isDirty() const { return oldValue != value || CView::isDirty(); }

void CControl::setDirty(bool on) {
  CView::setDirty(on);
  oldValue = on ? -1.0F : value;
}

void CControl::removed() {
  if (edits > 0) {
    edits = 1;
    endEdit();
  }
  CView::removed();
}

bool CControl::turnByWheel(float steps, CButtonState buttons) {
  const float fine = buttons.has(kShift) ? 0.1F : 1.0F;
  beginEdit();
  changeValue(value + steps * wheelInc * fine);
  endEdit();
  return true;
}
