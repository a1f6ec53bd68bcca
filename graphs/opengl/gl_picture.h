#pragma once

#include <memory>

#include "graphs/opengl/cgl_context.h"
#include "platform/gl_context.h"
#include "toolkit/bitmap.h"

class CFrame;

/// Pictures of a frame that is in no window, drawn by OpenGL off the screen. Threads: one at a
/// time.
class GlPicture {
 public:
  /// Null where there is no OpenGL without a display.
  [[nodiscard]] static std::unique_ptr<GlPicture> make(int width, int height);
  ~GlPicture();

  /// The whole frame as it is now, in device pixels; null where the context is lost.
  [[nodiscard]] Held<CBitmap> draw(CFrame& frame);

 private:
  GlPicture(std::unique_ptr<GlContext> made, int width, int height);

  std::unique_ptr<GlContext> context;
  std::unique_ptr<CGLContext> drawn;
  int width;
  int height;
};
