#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "graphs/opengl/cgl_context.h"
#include "graphs/opengl/opengl_view.h"

class OGLFrame;

/// Draws the tree of a frame, in the frame's window, when something of it has changed. Threads: as
/// `OpenGLView`; `askReset` on any.
class OGLRender : public OpenGLView {
 public:
  explicit OGLRender(OGLFrame& frame);

  /// The next frame is drawn whatever has changed: scale or size are others, or the window was
  /// covered.
  void askReset() noexcept { needsReset.store(true, std::memory_order_relaxed); }

  void draw(CDrawContext& context) override;

 protected:
  ~OGLRender() override = default;
  [[nodiscard]] bool hasNews() override;
  void platformDraw() override;
  void contextCloses() override;

 private:
  [[nodiscard]] std::unique_lock<std::recursive_mutex> lockTree();

  OGLFrame& shown;
  std::unique_ptr<CGLContext> glContext;  // made with the first frame
  std::atomic<bool> needsReset{true};
};
