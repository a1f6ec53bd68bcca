#pragma once

#include <EGL/egl.h>

#include "platform/gl_context.h"

/// OpenGL by EGL: display, context and surface.
class EglContext : public GlContext {
 public:
  ~EglContext() override { end(); }
  EglContext(const EglContext&) = delete;
  EglContext& operator=(const EglContext&) = delete;

  [[nodiscard]] bool makeCurrent() override;
  void release() override;
  void swap() override;
  void setSwapInterval(int interval) override;
  [[nodiscard]] int samples() const override { return sampleCount; }

 protected:
  EglContext() = default;
  /// Takes what fits `surfaceType`, with samples if there is such; `isOwn`: nobody else uses the
  /// display, which ends with this.
  [[nodiscard]] bool choose(EGLDisplay ofDisplay, bool isOwn, EGLint surfaceType, int samples);
  [[nodiscard]] bool make(EGLSurface ofSurface);
  /// Whether a surface can be made by it.
  [[nodiscard]] virtual bool accepts(EGLConfig /*candidate*/) { return true; }
  [[nodiscard]] EGLint attributeOf(EGLConfig ofConfig, EGLint name) const;
  /// Before what the surface draws to goes.
  void end();
  /// Leaves what there is, as the window system must not be asked any more.
  void abandon();

  EGLDisplay display = EGL_NO_DISPLAY;
  EGLConfig config = nullptr;

 private:
  EGLSurface surface = EGL_NO_SURFACE;
  EGLContext context = EGL_NO_CONTEXT;
  int sampleCount = 0;
  bool endsDisplay = false;
};
