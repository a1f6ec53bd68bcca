#include "graphs/opengl/ogl_render.h"

#include <mutex>

#include "graphs/opengl/ogl_frame.h"
#include "graphs/opengl/whole_frame.h"

OGLRender::OGLRender(OGLFrame& frame) : OpenGLView(frame.getSize(), 0), shown(frame) {}

// The frame's tree is drawn by it, not it by the tree.
void OGLRender::draw(CDrawContext& /*context*/) { setDirty(false); }

bool OGLRender::hasNews() {
  if (needsReset.load(std::memory_order_relaxed)) return true;
  const std::lock_guard tree(shown.treeLock());
  return !shown.takeDamage().isEmpty();
}

void OGLRender::platformDraw() {
  needsReset.store(false, std::memory_order_relaxed);
  const std::lock_guard tree(shown.treeLock());
  if (glContext == nullptr) glContext = std::make_unique<CGLContext>();
  drawWholeFrame(*glContext, shown);
}

void OGLRender::contextCloses() { glContext.reset(); }
