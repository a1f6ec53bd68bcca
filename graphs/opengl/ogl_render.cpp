#include "graphs/opengl/ogl_render.h"

#include <GL/gl.h>

#include <mutex>

#include "graphs/opengl/ogl_frame.h"

OGLRender::OGLRender(OGLFrame& frame) : OpenGLView(frame.getSize(), 0), shown(frame) {}

// The frame's tree is drawn by it, not it by the tree.
void OGLRender::draw(CDrawContext& /*context*/) { setDirty(false); }

bool OGLRender::hasNews() {
  if (needsReset.load(std::memory_order_relaxed)) return true;
  const std::lock_guard tree(shown.treeLock());
  return !shown.takeDamage().isEmpty();
}

void OGLRender::platformDraw() {
  const bool reset = needsReset.exchange(false, std::memory_order_relaxed);
  const std::lock_guard tree(shown.treeLock());
  const float scale = shown.getScale();
  const CRect size = shown.getSize();
  const int width = static_cast<int>(size.width() * scale);
  const int height = static_cast<int>(size.height() * scale);
  glViewport(0, 0, width, height);
  glClearColor(0.0F, 0.0F, 0.0F, 1.0F);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0.0, width, height, 0.0, -1.0, 1.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  if (glContext == nullptr) glContext = std::make_unique<CGLContext>();
  if (reset) glContext->clearCaches();
  glContext->setScale(scale);
  glContext->beginFrame();
  shown.drawFrame(*glContext, {0.0F, 0.0F, size.width(), size.height()});
  glContext->endFrame();
}

void OGLRender::contextCloses() { glContext.reset(); }
