#include "graphs/opengl/ogl_render.h"

#include <chrono>
#include <thread>

#include "graphs/opengl/ogl_frame.h"
#include "graphs/opengl/whole_frame.h"

OGLRender::OGLRender(OGLFrame& frame) : OpenGLView(frame.getSize(), 0), shown(frame) {}

// The frame's tree is drawn by it, not it by the tree.
void OGLRender::draw(CDrawContext& /*context*/) { setDirty(false); }

std::unique_lock<std::recursive_mutex> OGLRender::lockTree() {
  std::unique_lock tree(shown.treeLock(), std::try_to_lock);
  // Whoever closes the view from within an event holds the lock, and waits for this thread.
  while (!tree.owns_lock() && !isStopping()) {
    std::this_thread::sleep_for(std::chrono::microseconds(200));
    static_cast<void>(tree.try_lock());
  }
  return tree;
}

bool OGLRender::hasNews() {
  if (needsReset.load(std::memory_order_relaxed)) return true;
  const std::unique_lock tree = lockTree();
  return tree.owns_lock() && !shown.takeDamage().isEmpty();
}

void OGLRender::platformDraw() {
  const std::unique_lock tree = lockTree();
  if (!tree.owns_lock()) return;
  needsReset.store(false, std::memory_order_relaxed);
  if (glContext == nullptr) glContext = std::make_unique<CGLContext>();
  drawWholeFrame(*glContext, shown);
}

void OGLRender::contextCloses() { glContext.reset(); }
