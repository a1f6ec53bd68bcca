#include "graphs/opengl/ogl_render.h"

#include <chrono>
#include <thread>

#include "graphs/opengl/ogl_frame.h"
#include "graphs/opengl/whole_frame.h"

OGLRender::OGLRender(OGLFrame& frame) : OpenGLView(frame.getSize(), 0), shown(frame) {}

// The frame's tree is drawn by it, not it by the tree.
void OGLRender::draw(CDrawContext& /*context*/) { setDirty(false); }

/// Gives up when the thread is to end: the frame may be closed from within an event, by a thread
/// that has the lock.
std::unique_lock<std::recursive_mutex> OGLRender::lockTree() {
  constexpr auto kPause = std::chrono::microseconds(200);
  std::unique_lock tree(shown.treeLock(), std::try_to_lock);
  while (!tree && !isStopping()) {
    std::this_thread::sleep_for(kPause);
    static_cast<void>(tree.try_lock());
  }
  return tree;
}

bool OGLRender::hasNews() {
  if (needsReset.load(std::memory_order_relaxed)) return true;
  const auto tree = lockTree();
  return tree && !shown.takeDamage().isEmpty();
}

void OGLRender::platformDraw() {
  needsReset.store(false, std::memory_order_relaxed);
  const auto tree = lockTree();
  if (!tree) return;
  if (glContext == nullptr) glContext = std::make_unique<CGLContext>();
  drawWholeFrame(*glContext, shown);
}

void OGLRender::contextCloses() { glContext.reset(); }
