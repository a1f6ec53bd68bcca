#include "graphs/opengl/gl_picture.h"

#include <GL/gl.h>

#include <algorithm>
#include <cstddef>
#include <mutex>
#include <utility>

#include "graphs/opengl/whole_frame.h"
#include "toolkit/frame.h"

GlPicture::GlPicture(std::unique_ptr<GlContext> made, int w, int h)
    : context(std::move(made)), width(w), height(h) {}

std::unique_ptr<GlPicture> GlPicture::make(int width, int height) {
  std::unique_ptr<GlContext> made = GlContext::makeOffScreen(width, height, 0);
  if (made == nullptr) return nullptr;
  return std::unique_ptr<GlPicture>(new GlPicture(std::move(made), width, height));
}

GlPicture::~GlPicture() {
  const bool isCurrent = context->makeCurrent();
  drawn.reset();
  if (isCurrent) context->release();
}

Held<CBitmap> GlPicture::draw(CFrame& frame) {
  if (!context->makeCurrent()) return {};
  if (drawn == nullptr) drawn = std::make_unique<CGLContext>();
  {
    const std::lock_guard tree(frame.treeLock());
    drawWholeFrame(*drawn, frame);
  }
  Held<CBitmap> picture = Held<CBitmap>::adopt(new CBitmap(width, height));
  glPixelStorei(GL_PACK_ALIGNMENT, 4);
  glReadPixels(0, 0, width, height, GL_BGRA, GL_UNSIGNED_BYTE, picture->pixels());
  context->release();
  // OpenGL's rows begin at the bottom; the ground under the frame is black and opaque.
  const auto row = static_cast<std::size_t>(width);
  std::uint32_t* const pixels = picture->pixels();
  for (int top = 0, bottom = height - 1; top < bottom; ++top, --bottom) {
    std::swap_ranges(pixels + static_cast<std::size_t>(top) * row,
                     pixels + static_cast<std::size_t>(top + 1) * row,
                     pixels + static_cast<std::size_t>(bottom) * row);
  }
  std::for_each_n(pixels, row * static_cast<std::size_t>(height),
                  [](std::uint32_t& pixel) { pixel |= 0xff000000U; });
  return picture;
}
