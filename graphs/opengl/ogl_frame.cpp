#include "graphs/opengl/ogl_frame.h"

#include <utility>

OGLFrame::OGLFrame(const CRect& rect, VSTGUIEditorInterface* shownBy, Clock whatTime)
    : CGFrame(rect, shownBy, std::move(whatTime)) {}

void OGLFrame::windowOpened() {
  render = new OGLRender(*this);
  addView(render);
  if (render->openWindow(*window())) return;
  removeView(std::exchange(render, nullptr));
}

void OGLFrame::windowCloses() {
  // Not under the lock: the render thread finishes its frame.
  if (render != nullptr) render->closeWindow();
  render = nullptr;
}

void OGLFrame::windowResized() {
  CGFrame::windowResized();
  if (render == nullptr) return;
  render->setViewSize(getSize(), false);
  render->askReset();
}

void OGLFrame::windowExposed(const DeviceRect& part) {
  if (render != nullptr) {
    render->askReset();
  } else {
    CGFrame::windowExposed(part);
  }
}
