#include "editor/controls/hidden_mouse.h"

#include "editor/controls/value_source.h"
#include "toolkit/frame.h"

void nControlMouse::rememberMouse(const CFrame* frame) {
  if (frame != nullptr) startedAt = frame->getCurrentMouseLocation();
}

void nControlMouse::hideMouse(CFrame* frame, const ValueSource& values) {
  if (isHidden || frame == nullptr || values.preference("Hide Mouse") != 1) return;
  isHidden = true;
  frame->setCursor(Cursor::kHidden);
}

void nControlMouse::restoreMouse(CFrame* frame) {
  if (!isHidden) return;
  isHidden = false;
  if (frame == nullptr) return;
  frame->warpMouse(startedAt);
  frame->setCursor(Cursor::kArrow);
}
