#pragma once

#include <memory>

/// An OpenGL context and what it draws to. Threads: any, one at a time, between `makeCurrent` and
/// `release`.
class GlContext {
 public:
  virtual ~GlContext() = default;

  /// False once what it draws to is gone, by the host or with the display.
  [[nodiscard]] virtual bool makeCurrent() = 0;
  virtual void release() = 0;
  /// Shows what has been drawn.
  virtual void swap() = 0;
  /// 1 waits for the screen before a swap, where the driver can; 0 does not. While current.
  virtual void setSwapInterval(int interval) = 0;
  /// Samples per pixel, 0 for none.
  [[nodiscard]] virtual int samples() const = 0;

  /// A picture off the screen, which needs no display; null where there is no driver.
  [[nodiscard]] static std::unique_ptr<GlContext> makeOffScreen(int width, int height, int samples);
};
